// The attribute table, and the operations that go by its rows.
#include "dll/shared/dictattr.h"

#include <algorithm>
#include <span>

#include "dll/base/debug.h"
#include "dll/shared/attrvalue.h"

namespace vorlix {
namespace {

// The exchange name of a row that cannot be read is the item name that replaces it, where there is one.
struct Attribute {
  std::string_view item;
  std::string_view alias;
  uint32_t bit;
  char type;
  size_t max_length;  // 0: any
  Setter set;
  Getter get;  // null: cannot be read
};

// clang-format off
constexpr Attribute ATTRIBUTES[] = {
    {"PATH", "PATH", 0x1, 'X', 80, SetText<&Object::path>, GetText<&Object::path>},
    {"OBJTYPE", "OBJTYPE", 0x2, 'X', 2, SetObjectType, GetObjectType},
    {"FTYP", "TYP", BIT_FTYP, 'X', 2, SetFieldType, GetFieldType},
    {"FVTYP", "VTYP", 0x8, 'X', 8, SetText<&Object::fvtyp>, GetText<&Object::fvtyp>},
    {"FFMT", "FMT", BIT_FFMT, 'X', 40, SetText<&Object::ffmt>, GetText<&Object::ffmt>},
    {"FREQ", "REQ", 0x20, 'N', 0, SetRequired, GetRequired},
    {"FLEN", "LEN", BIT_FLEN, 'N', 0, SetNumber<&Object::flen>, GetNumber<&Object::flen>},
    {"FPREC", "PREC", BIT_FPREC, 'N', 0, SetNumber<&Object::fprec>, GetNumber<&Object::fprec>},
    {"FMIN", "MIN", 0x100, 'N', 0, SetReal<&Object::fmin>, GetReal<&Object::fmin>},
    {"FMAX", "MAX", 0x200, 'N', 0, SetReal<&Object::fmax>, GetReal<&Object::fmax>},
    {"DEFAULT", "DEFVAL", 0x400, 'X', 80, SetText<&Object::default_value>, GetText<&Object::default_value>},
    {"FEMPTY", "EMPTY", 0x800, 'X', 16, SetText<&Object::fempty>, GetText<&Object::fempty>},
    {"VALID", "VALID", 0x1000, 'X', 100, SetText<&Object::valid>, GetText<&Object::valid>},
    {"FSEARCH", "SEARCH", 0x2000, 'X', 16, SetText<&Object::fsearch>, GetText<&Object::fsearch>},
    {"FCHECK", "CHECK", 0x4000, 'X', 16, SetText<&Object::fcheck>, GetText<&Object::fcheck>},
    {"NOTIFY", "NOTIFY", 0x8000, 'X', 0, SetNotify, GetNotify},
    {"OUTPUT", "OUTPUT", 0x10000, 'X', 16, SetText<&Object::output>, GetText<&Object::output>},
    {"LOAD", "LOAD", 0x20000, 'X', 16, SetText<&Object::load>, GetText<&Object::load>},
    {"INIT", "INIT", 0x40000, 'X', 16, SetText<&Object::init>, GetText<&Object::init>},
    {"ERLAUBT", "VALID", 0x1000, 'X', 100, SetText<&Object::valid>, nullptr},
    {"MODEL", "", 0, 'X', 80, SetText<&Object::model>, nullptr},
};
// clang-format on

constexpr std::span<const Attribute> ALL(ATTRIBUTES);
constexpr std::span<const Attribute> READABLE = ALL.first(ATTRIBUTE_COUNT);

// A row's bit says its number, so a row out of place does not compile.
consteval bool BitsFollowRows() {
  for (size_t row = 0; row < READABLE.size(); ++row)
    if (READABLE[row].bit != uint32_t{1} << row) return false;
  return true;
}
static_assert(BitsFollowRows());

// The row of this number, null when there is none.
const Attribute* RowAt(std::span<const Attribute> rows, int32_t number) {
  return number >= 0 && static_cast<size_t>(number) < rows.size() ? &rows[static_cast<size_t>(number)] : nullptr;
}

// The first row that has this name in the given column, -1 when none has.
int32_t RowOf(std::span<const Attribute> rows, std::string_view Attribute::*column, std::string_view name) {
  const auto found = std::ranges::find_if(rows, [=](const Attribute& row) { return EqualNoCase(row.*column, name); });
  return found != rows.end() ? static_cast<int32_t>(found - rows.begin()) : -1;
}

int32_t SetRow(Object& object, const Attribute& row, OwnedText& value, const char* section) {
  const std::string_view text = TextOf(value);
  if (row.get == nullptr && !row.alias.empty())
    DebugPrint(TRACE_DICT, 2, "ObSetIdx(%s) warning: old item name, replace with '%s', section '%s'", row.item.data(),
               row.alias.data(), section);
  if (row.max_length > 0 && text.size() > row.max_length) {
    DebugPrint(TRACE_DICT, 1, "ObSetIdx(%s=%s) failed: maximum length exceeded, section '%s'", row.item.data(),
               text.data(), section);
    return ATTR_FAILED;
  }
  const int32_t result = row.set(object, value);
  if (result == ATTR_FAILED) {
    DebugPrint(TRACE_DICT, 1, "ObSetIdx(%s=%s) failed: invalid value, section '%s'", row.item.data(), text.data(),
               section);
    return ATTR_FAILED;
  }
  object.mask |= row.bit;
  return result;
}

bool IsCopied(CopyMode mode, uint32_t bit, uint32_t src_mask, uint32_t dst_mask) {
  if (mode == CopyMode::All) return true;
  return (src_mask & bit) != 0 && (mode == CopyMode::Set || (dst_mask & bit) == 0);
}

int32_t CopyRow(Object& dst, const Object& src, const Attribute& row, const char* section) {
  ComputedText computed;
  const std::string_view value = row.get(src, computed);
  OwnedText copy = CopyText(value);
  if (copy == nullptr) {
    DebugPrint(TRACE_DICT, 1, "ObCopy() failed: heap overflow (section=%s, item=%s, value=%s)", section,
               row.item.data(), value.data());
    return ATTR_FAILED;
  }
  if (SetRow(dst, row, copy, section) == ATTR_FAILED) return ATTR_FAILED;
  DebugPrint(TRACE_DICT, 3, "ObCopy(): item '%s' with value '%s' copied", row.item.data(), value.data());
  return ATTR_OK;
}

}  // namespace

void ObInit(Object& object) { object = Object(); }

void ObFree(Object& object) {
  OwnedText none;
  for (const Attribute& row : READABLE) row.set(object, none);
  object.model.reset();
  object.mask = 0;
}

int32_t ObSetIdx(Object& object, int32_t row, OwnedText& value, const char* section) {
  const Attribute* const attribute = RowAt(ALL, row);
  return attribute != nullptr ? SetRow(object, *attribute, value, section) : int32_t{ATTR_FAILED};
}

int32_t ObSet(Object& object, std::string_view item, OwnedText& value, const char* section) {
  const int32_t row = RowOf(ALL, &Attribute::item, item);
  if (row < 0) {
    DebugPrint(TRACE_DICT, 1, "ObSet(%.*s) failed: unknown item, section '%s'", static_cast<int>(item.size()),
               item.data(), section);
    return ATTR_FAILED;
  }
  if (value != nullptr && value[0] == '\0')
    DebugPrint(TRACE_DICT, 2, "ObSet(%s) warning: empty value, section '%s'", ObGetItem(row), section);
  return ObSetIdx(object, row, value, section);
}

int32_t ObGetIdx(const Object& object, int32_t n, AttrText& attr) {
  const Attribute* const row = RowAt(READABLE, n);
  if (row == nullptr) return -1;
  attr.item = row->item;
  attr.value = row->get(object, attr.computed);
  attr.type = row->type;
  return n;
}

const char* ObGetAlias(int32_t n) {
  const Attribute* const row = RowAt(READABLE, n);
  if (row == nullptr) DebugPrint(TRACE_DICT, 1, "ObGetAlias() failed: invalid index");
  return row != nullptr ? row->alias.data() : nullptr;
}

int32_t ObFindAlias(std::string_view alias) { return RowOf(READABLE, &Attribute::alias, alias); }

int32_t ObFindItem(std::string_view item) { return RowOf(READABLE, &Attribute::item, item); }

const char* ObGetItem(int32_t row) {
  const Attribute* const attribute = RowAt(ALL, row);
  return attribute != nullptr ? attribute->item.data() : "";
}

int32_t ObCopy(Object& dst, const Object& src, CopyMode mode, const char* section) {
  DebugEntry(TRACE_DICT);
  for (const Attribute& row : READABLE)
    if (IsCopied(mode, row.bit, src.mask, dst.mask) && CopyRow(dst, src, row, section) == ATTR_FAILED)
      return ATTR_FAILED;
  return ATTR_OK;
}

}  // namespace vorlix
