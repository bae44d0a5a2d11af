// An object goes out with all of its attributes, in the order of their table, and comes in with those that the XBUF
// has.
#include <algorithm>
#include <utility>

#include "dll/base/debug.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/xpack.h"

namespace vorlix {
namespace {

constexpr char ITEM_PREFIX[] = "Dict_";
constexpr std::string_view FIELD_NAME = "fld";

std::string_view FieldNameOf(const Section& section) {
  const std::string_view name = section.name.get();
  const size_t dot = name.find('.');
  return dot != std::string_view::npos ? name.substr(dot + 1) : name;
}

bool PackAttributes(XbufWriter& writer, const Object& object) {
  AttrText attr;
  for (int32_t row = 0; ObGetIdx(object, row, attr); ++row)
    if (!writer.Put(ITEM_PREFIX, ObGetAlias(row), attr.type, attr.value)) return false;
  return true;
}

// The name of an item without what stands before its first "_".
CText ShortName(const XbufItem& item) {
  const CText name = item.name.data();
  return name.From(name.View().find('_') + 1);  // all of it when there is none
}

AttrResult Corrupt(XbufFault fault, const XbufReader& reader) {
  DebugPrint(TRACE_DICT, 1, "XbufObSet() failed: buffer corrupt (%d), offset=%lld", int{fault},
             static_cast<long long>(reader.Offset()));
  return AttrResult::Failed;
}

bool CopyFieldName(std::string_view name, std::span<char> field) {
  if (name.size() >= field.size()) return false;
  *std::ranges::copy(name, field.begin()).out = '\0';
  return true;
}

AttrResult SetAttribute(Object& object, CText name, std::string_view value, CText field) {
  const std::optional<int32_t> row = ObFindAlias(name);
  if (!row) {
    DebugPrint(TRACE_DICT, 1, "XbufObSet() failed: unknown item '%s'", name.CStr());
    return AttrResult::Failed;
  }
  OwnedText text = CopyText(BeforeNul(value));
  if (text == nullptr) {
    DebugPrint(TRACE_DICT, 1, "XbufObSet() failed: heap overflow (item=%s)", ObGetItem(*row).CStr());
    return AttrResult::Failed;
  }
  return ObSetIdx(object, *row, std::move(text), field);
}

// Takes all items; `count` becomes the number of attributes set.
AttrResult SetAll(Object& object, std::span<char> field, std::string_view xbuf, int32_t& count) {
  XbufReader reader(xbuf);
  XbufItem item;
  for (;;) {
    const XbufReader::Step step = reader.Next(item);
    if (step == XbufReader::Step::End) return AttrResult::Ok;
    if (step == XbufReader::Step::Corrupt) return Corrupt(reader.Fault(), reader);
    const CText name = ShortName(item);
    if (name.View() == FIELD_NAME) {
      if (!CopyFieldName(BeforeNul(item.value), field)) return Corrupt(XBUF_VALUE_PAST_END, reader);
      continue;
    }
    if (SetAttribute(object, name, item.value, field.data()) != AttrResult::Ok) return AttrResult::Failed;
    ++count;
  }
}

}  // namespace

ResultCode xpack_dict(const Section& section, DllString& xbuf) {
  XbufWriter writer{xbuf.buf, xbuf.max};
  if (writer.Put(ITEM_PREFIX, FIELD_NAME, 'X', FieldNameOf(section)) && PackAttributes(writer, section.object) &&
      writer.End()) {
    xbuf.len = static_cast<int32_t>(writer.length);
    return RESULT_OK;
  }
  DebugPrint(TRACE_DICT, 1, "xpack_dict() failed: XBUF overflow");
  return RESULT_TOO_SHORT;
}

AttrResult XbufObSet(Object& object, std::span<char> field, std::string_view xbuf) {
  DebugEntry(TRACE_DICT);
  field[0] = '\0';
  int32_t count = 0;
  if (SetAll(object, field, xbuf, count) != AttrResult::Ok) return AttrResult::Failed;
  if (field[0] != '\0' && count > 0) return AttrResult::Ok;
  DebugPrint(TRACE_DICT, 1, "XbufObSet() failed: %s",
             field[0] == '\0' ? "field name not specified" : "XBUF seems to be empty");
  return AttrResult::Failed;
}

}  // namespace vorlix
