// XBUFs, item by item.
#include "host/xbuf.h"

#include <algorithm>
#include <deque>
#include <memory>

#include "dll/base/text.h"
#include "host/c/outcome.h"

namespace vorlix::c {
namespace {

// An item, and the same as C code sees it.
struct Item {
  explicit Item(host::XbufItem from) : item(std::move(from)) {
    seen = {item.type, item.index, item.name.c_str(), item.value.c_str(), item.value.size()};
  }
  Item(const Item&) = delete;
  Item& operator=(const Item&) = delete;

  host::XbufItem item;
  vorlix_item seen;
};

}  // namespace
}  // namespace vorlix::c

struct vorlix_xbuf {
  std::deque<vorlix::c::Item> items;  // which stay where they are
  std::string packed;
};

using namespace vorlix;
using namespace vorlix::c;

vorlix_status vorlix_xbuf_new(vorlix_xbuf** xbuf) {
  return Try([&] {
    Need(xbuf, "the place for the XBUF");
    *xbuf = new vorlix_xbuf;
  });
}

vorlix_status vorlix_xbuf_read(const char* bytes, size_t length, vorlix_xbuf** xbuf) {
  return Try([&] {
    Need(bytes, "the packed XBUF");
    Need(xbuf, "the place for the XBUF");
    NeedSize(length, "the length of the XBUF");
    auto made = std::make_unique<vorlix_xbuf>();
    for (host::XbufItem& item : host::ReadXbuf({bytes, length})) made->items.emplace_back(std::move(item));
    *xbuf = made.release();
  });
}

void vorlix_xbuf_free(vorlix_xbuf* xbuf) { delete xbuf; }

vorlix_status vorlix_xbuf_add(vorlix_xbuf* xbuf, char type, const char* name, uint32_t index, const char* value,
                              size_t length) {
  return Try([&] {
    Need(xbuf, "the XBUF");
    Need(name, "the name");
    Need(value, "the value");
    NeedSize(length, "the length of the value");
    // Written and read, it is as everybody will see it, or refused.
    const std::string packed = host::WriteXbuf({{type, name, index, {value, length}}});
    xbuf->items.emplace_back(std::move(host::ReadXbuf(packed).front()));
  });
}

const vorlix_item* vorlix_xbuf_at(const vorlix_xbuf* xbuf, size_t position) {
  return xbuf != nullptr && position < xbuf->items.size() ? &xbuf->items[position].seen : nullptr;
}

const vorlix_item* vorlix_xbuf_find(const vorlix_xbuf* xbuf, const char* name, uint32_t index) {
  if (xbuf == nullptr || name == nullptr) return nullptr;
  const auto found = std::ranges::find_if(
      xbuf->items, [&](const Item& one) { return one.item.index == index && EqualNoCase(one.item.name, name); });
  return found != xbuf->items.end() ? &found->seen : nullptr;
}

const char* vorlix_xbuf_pack(vorlix_xbuf* xbuf, size_t* length) {
  return TryPointer([&] {
    Need(xbuf, "the XBUF");
    std::vector<host::XbufItem> items;
    for (const Item& one : xbuf->items) items.push_back(one.item);
    xbuf->packed = host::WriteXbuf(items);
    if (length != nullptr) *length = xbuf->packed.size();
    return xbuf->packed.c_str();
  });
}
