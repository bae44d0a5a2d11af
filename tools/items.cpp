#include "tools/items.h"

#include <stdexcept>

#include "dll/base/text.h"
#include "tools/failure.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

using host::XbufItem;

// "name.3" as name and index.
struct ItemAddress {
  explicit ItemAddress(std::string_view text) : name(text.substr(0, text.find('.'))) {
    if (name.size() < text.size()) index = ReadWhole<uint32_t>(text.substr(name.size() + 1));
  }

  std::string_view name;
  std::optional<uint32_t> index = 0;  // none: what follows the point is no index
};

bool FitsXbuf(const XbufItem& item) {
  try {
    host::WriteXbuf({item});
    return true;
  } catch (const std::invalid_argument&) {
    return false;
  }
}

std::vector<XbufItem> ReadItems(std::string_view xbuf) {
  try {
    return host::ReadXbuf(xbuf);
  } catch (const std::invalid_argument& error) {
    const std::string_view fault = std::string_view(error.what()).substr(std::string_view("XBUF: ").size());
    throw ToolError(Status::OtherCode, xbuf.empty() ? "nothing came back"
                                                    : Quote(xbuf.substr(0, 40)) + " is no XBUF: " + std::string(fault));
  }
}

}  // namespace

ItemWord ParseItem(const Word& word) {
  const std::string_view bare = word.Bare();
  const size_t equals = bare.find('=');
  std::string_view left = bare.substr(0, equals);
  const bool is_number = left.ends_with(":N");
  if (is_number) left.remove_suffix(2);
  const ItemAddress address(left);
  ItemWord made{{is_number ? 'N' : 'X', std::string(address.name), address.index.value_or(0), {}}, word};
  if (equals == std::string_view::npos || !address.index || !FitsXbuf(made.item))
    throw ToolError(Status::Usage, "an item reads NAME=TEXT, NAME.INDEX=TEXT, NAME:N=NUMBER or NAME.INDEX:N=NUMBER");
  made.value.CutFront(equals + 1);
  return made;
}

std::string FindItem(std::string_view xbuf, std::string_view item) {
  const ItemAddress wanted(item);
  for (const XbufItem& one : ReadItems(xbuf)) {
    const std::string_view name = one.name;
    const bool same = EqualNoCase(name, wanted.name) || EqualNoCase(name.substr(name.find('_') + 1), wanted.name);
    if (same && one.index == wanted.index) return one.value;
  }
  throw ToolError(Status::OtherCode, "the XBUF has no item '" + std::string(item) + "'");
}

std::string ListItems(std::string_view xbuf, const Conversion& to_outside) {
  std::string lines;
  for (const XbufItem& item : ReadItems(xbuf)) {
    lines += "  " + Printable(to_outside(item.name)) + (item.index == 0 ? "" : "." + std::to_string(item.index));
    lines += " = " + (item.type == 'N' ? item.value : Quote(to_outside(item.value))) + '\n';
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
