// The lower layer: any call block, byte for byte, also a malformed one.
//
// Most programs place calls with Server::Call and never need this. Tests and authors of other hosts write headers,
// descriptors and elements of their own choosing here and ring the server with Server::Ring.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "hostif/layout.h"
#include "hostif/math.h"

namespace vorlix::host {

/// Memory seen as a call block. Offsets are bytes from its start and need no alignment. The memory is borrowed; storing
/// or loading outside it throws std::out_of_range and changes nothing.
class Block {
 public:
  /// `host_base` is where the block claims to be mapped. The server only ever uses differences to it, so every value
  /// works, 0 and values near 2^32 included.
  Block(std::span<std::byte> memory, uint32_t host_base);

  size_t Size() const { return memory_.size(); }
  uint32_t HostBase() const { return host_base_; }

  /// An offset as the address word of a descriptor, and back; both wrap modulo 2^32.
  uint32_t AddressOf(size_t offset) const { return host_base_ + static_cast<uint32_t>(offset); }
  size_t OffsetOf(uint32_t address) const { return address - host_base_; }

  /// Values as they lie in the block: BlockHeader, ArgDescriptor, int32_t, HostReal.
  template <class Value>
  void Store(size_t offset, const Value& value) {
    static_assert(std::is_trivially_copyable_v<Value>);
    std::memcpy(At(offset, sizeof value), &value, sizeof value);
  }
  template <class Value>
  Value Load(size_t offset) const {
    static_assert(std::is_trivially_copyable_v<Value>);
    Value value;
    std::memcpy(&value, At(offset, sizeof value), sizeof value);
    return value;
  }

  void StoreDescriptor(size_t index, const ArgDescriptor& desc) { Store(DescriptorOffset(index), desc); }
  ArgDescriptor LoadDescriptor(size_t index) const { return Load<ArgDescriptor>(DescriptorOffset(index)); }

  /// A STRING element: the length word, then the characters without a terminator. Loading gives as many characters as
  /// the length word says, but at most `room`, and none for a negative length.
  void StoreText(size_t offset, std::string_view text);
  std::string LoadText(size_t offset, size_t room) const;

  /// The header of a well-formed call from this process, with `arg_count` descriptors, the function's name included.
  BlockHeader MakeHeader(int32_t arg_count) const;

  /// The result word, in the order that the exchange needs: what the other side stored before it is visible after
  /// LoadResult, and what was stored here before StoreResult is visible to the other side. The memory must be aligned
  /// to a word.
  void StoreResult(int32_t code);
  int32_t LoadResult() const;

  /// Sleeps while the result word holds NO_RESULT, at most until the deadline; it may also wake before.
  void AwaitResult(std::chrono::steady_clock::time_point deadline) const;

 private:
  std::byte* At(size_t offset, size_t size) const;
  int32_t& ResultWord() const;

  std::span<std::byte> memory_;
  uint32_t host_base_;
};

}  // namespace vorlix::host
