// Bytes as an XBUF: server and host read the same items from it, or both refuse it, but that the host, who does not
// know the server's language, takes names with any byte beyond ASCII; and what either writes from the items is read as
// the same items again.
#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <vector>

#include "dll/shared/dictattr.h"
#include "dll/shared/xpack.h"
#include "fuzz/input.h"
#include "host/xbuf.h"

namespace vorlix::fuzz {
namespace {

using Items = std::optional<std::vector<host::XbufItem>>;

Items ReadAsServer(std::string_view xbuf) {
  std::vector<host::XbufItem> items;
  XbufReader reader(xbuf);
  XbufItem item;
  XbufReader::Step step;
  while ((step = reader.Next(item)) == XbufReader::Step::Item)
    items.push_back({LetterOf(item.type), item.name.data(), uint32_t(item.index), std::string(item.value)});
  return step == XbufReader::Step::End ? Items(items) : std::nullopt;
}

Items ReadAsHost(std::string_view xbuf) try { return host::ReadXbuf(xbuf); } catch (const std::invalid_argument&) {
  return std::nullopt;
}

bool HasNameBeyondAscii(const std::vector<host::XbufItem>& items) {
  const auto beyond_ascii = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
  return std::any_of(items.begin(), items.end(), [&](const host::XbufItem& item) {
    return std::any_of(item.name.begin(), item.name.end(), beyond_ascii);
  });
}

std::string WriteAsServer(const std::vector<host::XbufItem>& items, size_t room) {
  std::vector<char> memory(room);
  XbufWriter writer{memory.data(), int64_t(room)};
  bool fits = true;
  for (const host::XbufItem& item : items)
    fits = fits && writer.Put("", item.name, item.type, item.value, int32_t(item.index));
  return fits && writer.End() ? std::string(memory.data(), size_t(writer.length)) : "";
}

}  // namespace

void Run(Input input) {
  const std::string_view xbuf = input.Rest();
  const Items items = ReadAsServer(xbuf);
  const Items host_items = ReadAsHost(xbuf);
  Require(items == host_items || (!items && HasNameBeyondAscii(*host_items)), "server and host read the same");
  Object object;
  std::array<char, 20> field;
  static_cast<void>(XbufObSet(object, field, xbuf));  // whatever comes of it
  if (!items) return;
  const std::string written = host::WriteXbuf(*items);
  Require(ReadAsServer(written) == items, "what the host writes is read again");
  Require(WriteAsServer(*items, written.size() + XBUF_HEADER_SIZE) == written, "the server writes the same");
  WriteAsServer(*items, xbuf.size() / 2);
}

}  // namespace vorlix::fuzz
