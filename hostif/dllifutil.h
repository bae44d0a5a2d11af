// The shared call block as the server reaches it: header and descriptors, the presentation of arguments to a function,
// and the strings through which functions read and fill String arguments.
//
// The segment is shared with a process that may be wrong or hostile. Header and descriptors are copied once per call;
// every address, stride, count and length is checked against the segment's size before it is used, and only the checked
// copy is used afterwards.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "hostif/layout.h"

namespace vorlix {

// ---- What a callable function sees ----------------------------------------------------------------------------------

using IntByValue = int32_t;
using RealByValue = double;
using RealByReference = double&;

/// A private copy that ends in NUL; the host's text up to its first NUL byte.
using zString = const char*;

/// A 32-bit integer that lies in the block, at any address. What is set goes straight through to the host.
class IntByReference {
 public:
  explicit IntByReference(void* at) : at_(at) {}

  int32_t Get() const;
  void Set(int32_t value);

 private:
  void* at_;
};

/// One STRING element: `max` characters fit (a host may send a negative number: nothing fits), `len` are in use, `buf`
/// borrows the characters in the block, which have no terminator. A function writes at most `max` characters and sets
/// `len`. When it is called, `len` is not negative and the characters lie in the block; a host may have sent more of
/// them than `max`.
struct DllString {
  int32_t max = 0;
  int32_t len = 0;
  char* buf = nullptr;

  /// The characters in use, borrowed from the block.
  std::string_view View() const { return {buf, static_cast<size_t>(len)}; }
};
using String = DllString&;

// The routines that strings come with. The server calls DllStrFromC; the others are there for functions to come.
int32_t DllStrLen(const DllString& s);

/// Each of these copies a text into a string: RESULT_TOO_SHORT, and nothing changed, when it is longer than `max`, else
/// 0. Source and target may overlap.
inline ResultCode DllStrFromC(std::string_view text, DllString& s) {
  if (std::cmp_greater(text.size(), s.max)) return RESULT_TOO_SHORT;
  if (!text.empty()) std::memmove(s.buf, text.data(), text.size());
  s.len = static_cast<int32_t>(text.size());
  return RESULT_OK;
}
ResultCode DllStrCopy(DllString& dst, const DllString& src);

/// Copies up to `len` characters, stopping before a NUL, and ends them with NUL. `text` has room for len + 1 bytes.
void DllStrToC(const DllString& s, char* text);

/// A view of `count` characters from the 1-based `start`, as far as there are so many; null when `start` lies outside
/// the string or `count` is negative. There is a single view: the next call replaces it.
DllString* DllStrSub(const DllString& s, int32_t start, int32_t count);

// ---- The block ------------------------------------------------------------------------------------------------------

/// Sets the block that all calls are read from: `size` bytes at `base`, aligned to a word, at least a header long. The
/// memory stays the caller's.
void DllSetBlock(void* base, size_t size);

/// Copies the header; what the functions below say of header words is this copy.
void DllReadHeader();

/// All bytes of the block, borrowed; the host can change them at any instant.
std::span<const char> DllBlockBytes();

int32_t DllArgCount();
int32_t DllHostPid();

/// Stores the result code in the block, after everything else that the call wrote.
void DllSetResult(int32_t code);

/// Wakes the threads of other processes that wait at the result code's word itself (futex), and not for a signal.
void DllWakeWaiting();

/// An argument descriptor with its address turned into an offset from the start of the block (modulo 2^32, so a host
/// may have the segment mapped anywhere).
struct ArgDesc {
  int32_t host_class = 0;
  int32_t by_ref = 0;
  uint32_t offset = 0;
  int32_t capacity = 0;
  int32_t stride = 0;
  int32_t count = 0;
};

/// Copies descriptor `index`; an index outside the argument count gives six zero words. RESULT_OK, or RESULT_CORRUPT
/// when the descriptor does not lie in the segment.
[[nodiscard]] ResultCode DllGetArgDesc(int32_t index, ArgDesc& out);

/// Sets the by-reference flag of descriptor `index` to 0. Returns 0, or -1 for an index outside the argument count.
int32_t DllClearByRef(int32_t index);

/// Copies a value out of the block. The compiler knows nothing of the other process and could fetch the value a second
/// time when it is used; behind the fence only the copy is left to it.
template <class Value>
Value ReadFrom(const char* at) {
  Value value;
  std::memcpy(&value, at, sizeof value);
  std::atomic_signal_fence(std::memory_order_acquire);
  return value;
}

/// Whether the fixed parts of all elements lie in the block, and apart: numbers, and the lengths of Strings. For a
/// single element the stride means nothing.
bool DllElementsFit(const ArgDesc& desc);

/// Where element `k` begins, of elements that fit.
inline size_t DllElementOffset(const ArgDesc& desc, int32_t k) {
  const size_t step = k == 0 ? 0 : static_cast<size_t>(desc.stride) * WORD_SIZE;
  return desc.offset + static_cast<size_t>(k) * step;
}

/// The characters that element `k`, a String that fits, has room for: its capacity, as far as its place goes.
int32_t DllElementRoom(const ArgDesc& desc, int32_t k);

/// The characters of element `k`, a String, borrowed from the block. RESULT_OK, or RESULT_CORRUPT when they do not lie
/// there.
[[nodiscard]] ResultCode DllElementText(const ArgDesc& desc, int32_t k, std::string_view& text);

// ---- Presentation of arguments --------------------------------------------------------------------------------------

/// One argument as it was presented. Owns its private memory until Release or the next Present.
class PresentedArg {
 public:
  /// Presents the argument. RESULT_OK, RESULT_CORRUPT when an element does not lie in the segment, or RESULT_NO_MEMORY.
  [[nodiscard]] ResultCode Present(Presentation how, const ArgDesc& desc);

  /// Brings what the function left in private memory back into the block: lengths of Strings, host reals.
  void WriteBack() const;

  void Release() { *this = PresentedArg(); }

  Presentation How() const { return how_; }
  const ArgDesc& Desc() const { return desc_; }
  /// Elements presented, at least 1 once Present has succeeded.
  int32_t Count() const { return count_; }
  /// The entry of the argument vector: borrowed from the block or from this object.
  void* Value() const { return value_; }

  /// Element `k` by its presentation: Integers and IntsOfReals, the two Doubles, Strings, and Text (which has one).
  int32_t IntAt(int32_t k) const;
  double DoubleAt(int32_t k) const { return static_cast<const double*>(value_)[k]; }
  const DllString& StringAt(int32_t k) const { return static_cast<const DllString*>(value_)[k]; }
  const char* Text() const { return static_cast<const char*>(value_); }

 private:
  char* Element(int32_t k) const;
  ResultCode MakeStrings();
  ResultCode MakeText();
  template <class To, class Convert>
  ResultCode MakeArray(Convert convert);

  Presentation how_ = Presentation::None;
  ArgDesc desc_;
  int32_t count_ = 0;
  void* value_ = nullptr;
  std::unique_ptr<std::byte[]> memory_;
};

}  // namespace vorlix
