// Access to the block, presentation of arguments, and the String operations.
//
// An argument's elements must lie in the segment, the last one as well as the first. Elements of an array may not
// overlap with the fixed part of the one before; a String's room is cut to what its place leaves it. A length that goes
// beyond the segment is refused; one beyond the capacity is a text that a function may read, and not write back whole.
#include "hostif/dllifutil.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include "hostif/math.h"

namespace vorlix {
namespace {

struct Block {
  char* base = nullptr;
  size_t size = 0;
  BlockHeader header{};  // the copy made for the call at hand
};
Block block;

int32_t& ResultWord() { return *reinterpret_cast<int32_t*>(block.base + offsetof(BlockHeader, result_code)); }

DllString sub_view;

template <class Value>
void WriteTo(char* at, const Value& value) {
  std::memcpy(at, &value, sizeof value);
}

bool FitsInBlock(size_t offset, size_t size) { return offset <= block.size && size <= block.size - offset; }

bool IsArgIndex(int32_t index) { return index >= 0 && index < DllArgCount(); }

// What every element of a class has, wherever it lies: a number, or a String's length.
size_t FixedSize(int32_t host_class) { return host_class == HOST_REAL ? sizeof(HostReal) : sizeof(int32_t); }

}  // namespace

void IntByReference::Set(int32_t value) { WriteTo(static_cast<char*>(at_), value); }

int32_t IntByReference::Get() const { return ReadFrom<int32_t>(static_cast<const char*>(at_)); }

// ---- Strings --------------------------------------------------------------------------------------------------------

int32_t DllStrLen(const DllString& s) { return s.len; }

ResultCode DllStrCopy(DllString& dst, const DllString& src) { return DllStrFromC(src.View(), dst); }

void DllStrToC(const DllString& s, char* text) {
  int32_t i = 0;
  for (; i < s.len; ++i) {
    const char c = s.buf[i];
    if (c == '\0') break;
    text[i] = c;
  }
  text[i] = '\0';
}

DllString* DllStrSub(const DllString& s, int32_t start, int32_t count) {
  if (start < 1 || start > s.len || count < 0) return nullptr;
  const int32_t length = std::min(s.len + 1 - start, count);
  sub_view = {length, length, s.buf + start - 1};
  return &sub_view;
}

// ---- The block ------------------------------------------------------------------------------------------------------

void DllSetBlock(void* base, size_t size) { block = {static_cast<char*>(base), size, {}}; }

void DllReadHeader() { block.header = ReadFrom<BlockHeader>(block.base); }

std::span<const char> DllBlockBytes() { return {block.base, block.size}; }

int32_t DllArgCount() { return block.header.arg_count; }

int32_t DllHostPid() { return block.header.host_pid; }

void DllSetResult(int32_t code) { std::atomic_ref(ResultWord()).store(code, std::memory_order_release); }

void DllWakeWaiting() { syscall(SYS_futex, &ResultWord(), FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0); }

ResultCode DllGetArgDesc(int32_t index, ArgDesc& out) {
  out = ArgDesc();
  if (!IsArgIndex(index)) return RESULT_OK;
  const size_t at = DescriptorOffset(static_cast<size_t>(index));
  if (!FitsInBlock(at, sizeof(ArgDescriptor))) return RESULT_CORRUPT;
  const auto sent = ReadFrom<ArgDescriptor>(block.base + at);
  out = {sent.host_class, sent.by_ref, sent.address - block.header.host_base, sent.capacity, sent.stride, sent.count};
  return RESULT_OK;
}

int32_t DllClearByRef(int32_t index) {
  if (!IsArgIndex(index)) return -1;
  const size_t at = DescriptorOffset(static_cast<size_t>(index)) + offsetof(ArgDescriptor, by_ref);
  if (FitsInBlock(at, sizeof(int32_t))) WriteTo(block.base + at, int32_t{0});
  return 0;
}

bool DllElementsFit(const ArgDesc& desc) {
  const size_t fixed = FixedSize(desc.host_class);
  if (!FitsInBlock(desc.offset, fixed)) return false;
  if (desc.count <= 1) return true;
  if (desc.stride < 0 || static_cast<size_t>(desc.stride) * WORD_SIZE < fixed) return false;
  const size_t step = static_cast<size_t>(desc.stride) * WORD_SIZE;
  return static_cast<size_t>(desc.count - 1) <= (block.size - desc.offset - fixed) / step;
}

int32_t DllElementRoom(const ArgDesc& desc, int32_t k) {
  size_t room = block.size - DllElementOffset(desc, k);
  if (desc.count > 1) room = std::min(room, static_cast<size_t>(desc.stride) * WORD_SIZE);
  return static_cast<int32_t>(std::min<int64_t>(desc.capacity, static_cast<int64_t>(room - sizeof(int32_t))));
}

ResultCode DllElementText(const ArgDesc& desc, int32_t k, std::string_view& text) {
  const size_t offset = DllElementOffset(desc, k);
  if (!FitsInBlock(offset, sizeof(int32_t))) return RESULT_CORRUPT;
  const auto length = ReadFrom<int32_t>(block.base + offset);
  const size_t characters = offset + sizeof(int32_t);
  if (length < 0 || !FitsInBlock(characters, static_cast<size_t>(length))) return RESULT_CORRUPT;
  text = {block.base + characters, static_cast<size_t>(length)};
  return RESULT_OK;
}

// ---- Presentation ---------------------------------------------------------------------------------------------------

ResultCode PresentedArg::Present(Presentation how, const ArgDesc& desc) {
  Release();
  desc_ = desc;
  count_ = std::max(desc.count, 1);
  if (!DllElementsFit(desc)) return RESULT_CORRUPT;
  how_ = how;
  switch (how) {
    case Presentation::Integers: value_ = Element(0); return RESULT_OK;
    case Presentation::Strings: return MakeStrings();
    case Presentation::Text: return MakeText();
    case Presentation::DoublesOfInts:
      return MakeArray<double>([](const char* at) { return static_cast<double>(ReadFrom<int32_t>(at)); });
    case Presentation::IntsOfReals:
      return MakeArray<int32_t>([](const char* at) {
        int32_t value = 0;
        static_cast<void>(HostRealToInt(ReadFrom<HostReal>(at), value));  // the value has been replaced
        return value;
      });
    case Presentation::DoublesOfReals:
      return MakeArray<double>([](const char* at) {
        double value = 0.0;
        static_cast<void>(HostRealToDouble(ReadFrom<HostReal>(at), value));
        return value;
      });
    case Presentation::None: break;
  }
  return RESULT_WRONG_CLASS;
}

char* PresentedArg::Element(int32_t k) const { return block.base + DllElementOffset(desc_, k); }

ResultCode PresentedArg::MakeStrings() {
  memory_.reset(new (std::nothrow) std::byte[static_cast<size_t>(count_) * sizeof(DllString)]);
  if (memory_ == nullptr) return RESULT_NO_MEMORY;
  for (int32_t k = 0; k < count_; ++k) {
    std::string_view text;
    if (DllElementText(desc_, k, text) != RESULT_OK) return RESULT_CORRUPT;
    new (memory_.get() + static_cast<size_t>(k) * sizeof(DllString))
        DllString{DllElementRoom(desc_, k), static_cast<int32_t>(text.size()), Element(k) + sizeof(int32_t)};
  }
  value_ = memory_.get();
  return RESULT_OK;
}

ResultCode PresentedArg::MakeText() {
  std::string_view text;
  if (DllElementText(desc_, 0, text) != RESULT_OK) return RESULT_CORRUPT;
  memory_.reset(new (std::nothrow) std::byte[text.size() + 1]);
  if (memory_ == nullptr) return RESULT_NO_MEMORY;
  std::memcpy(memory_.get(), text.data(), text.size());
  memory_[text.size()] = std::byte{0};
  value_ = memory_.get();
  return RESULT_OK;
}

template <class To, class Convert>
ResultCode PresentedArg::MakeArray(Convert convert) {
  memory_.reset(new (std::nothrow) std::byte[static_cast<size_t>(count_) * sizeof(To)]);
  if (memory_ == nullptr) return RESULT_NO_MEMORY;
  for (int32_t k = 0; k < count_; ++k)
    new (memory_.get() + static_cast<size_t>(k) * sizeof(To)) To(convert(Element(k)));
  value_ = memory_.get();
  return RESULT_OK;
}

int32_t PresentedArg::IntAt(int32_t k) const {
  if (how_ == Presentation::Integers) return ReadFrom<int32_t>(Element(k));
  return static_cast<const int32_t*>(value_)[k];
}

void PresentedArg::WriteBack() const {
  for (int32_t k = 0; k < count_; ++k) {
    if (how_ == Presentation::Strings) WriteTo(Element(k), StringAt(k).len);
    if (how_ == Presentation::DoublesOfReals) {
      HostReal real;
      static_cast<void>(DoubleToHostReal(DoubleAt(k), real));
      WriteTo(Element(k), real);
    }
  }
}

}  // namespace vorlix
