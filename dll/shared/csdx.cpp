// The buffer is a text that grows as it is built, and is cut into blocks as the host asks for them.
#include "dll/shared/csdx.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "dll/base/debug.h"
#include "dll/wire/numberfield.h"

namespace vorlix {
namespace {

constexpr std::string_view HEADER = "R1~000000~";
constexpr size_t SIZE_END = HEADER.size() - 1;  // behind the six digits of the total size
static_assert(HEADER[1] == '0' + CSDX_REVISION && HEADER[SIZE_END] == FIELD_SEPARATOR);

constexpr int32_t FIRST_BLOCK_MARGIN = 20;  // room behind the offset, so that the first block holds the whole header

// Empty while there is no buffer: a finished one has its header at least.
std::string buffer;
size_t sent = 0;

}  // namespace

void CSDX_Reset() {
  std::string().swap(buffer);  // gives the memory back, which assigning would not
  sent = 0;
}

// ---- Building -------------------------------------------------------------------------------------------------------

// What reaches the limit is refused in the end, so the buffer need not grow any further.
void CSDX_PutBytes(std::string_view bytes) { buffer += bytes.substr(0, CSDX_SIZE_LIMIT - buffer.size()); }

void CSDX_PutHeader() { CSDX_PutBytes(HEADER); }

void CSDX_PutNumber(int32_t number) { CSDX_PutBytes(NumberField(number).View()); }

void CSDX_PutField(std::string_view text) {
  CSDX_PutBytes(NumberField(static_cast<int64_t>(text.size())).View());
  CSDX_PutBytes(text);
}

bool CSDX_Finish() {
  if (buffer.size() >= CSDX_SIZE_LIMIT) {
    CSDX_Reset();
    return false;
  }
  const NumberField size(static_cast<int64_t>(buffer.size()));
  const std::string_view digits = size.Digits();
  std::copy(digits.begin(), digits.end(), buffer.begin() + static_cast<std::ptrdiff_t>(SIZE_END - digits.size()));
  return true;
}

bool CSDX_PackString(std::string_view bytes) {
  if (CSDX_Build([bytes] { CSDX_PutBytes(bytes); })) return true;
  DebugPrint(TRACE_DICT, 1, "CSDX_PackString() failed: heap overflow");
  return false;
}

// ---- Sending --------------------------------------------------------------------------------------------------------

std::optional<std::string_view> CSDX_Contents() {
  if (buffer.empty()) return std::nullopt;
  return buffer;
}

Sent CSDX_SendNext(DllString& block) {
  if (buffer.empty()) return Sent::NoBuffer;
  const NumberField number(static_cast<int64_t>(sent));
  const std::string_view prefix = number.View();
  const auto prefix_length = static_cast<int32_t>(prefix.size());
  if (block.max < prefix_length + FIRST_BLOCK_MARGIN) {
    CSDX_Reset();
    return Sent::NoRoom;
  }
  const std::string_view bytes = std::string_view(buffer).substr(sent, static_cast<size_t>(block.max - prefix_length));
  std::memcpy(block.buf, prefix.data(), prefix.size());
  std::memcpy(block.buf + prefix.size(), bytes.data(), bytes.size());
  block.len = prefix_length + static_cast<int32_t>(bytes.size());
  sent += bytes.size();
  if (sent < buffer.size()) return Sent::MoreFollow;
  CSDX_Reset();
  return Sent::Last;
}

}  // namespace vorlix
