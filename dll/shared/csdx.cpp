#include "dll/shared/csdx.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string>

#include "dll/base/debug.h"

namespace vorlix {
namespace {

constexpr std::string_view HEADER = "R1~000000~";
constexpr size_t SIZE_END = HEADER.size() - 1;  // behind the six digits of the total size
static_assert(HEADER[1] == '0' + CSDX_REVISION && HEADER[SIZE_END] == CSDX_SEPARATOR);

constexpr int32_t FIRST_BLOCK_MARGIN = 20;  // room behind the offset, so that the first block holds the whole header

// Empty while there is no buffer: a finished one has its header at least.
std::string buffer;
size_t sent = 0;

// A number and its separator.
class NumberField {
 public:
  template <class Number>
  explicit NumberField(Number number) {
    end_ = std::to_chars(text_.data(), text_.data() + text_.size() - 1, number).ptr;
    *end_++ = CSDX_SEPARATOR;
  }
  std::string_view View() const { return {text_.data(), static_cast<size_t>(end_ - text_.data())}; }

 private:
  std::array<char, 24> text_;
  char* end_;
};

}  // namespace

void CSDX_Reset() {
  std::string().swap(buffer);  // gives the memory back, which assigning would not
  sent = 0;
}

// ---- Building -------------------------------------------------------------------------------------------------------

// What reaches the limit is refused in the end, so the buffer need not grow any further.
void CSDX_PutBytes(std::string_view bytes) { buffer += bytes.substr(0, CSDX_SIZE_LIMIT - buffer.size()); }

void CSDX_PutHeader() { CSDX_PutBytes(HEADER); }

void CSDX_PutText(const char* text) { CSDX_PutBytes(text); }

void CSDX_PutNumber(int32_t number) { CSDX_PutBytes(NumberField(number).View()); }

void CSDX_PutField(std::string_view text) {
  CSDX_PutBytes(NumberField(text.size()).View());
  CSDX_PutBytes(text);
}

bool CSDX_Finish() {
  if (buffer.size() >= CSDX_SIZE_LIMIT) {
    CSDX_Reset();
    return false;
  }
  const NumberField size(buffer.size());
  const std::string_view digits = size.View().substr(0, size.View().size() - 1);
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
  const NumberField number(sent);
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
