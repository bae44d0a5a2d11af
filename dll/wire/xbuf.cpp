// The pieces of XBUFs: headers and values, written and read one at a time. An XBUF that is read can lie in memory that
// the host shares: nothing here depends on a byte's being the same when it is read again.
#include "dll/wire/xbuf.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "dll/base/text.h"
#include "dll/wire/numberfield.h"

namespace vorlix {
namespace {

constexpr char END_MARK = '$';

// These write at `at` and return where that ends.
char* Append(char* at, std::string_view bytes) { return std::ranges::copy(bytes, at).out; }

char* AppendName(char* at, const char* prefix, std::string_view name) {
  char* const start = prefix != nullptr ? Append(at, prefix) : at;
  char* const end = std::ranges::transform(name, start, FoldCase).out;
  if (prefix == nullptr && start != end) *start = NameUpperCase(*start);
  return end;
}

bool IsNameByte(char c, bool is_first) { return IsNameLetter(c) || (!is_first && (IsDigit(c) || c == '_')); }

// Reads as much as makes a name, in lower case, and returns its length.
size_t ReadName(std::string_view src, XbufItem& item, XbufNames names) {
  size_t length = 0;
  for (const char c : src.substr(0, XBUF_NAME_MAX)) {
    const bool is_any = names == XbufNames::OfAny && static_cast<unsigned char>(c) >= 0x80;
    if (!is_any && !IsNameByte(c, length == 0)) break;
    item.name[length++] = is_any ? c : FoldCase(c);
  }
  item.name[length] = '\0';
  return length;
}

// Reads digits and the separator behind them; returns as xunpack_item does.
PieceLength ReadNumberField(std::string_view src, uint32_t limit, uint32_t& number) {
  number = 0;
  const auto [end, error] = std::from_chars(src.data(), src.data() + src.size(), number);
  if (error == std::errc::result_out_of_range || number > limit) return {};
  const int64_t consumed = end - src.data() + 1;
  return end == src.data() + src.size() || *end == FIELD_SEPARATOR ? PieceLength(consumed) : std::nullopt;
}

}  // namespace

// ---- Writing --------------------------------------------------------------------------------------------------------

PieceLength xpack_item(char* dst, int64_t room, const char* prefix, std::string_view name, char type) {
  return xpack_elem(dst, room, prefix, name, type, 0);
}

PieceLength xpack_elem(char* dst, int64_t room, const char* prefix, std::string_view name, char type, int32_t index) {
  const NumberField number(index);
  const size_t prefix_length = prefix != nullptr ? std::string_view(prefix).size() : 0;
  const auto length = static_cast<int64_t>(1 + prefix_length + name.size() + 1 + number.View().size());
  if (length >= std::min(room, XBUF_HEADER_SIZE)) return {};
  *dst = type;
  char* end = AppendName(dst + 1, prefix, name);
  *end++ = FIELD_SEPARATOR;
  end = Append(end, number.View());
  *end = '\0';
  return length;
}

PieceLength xpack_value(char* dst, int64_t room, std::string_view text) {
  const NumberField number(static_cast<int64_t>(text.size()));
  const auto length = static_cast<int64_t>(number.View().size() + text.size());
  if (length >= room) return {};
  Append(Append(dst, number.View()), text);
  return length;
}

bool XbufWriter::Put(const char* prefix, std::string_view name, char type, std::string_view value, int32_t index) {
  const PieceLength header = xpack_elem(dst, room, prefix, name, type, index);
  if (!header) return false;
  const PieceLength rest = xpack_value(dst + *header, room - *header, value);
  if (!rest) return false;
  const int64_t whole = *header + *rest;
  dst += whole;
  room -= whole;
  length += whole;
  return true;
}

bool XbufWriter::End() {
  if (room < 1) return false;
  *dst++ = END_MARK;
  --room;
  ++length;
  return true;
}

// ---- Reading --------------------------------------------------------------------------------------------------------

PieceLength xunpack_item(std::string_view src, XbufItem& item, XbufNames names) {
  if (src.empty()) return 1;
  const char letter = FoldCase(src.front());
  if (letter != 'x' && letter != 'n') return {};
  item.type = letter == 'x' ? XBUF_TEXT : XBUF_NUMBER;
  const size_t name_end = 1 + ReadName(src.substr(1), item, names);
  if (name_end == src.size()) return static_cast<int64_t>(name_end) + 1;
  if (name_end == 1 || src[name_end] != FIELD_SEPARATOR) return {};
  uint32_t index;
  const PieceLength consumed =
      ReadNumberField(src.substr(name_end + 1), static_cast<uint32_t>(std::numeric_limits<int32_t>::max()), index);
  item.index = static_cast<int32_t>(index);
  item.is_element = index != 0;
  return consumed ? PieceLength(static_cast<int64_t>(name_end) + 1 + *consumed) : std::nullopt;
}

PieceLength xunpack_value(std::string_view src, XbufItem& item) {
  uint32_t length;
  const PieceLength consumed = ReadNumberField(src, std::numeric_limits<uint32_t>::max(), length);
  if (!consumed) return {};
  const int64_t end = *consumed + length;
  const auto start = static_cast<size_t>(*consumed);
  item.value = static_cast<size_t>(end) <= src.size() ? src.substr(start, length) : std::string_view();
  return end;
}

XbufReader::Step XbufReader::Next(XbufItem& item) {
  if (fault_ != XBUF_SOUND) return Step::Corrupt;
  if (!Rest().empty() && Rest().front() == END_MARK) return Step::End;
  return ReadHeader(item) && ReadValue(item) ? Step::Item : Step::Corrupt;
}

bool XbufReader::Stop(XbufFault fault) {
  fault_ = fault;
  return false;
}

bool XbufReader::ReadHeader(XbufItem& item) {
  const PieceLength consumed = xunpack_item(Rest(), item, names_);
  if (!consumed) return Stop(XBUF_BAD_HEADER);
  const int64_t end = offset_ + *consumed;
  offset_ = std::min(end, Size());
  return end <= Size() ? true : Stop(XBUF_HEADER_PAST_END);
}

bool XbufReader::ReadValue(XbufItem& item) {
  const bool is_length_whole = Rest().find(FIELD_SEPARATOR) != std::string_view::npos;
  const PieceLength consumed = xunpack_value(Rest(), item);
  if (!consumed) return Stop(XBUF_BAD_LENGTH);
  const int64_t end = offset_ + *consumed;
  offset_ = is_length_whole ? end : Size();
  return end <= Size() ? true : Stop(XBUF_VALUE_PAST_END);
}

}  // namespace vorlix
