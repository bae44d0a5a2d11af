// The grammar is that of the wire, as the server reads and writes it; here it speaks in C++ values and exceptions.
#include "host/xbuf.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "dll/base/text.h"
#include "dll/wire/xbuf.h"

namespace vorlix::host {
namespace {

[[noreturn]] void Refuse(const std::string& what) { throw std::invalid_argument("XBUF: " + what); }

std::string_view FaultText(XbufFault fault) {
  constexpr std::array<std::string_view, 5> TEXTS = {"sound", "bad type letter, name or element index", "no $",
                                                     "bad length", "value cut off"};
  return TEXTS.at(static_cast<size_t>(fault));
}

bool IsName(std::string_view name) {
  // Which bytes beyond ASCII are letters is the business of the server, which knows its language.
  const auto is_letter = [](char c) { return static_cast<unsigned char>(c) >= 0x80 || IsNameLetter(c); };
  const auto is_name_byte = [&](char c) { return is_letter(c) || IsDigit(c) || c == '_'; };
  return !name.empty() && std::cmp_less_equal(name.size(), XBUF_NAME_MAX) && is_letter(name.front()) &&
         std::ranges::all_of(name, is_name_byte);
}

void Check(const XbufItem& item) {
  if (item.type != 'X' && item.type != 'N') Refuse(std::string("no type letter: ") + item.type);
  if (!IsName(item.name)) Refuse("no name for an item: " + item.name);
  if (item.index > uint32_t{INT32_MAX}) Refuse("no element index: " + std::to_string(item.index));
}

}  // namespace

std::vector<XbufItem> ReadXbuf(std::string_view xbuf) {
  std::vector<XbufItem> items;
  XbufReader reader(xbuf, XbufNames::OfAny);
  vorlix::XbufItem item;
  XbufReader::Step step;
  while ((step = reader.Next(item)) == XbufReader::Step::Item)
    items.push_back(
        {LetterOf(item.type), item.name.data(), static_cast<uint32_t>(item.index), std::string(item.value)});
  if (step == XbufReader::Step::Corrupt)
    Refuse(std::string(FaultText(reader.Fault())) + " at offset " + std::to_string(reader.Offset()));
  return items;
}

std::string WriteXbuf(const std::vector<XbufItem>& items) {
  std::string xbuf;
  for (const XbufItem& item : items) {
    Check(item);
    const size_t start = xbuf.size();
    xbuf.resize(start + static_cast<size_t>(XBUF_HEADER_SIZE) + item.value.size() + 32);
    XbufWriter writer{xbuf.data() + start, static_cast<int64_t>(xbuf.size() - start)};
    writer.Put(item.name.c_str(), "", item.type, item.value,
               static_cast<int32_t>(item.index));  // which the room is enough for
    xbuf.resize(start + static_cast<size_t>(writer.length));
  }
  return xbuf + '$';
}

}  // namespace vorlix::host
