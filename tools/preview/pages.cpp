#include "tools/preview/pages.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

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
    pages_.at(token) = page;
    return {token, std::move(page)};
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

// The end of a page takes its server's time, and nobody waits for it at the lock.
template <class IsMeant>
void Pages::CloseIf(IsMeant is_meant) {
  std::vector<std::shared_ptr<LivePage>> closed;
  const std::lock_guard lock(lock_);
  std::erase_if(pages_, [&](auto& entry) {
    if (!is_meant(entry)) return false;
    closed.push_back(std::move(entry.second));
    return true;
  });
}

void Pages::Close(const std::string& token) {
  CloseIf([&](const auto& entry) { return entry.first == token; });
}

void Pages::CloseIdle() {
  CloseIf([](const auto& entry) { return entry.second != nullptr && entry.second->Idle() > LONGEST_IDLE; });
}

void Pages::CloseAll() {
  CloseIf([](const auto&) { return true; });
}

}  // namespace vorlix::tool
