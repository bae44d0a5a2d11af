#include <algorithm>

#include "dll/base/debug.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/xpack.h"

namespace vorlix {
namespace {

constexpr char PREFIX[] = "Dict_";
constexpr std::string_view FIELD_NAME = "fld";

std::string_view FieldNameOf(const Section& section) {
  const std::string_view name = section.section.get();
  const size_t dot = name.find('.');
  return dot != std::string_view::npos ? name.substr(dot + 1) : name;
}

bool PackAttributes(XbufWriter& writer, const Object& object) {
  AttrText attr;
  for (int32_t row = 0; ObGetIdx(object, row, attr) == row; ++row)
    if (!writer.Put(PREFIX, ObGetAlias(row), attr.type, attr.value)) return false;
  return true;
}

// The name of an item without what stands before its first "_".
const char* ShortName(const XbufItem& item) {
  const std::string_view name = item.name.data();
  return item.name.data() + (name.find('_') + 1);  // from the start when there is none
}

int32_t Corrupt(XbufFault fault, const XbufReader& reader) {
  DebugPrint(TRACE_DICT, 1, "XbufObSet() failed: buffer corrupt (%d), offset=%lld", int{fault},
             static_cast<long long>(reader.Offset()));
  return ATTR_FAILED;
}

bool CopyFieldName(std::string_view name, std::span<char> field) {
  if (name.size() >= field.size()) return false;
  *std::ranges::copy(name, field.begin()).out = '\0';
  return true;
}

int32_t SetAttribute(Object& object, const char* name, std::string_view value, const char* field) {
  const int32_t row = ObFindAlias(name);
  if (row < 0) {
    DebugPrint(TRACE_DICT, 1, "XbufObSet() failed: unknown item '%s'", name);
    return ATTR_FAILED;
  }
  OwnedText text = CopyText(BeforeNul(value));
  if (text == nullptr) {
    DebugPrint(TRACE_DICT, 1, "XbufObSet() failed: heap overflow (item=%s)", ObGetItem(row));
    return ATTR_FAILED;
  }
  return ObSetIdx(object, row, text, field);
}

// Takes all items; `count` becomes the number of attributes set.
int32_t SetAll(Object& object, std::span<char> field, std::string_view xbuf, int32_t& count) {
  XbufReader reader(xbuf);
  XbufItem item;
  for (;;) {
    const XbufReader::Step step = reader.Next(item);
    if (step == XbufReader::Step::End) return 0;
    if (step == XbufReader::Step::Corrupt) return Corrupt(reader.Fault(), reader);
    const char* const name = ShortName(item);
    if (name == FIELD_NAME) {
      if (!CopyFieldName(BeforeNul(item.value), field)) return Corrupt(XBUF_VALUE_PAST_END, reader);
      continue;
    }
    if (SetAttribute(object, name, item.value, field.data()) == ATTR_FAILED) return ATTR_FAILED;
    ++count;
  }
}

}  // namespace

int32_t xpack_dict(const Section& section, DllString& xbuf) {
  XbufWriter writer{xbuf.buf, xbuf.max};
  if (writer.Put(PREFIX, FIELD_NAME, 'X', FieldNameOf(section)) && PackAttributes(writer, section.object) &&
      writer.End()) {
    xbuf.len = static_cast<int32_t>(writer.length);
    return RESULT_OK;
  }
  DebugPrint(TRACE_DICT, 1, "xpack_dict() failed: XBUF overflow");
  return RESULT_TOO_SHORT;
}

int32_t XbufObSet(Object& object, std::span<char> field, std::string_view xbuf) {
  DebugEntry(TRACE_DICT);
  field[0] = '\0';
  int32_t count = 0;
  if (SetAll(object, field, xbuf, count) != 0) return ATTR_FAILED;
  if (field[0] != '\0' && count > 0) return ATTR_OK;
  DebugPrint(TRACE_DICT, 1, "XbufObSet() failed: %s",
             field[0] == '\0' ? "field name not specified" : "XBUF seems to be empty");
  return ATTR_FAILED;
}

}  // namespace vorlix
