#include "dll/shared/csdx.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <new>

#include "dll/base/debug.h"

namespace vorlix {
namespace {

constexpr size_t HEADER_SIZE = sizeof("R1~000000~") - 1;
constexpr int32_t FIRST_BLOCK_MARGIN = 20;  // room behind the offset, so that the first block holds the whole header

std::unique_ptr<char[]> csdx_buf;
size_t allocated = 0;    // bytes of csdx_buf that belong to the buffer
char* cursor = nullptr;  // null: sizing pass
size_t offset = 0;       // bytes already sent
size_t remaining = 0;    // while building, the size counted so far; then the bytes not yet sent

struct NumberText {
  std::array<char, 24> text;
  size_t length;
  std::string_view View() const { return {text.data(), length}; }
};

// A number and its separator.
template <class Number>
NumberText NumberField(Number number) {
  NumberText field;
  char* end = std::to_chars(field.text.data(), field.text.data() + field.text.size() - 1, number).ptr;
  *end++ = CSDX_SEPARATOR;
  field.length = static_cast<size_t>(end - field.text.data());
  return field;
}

}  // namespace

void CSDX_Reset() {
  CSDX_Free();
  cursor = nullptr;
  offset = 0;
  remaining = 0;
}

void CSDX_Free() { csdx_buf.reset(); }

void CSDX_PutBytes(std::string_view bytes) {
  if (cursor == nullptr) {
    remaining += bytes.size();
    return;
  }
  const auto room = static_cast<size_t>(csdx_buf.get() + allocated - cursor);
  const size_t count = std::min(bytes.size(), room);
  if (count != 0) std::memcpy(cursor, bytes.data(), count);
  cursor += count;
}

void CSDX_PutHeader() {
  std::array<char, HEADER_SIZE> header = {'R', '0' + CSDX_REVISION, CSDX_SEPARATOR, '0', '0', '0', '0', '0',
                                          '0', CSDX_SEPARATOR};
  size_t rest = remaining;
  for (size_t i = HEADER_SIZE - 2; i > 2; --i, rest /= 10) header[i] = static_cast<char>('0' + rest % 10);
  CSDX_PutBytes({header.data(), header.size()});
}

void CSDX_PutText(const char* text) { CSDX_PutBytes(text); }

void CSDX_PutNumber(int32_t number) { CSDX_PutBytes(NumberField(number).View()); }

void CSDX_PutField(std::string_view text) {
  CSDX_PutBytes(NumberField(text.size()).View());
  CSDX_PutBytes(text);
}

bool CSDX_Allocate() {
  if (remaining < CSDX_SIZE_LIMIT) csdx_buf.reset(new (std::nothrow) char[remaining]);
  if (csdx_buf == nullptr) {
    CSDX_Reset();
    return false;
  }
  allocated = remaining;
  cursor = csdx_buf.get();
  return true;
}

void CSDX_Rewind() {
  cursor = csdx_buf.get();
  offset = 0;
}

int32_t CSDX_PackString(std::string_view bytes) {
  if (CSDX_Build([bytes] { CSDX_PutBytes(bytes); })) return 0;
  DebugPrint(TRACE_DICT, 1, "CSDX_PackString() failed: heap overflow");
  return 1;
}

std::optional<std::string_view> CSDX_Contents() {
  if (csdx_buf == nullptr) return std::nullopt;
  return std::string_view(csdx_buf.get(), allocated);
}

int32_t CSDX_SendNext(DllString& block, IntByReference last) {
  if (csdx_buf == nullptr) {
    DebugPrint(TRACE_DICT, 1, "dll_SendNext() failed: csdxBuf is not allocated");
    return RESULT_REFUSED;
  }
  const NumberText prefix = NumberField(offset);
  const auto prefix_length = static_cast<int32_t>(prefix.length);
  if (block.max < prefix_length + FIRST_BLOCK_MARGIN) {
    CSDX_Free();
    last.Set(1);
    DebugPrint(TRACE_DICT, 1, "dll_SendNext() failed: string overflow");
    return RESULT_TOO_SHORT;
  }
  const size_t count = std::min(remaining, static_cast<size_t>(block.max - prefix_length));
  std::memcpy(block.buf, prefix.text.data(), prefix.length);
  std::memcpy(block.buf + prefix.length, cursor, count);
  block.len = prefix_length + static_cast<int32_t>(count);
  cursor += count;
  offset += count;
  remaining -= count;
  if (remaining == 0) CSDX_Free();
  last.Set(remaining == 0 ? 1 : 0);
  return RESULT_OK;
}

}  // namespace vorlix
