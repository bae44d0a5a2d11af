#include "tools/items.h"

#include <strings.h>

#include <charconv>
#include <stdexcept>

#include "host/xbuf.h"
#include "tools/failure.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

using host::XbufItem;

bool EqualNames(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

/// Splits "name.3" into name and index; the index is 0 when there is none.
struct ItemAddress {
  explicit ItemAddress(std::string_view text) : name(text.substr(0, text.find('.'))) {
    if (name.size() == text.size()) return;
    const std::string_view digits = text.substr(name.size() + 1);
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, index);
    valid = error == std::errc() && stop == end;
  }

  std::string_view name;
  uint32_t index = 0;
  bool valid = true;
};

std::vector<XbufItem> ReadItems(std::string_view xbuf) {
  try {
    return host::ReadXbuf(xbuf);
  } catch (const std::invalid_argument& error) {
    throw ToolError(Status::OtherCode, Quote(xbuf.substr(0, 40)) + " is no XBUF: " + error.what());
  }
}

}  // namespace

ItemWord ParseItem(const Word& word) {
  const std::string_view bare = word.Bare();
  const size_t equals = bare.find('=');
  std::string_view left = bare.substr(0, equals);
  ItemWord item;
  if (left.ends_with(":N")) {
    item.type = 'N';
    left.remove_suffix(2);
  }
  const ItemAddress address(left);
  if (equals == std::string_view::npos || !IsName(address.name) || !address.valid)
    throw ToolError(Status::Usage, "an item reads NAME=TEXT, NAME.INDEX=TEXT, NAME:N=NUMBER or NAME.INDEX:N=NUMBER");
  item.name = address.name;
  item.index = address.index;
  item.value = word;
  item.value.CutFront(equals + 1);
  return item;
}

std::string FindItem(std::string_view xbuf, std::string_view item) {
  const ItemAddress wanted(item);
  for (const XbufItem& one : ReadItems(xbuf)) {
    const std::string_view name = one.name;
    const bool same = EqualNames(name, wanted.name) || EqualNames(name.substr(name.find('_') + 1), wanted.name);
    if (wanted.valid && same && one.index == wanted.index) return one.value;
  }
  throw ToolError(Status::OtherCode, "the XBUF has no item '" + std::string(item) + "'");
}

std::string ListItems(std::string_view xbuf) {
  std::string lines;
  for (const XbufItem& item : ReadItems(xbuf)) {
    lines += "  " + item.name + (item.index == 0 ? "" : "." + std::to_string(item.index));
    lines += " = " + (item.type == 'N' ? item.value : Quote(item.value)) + '\n';
  }
  return lines;
}

bool IsXbuf(std::string_view text) {
  if (!text.ends_with('$') || text.size() == 1) return false;
  try {
    return host::WriteXbuf(host::ReadXbuf(text)).size() == text.size();
  } catch (const std::invalid_argument&) {
    return false;
  }
}

}  // namespace vorlix::tool
