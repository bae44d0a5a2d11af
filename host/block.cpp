#include "host/block.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>

namespace vorlix::host {

Block::Block(std::span<std::byte> memory, uint32_t host_base) : memory_(memory), host_base_(host_base) {}

std::byte* Block::At(size_t offset, size_t size) const {
  if (offset > memory_.size() || size > memory_.size() - offset)
    throw std::out_of_range(std::to_string(size) + " bytes at offset " + std::to_string(offset) +
                            " lie outside the block of " + std::to_string(memory_.size()) + " bytes");
  return memory_.data() + offset;
}

void Block::StoreText(size_t offset, std::string_view text) {
  std::byte* element = At(offset, WORD_SIZE + text.size());
  Store(offset, static_cast<int32_t>(text.size()));
  if (!text.empty()) std::memcpy(element + WORD_SIZE, text.data(), text.size());
}

std::string Block::LoadText(size_t offset, size_t room) const {
  const auto length = static_cast<size_t>(std::max(Load<int32_t>(offset), 0));
  std::string text(std::min(length, room), '\0');
  if (!text.empty()) std::memcpy(text.data(), At(offset + WORD_SIZE, text.size()), text.size());
  return text;
}

BlockHeader Block::MakeHeader(int32_t arg_count) const {
  BlockHeader header{};
  header.magic = DLL_MAGIC;
  header.version = DLL_VERSION;
  header.host_pid = getpid();
  header.host_base = host_base_;
  header.result_code = NO_RESULT;
  header.arg_count = arg_count;
  return header;
}

int32_t& Block::ResultWord() const {
  return *reinterpret_cast<int32_t*>(At(offsetof(BlockHeader, result_code), WORD_SIZE));
}

void Block::StoreResult(int32_t code) { std::atomic_ref(ResultWord()).store(code, std::memory_order_release); }

int32_t Block::LoadResult() const { return std::atomic_ref(ResultWord()).load(std::memory_order_acquire); }

void Block::AwaitResult(std::chrono::steady_clock::time_point deadline) const {
  const std::chrono::nanoseconds time = deadline.time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  const timespec until = {seconds.count(), (time - seconds).count()};
  syscall(SYS_futex, &ResultWord(), FUTEX_WAIT_BITSET, NO_RESULT, &until, nullptr, FUTEX_BITSET_MATCH_ANY);
}

}  // namespace vorlix::host
