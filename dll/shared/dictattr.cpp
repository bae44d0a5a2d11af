// The attribute table, and the operations that go by its rows.
#include "dll/shared/dictattr.h"

#include <algorithm>
#include <span>
#include <utility>

#include "dll/base/debug.h"
#include "dll/shared/attrvalue.h"

namespace vorlix {
namespace {

// The exchange name of a row that cannot be read is the item name that replaces it, where there is one.
struct Attribute {
  CText item;
  CText alias;
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
    {"FMIN", "MIN", BIT_FMIN, 'N', 0, SetReal<&Object::fmin>, GetReal<&Object::fmin>},
    {"FMAX", "MAX", BIT_FMAX, 'N', 0, SetReal<&Object::fmax>, GetReal<&Object::fmax>},
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

// The first row that has this name in the given column.
std::optional<int32_t> RowOf(std::span<const Attribute> rows, CText Attribute::*column, std::string_view name) {
  const auto found = std::ranges::find_if(rows, [=](const Attribute& row) { return EqualNoCase(row.*column, name); });
  return found != rows.end() ? std::optional(static_cast<int32_t>(found - rows.begin())) : std::nullopt;
}

AttrResult SetRow(Object& object, const Attribute& row, OwnedText value, CText section) {
  if (row.get == nullptr && !row.alias.empty())
    DebugPrint(TRACE_DICT, 2, "ObSetIdx(%s) warning: old item name, replace with '%s', section '%s'", row.item.CStr(),
               row.alias.CStr(), section.CStr());
  const CText text = value;
  if (row.max_length > 0 && text.View().size() > row.max_length) {
    DebugPrint(TRACE_DICT, 1, "ObSetIdx(%s=%s) failed: maximum length exceeded, section '%s'", row.item.CStr(),
               text.CStr(), section.CStr());
    return AttrResult::Failed;
  }
  const Refused refused = row.set(object, std::move(value));
  if (refused.is_refused) {
    DebugPrint(TRACE_DICT, 1, "ObSetIdx(%s=%s) failed: invalid value, section '%s'", row.item.CStr(),
               CText(refused.value).CStr(), section.CStr());
    return AttrResult::Failed;
  }
  object.mask |= row.bit;
  return AttrResult::Ok;
}

bool IsCopied(CopyMode mode, uint32_t bit, uint32_t src_mask, uint32_t dst_mask) {
  if (mode == CopyMode::All) return true;
  return (src_mask & bit) != 0 && (mode == CopyMode::Set || (dst_mask & bit) == 0);
}

AttrResult CopyRow(Object& dst, const Object& src, const Attribute& row, CText section) {
  ComputedText computed;
  const CText value = row.get(src, computed);
  OwnedText copy = CopyText(value);
  if (copy == nullptr) {
    DebugPrint(TRACE_DICT, 1, "ObCopy() failed: heap overflow (section=%s, item=%s, value=%s)", section.CStr(),
               row.item.CStr(), value.CStr());
    return AttrResult::Failed;
  }
  if (SetRow(dst, row, std::move(copy), section) != AttrResult::Ok) return AttrResult::Failed;
  DebugPrint(TRACE_DICT, 3, "ObCopy(): item '%s' with value '%s' copied", row.item.CStr(), value.CStr());
  return AttrResult::Ok;
}

}  // namespace

void ObInit(Object& object) { object = Object(); }

void ObFree(Object& object) {
  for (const Attribute& row : READABLE) static_cast<void>(row.set(object, nullptr));
  object.model.reset();
  object.mask = 0;
}

AttrResult ObSetIdx(Object& object, int32_t row, OwnedText value, CText section) {
  const Attribute* const attribute = RowAt(ALL, row);
  return attribute != nullptr ? SetRow(object, *attribute, std::move(value), section) : AttrResult::Failed;
}

AttrResult ObSet(Object& object, CText item, OwnedText value, CText section) {
  const std::optional<int32_t> row = RowOf(ALL, &Attribute::item, item);
  if (!row) {
    DebugPrint(TRACE_DICT, 1, "ObSet(%s) failed: unknown item, section '%s'", item.CStr(), section.CStr());
    return AttrResult::Failed;
  }
  if (value != nullptr && value[0] == '\0')
    DebugPrint(TRACE_DICT, 2, "ObSet(%s) warning: empty value, section '%s'", ObGetItem(*row).CStr(), section.CStr());
  return ObSetIdx(object, *row, std::move(value), section);
}

bool ObGetIdx(const Object& object, int32_t n, AttrText& attr) {
  const Attribute* const row = RowAt(READABLE, n);
  if (row == nullptr) return false;
  attr.item = row->item;
  attr.value = row->get(object, attr.computed);
  attr.type = row->type;
  return true;
}

const char* ObGetAlias(int32_t n) {
  const Attribute* const row = RowAt(READABLE, n);
  if (row == nullptr) DebugPrint(TRACE_DICT, 1, "ObGetAlias() failed: invalid index");
  return row != nullptr ? row->alias.CStr() : nullptr;
}

std::optional<int32_t> ObFindAlias(std::string_view alias) { return RowOf(READABLE, &Attribute::alias, alias); }

std::optional<int32_t> ObFindItem(std::string_view item) { return RowOf(READABLE, &Attribute::item, item); }

CText ObGetItem(int32_t row) { return ALL[static_cast<size_t>(row)].item; }

AttrResult ObCopy(Object& dst, const Object& src, CopyMode mode, CText section) {
  DebugEntry(TRACE_DICT);
  for (const Attribute& row : READABLE)
    if (IsCopied(mode, row.bit, src.mask, dst.mask) && CopyRow(dst, src, row, section) != AttrResult::Ok)
      return AttrResult::Failed;
  return AttrResult::Ok;
}

}  // namespace vorlix
