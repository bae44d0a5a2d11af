#include "host/xbuf.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace vorlix::host {
namespace {

constexpr char END = '$';
constexpr char SEPARATOR = '~';
constexpr size_t MAX_NAME = 79;
constexpr uint32_t MAX_INDEX = INT32_MAX;

// Plain ASCII: an XBUF means the same in every locale.
bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsNameCharacter(char c) { return IsLetter(c) || (c >= '0' && c <= '9') || c == '_'; }
char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsName(std::string_view name) {
  return !name.empty() && name.size() <= MAX_NAME && IsLetter(name.front()) &&
         std::ranges::all_of(name, IsNameCharacter);
}

class Reader {
 public:
  explicit Reader(std::string_view xbuf) : xbuf_(xbuf) {}

  bool AtEnd() const { return Rest().starts_with(END); }

  XbufItem ReadItem() {
    XbufItem item;
    item.type = ReadType();
    item.name = ReadName();
    item.index = ReadNumber("element index", MAX_INDEX);
    const uint32_t length = ReadNumber("length", UINT32_MAX);
    if (length > Rest().size()) Fail("value cut off");
    item.value = Rest().substr(0, length);
    position_ += length;
    return item;
  }

 private:
  std::string_view Rest() const { return xbuf_.substr(position_); }

  [[noreturn]] void Fail(const std::string& fault) const {
    throw std::invalid_argument("XBUF: " + fault + " at offset " + std::to_string(position_));
  }

  char ReadType() {
    if (Rest().empty()) Fail("no $");
    const char type = ToLower(Rest().front());
    if (type != 'x' && type != 'n') Fail("bad type letter");
    ++position_;
    return type == 'x' ? 'X' : 'N';
  }

  // What stands before the next separator.
  std::string_view Piece(const char* what) const {
    const size_t length = Rest().find(SEPARATOR);
    if (length == std::string_view::npos) Fail(std::string("unfinished ") + what);
    return Rest().substr(0, length);
  }

  std::string ReadName() {
    std::string name(Piece("name"));
    if (!IsName(name)) Fail("bad name");
    position_ += name.size() + 1;
    std::ranges::transform(name, name.begin(), ToLower);
    return name;
  }

  // No digits count as 0.
  uint32_t ReadNumber(const char* what, uint32_t most) {
    const std::string_view digits = Piece(what);
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool is_number = error == std::errc() && end == digits.data() + digits.size() && number <= most;
    if (!digits.empty() && !is_number) Fail(std::string("bad ") + what);
    position_ += digits.size() + 1;
    return number;
  }

  std::string_view xbuf_;
  size_t position_ = 0;
};

}  // namespace

std::vector<XbufItem> ReadXbuf(std::string_view xbuf) {
  Reader reader(xbuf);
  std::vector<XbufItem> items;
  while (!reader.AtEnd()) items.push_back(reader.ReadItem());
  return items;
}

std::string WriteXbuf(const std::vector<XbufItem>& items) {
  std::string xbuf;
  for (const XbufItem& item : items) {
    if (item.type != 'X' && item.type != 'N')
      throw std::invalid_argument(std::string("XBUF: no type letter: ") + item.type);
    if (!IsName(item.name)) throw std::invalid_argument("XBUF: no name for an item: " + item.name);
    if (item.index > MAX_INDEX) throw std::invalid_argument("XBUF: no element index: " + std::to_string(item.index));
    xbuf += item.type + item.name + SEPARATOR + std::to_string(item.index) + SEPARATOR +
            std::to_string(item.value.size()) + SEPARATOR + item.value;
  }
  return xbuf + END;
}

}  // namespace vorlix::host
