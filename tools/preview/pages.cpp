#include "tools/preview/pages.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "tools/quoting.h"

namespace vorlix::tool {

std::string RandomToken() {
  std::array<char, 16> bytes;
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    throw ToolError(Status::OtherCode, std::string("no random token: ") + std::strerror(errno));
  return Hex({bytes.data(), bytes.size()});
}

std::string Pages::Reserve() {
  const std::lock_guard lock(lock_);
  if (pages_.size() >= MOST_PAGES)
    throw Refusal{503, "there are " + std::to_string(MOST_PAGES) + " pages already; close one and load this one again"};
  return pages_.emplace(RandomToken(), nullptr).first->first;
}

Pages::Opened Pages::Open(const Options& options, const PreviewCommand& command) {
  std::string token = Reserve();
  try {
    auto page = std::make_shared<LivePage>(options, command);
    const std::lock_guard lock(lock_);
    return {token, pages_.at(token) = std::move(page)};
  } catch (...) {
    Close(token);
    throw;
  }
}

std::shared_ptr<LivePage> Pages::Find(const std::string& token) {
  const std::lock_guard lock(lock_);
  const auto found = pages_.find(token);
  if (found == pages_.end() || found->second == nullptr) return nullptr;
  found->second->Touch();
  return found->second;
}

void Pages::Close(const std::string& token) {
  const std::lock_guard lock(lock_);
  pages_.erase(token);
}

void Pages::CloseIdle() {
  const std::lock_guard lock(lock_);
  std::erase_if(pages_, [](const auto& entry) {
    const LivePage* const page = entry.second.get();
    return page != nullptr && page->Idle() > LONGEST_IDLE;
  });
}

void Pages::CloseAll() {
  const std::lock_guard lock(lock_);
  pages_.clear();
}

}  // namespace vorlix::tool
