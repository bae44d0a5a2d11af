// ObCheck: what an object must have, and what it is given when its dictionary leaves it out.
#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

#include "dll/base/debug.h"
#include "dll/base/locale.h"
#include "dll/shared/attrvalue.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/fieldscan.h"

namespace vorlix {
namespace {

// What a field gets where it has none of its own. An empty format stands for no defaults, a 0 for none of its kind.
struct FieldDefaults {
  std::string_view format;
  int32_t length = 0;
  int32_t precision = 0;
};

FieldDefaults NoDefaults(const LocaleStrings&) { return {}; }
FieldDefaults ShortDate(const LocaleStrings& locale) { return {locale.short_date.format, locale.short_date.length}; }
FieldDefaults LongDate(const LocaleStrings& locale) { return {locale.long_date.format, locale.long_date.length}; }
FieldDefaults ClockTime(const LocaleStrings& locale) { return {locale.time.format, locale.time.length}; }
FieldDefaults DecimalTime(const LocaleStrings& locale) {
  return {"lRBzTPg", locale.time.length, locale.time_precision};
}
FieldDefaults Month(const LocaleStrings& locale) { return {locale.month.format, locale.month.length}; }
FieldDefaults Text(const LocaleStrings&) { return {"LrcZtuvo"}; }
FieldDefaults UpperText(const LocaleStrings&) { return {"LrcZtUvo"}; }

constexpr CText ABSENT = "";
constexpr std::string_view ANY = "*";

// The value types that a field type goes with. The defaults of numbers depend on their format.
struct ValueType {
  FieldType ftyp;
  std::string_view fvtyp;
  FieldDefaults (*defaults)(const LocaleStrings& locale);
};

constexpr ValueType VALUE_TYPES[] = {
    {FT_NONE, ANY, NoDefaults}, {FT_N, ABSENT, NoDefaults},   {FT_N, "I", NoDefaults},
    {FT_N, "D", NoDefaults},    {FT_N, "S", NoDefaults},      {FT_N, "L", NoDefaults},
    {FT_D, "GREG", ShortDate},  {FT_D, "YMD", ShortDate},     {FT_D, "CYMD", LongDate},
    {FT_Z, "HM60", ClockTime},  {FT_Z, "HM100", DecimalTime}, {FT_M, ANY, Month},
    {FT_K, ABSENT, NoDefaults}, {FT_K, "KW", NoDefaults},     {FT_T, ANY, Text},
    {FT_U, ANY, UpperText},     {FT_CB, ANY, NoDefaults},     {FT_RB, ANY, NoDefaults},
    {FT_LB, ANY, NoDefaults},   {FT_MT, ANY, NoDefaults},     {FT_XB, ANY, NoDefaults},
};

constexpr bool HasValueTypes(FieldType ftyp) {
  return std::ranges::find(VALUE_TYPES, ftyp, &ValueType::ftyp) != std::end(VALUE_TYPES);
}
#define FIELD_TYPE(name, ...) static_assert(HasValueTypes(FT_##name));
#include "dll/shared/dicttypes.def"

// Value types of dates by the names that they had, each as long as its name today.
struct OldValueType {
  CText old;
  CText today;
};

constexpr OldValueType OLD_VALUE_TYPES[] = {{"JMT", "YMD"}, {"JJMT", "CYMD"}};
static_assert(std::ranges::all_of(OLD_VALUE_TYPES,
                                  [](auto& row) { return row.old.View().size() == row.today.View().size(); }));

// Formats of numbers as they used to be written, also none at all. A negative precision said that zeros at the end of
// the decimals go, which is the "t" of today's formats.
struct OldNumberFormat {
  CText old;
  CText format;
  CText format_negative;
};

constexpr OldNumberFormat OLD_NUMBER_FORMATS[] = {
    {ABSENT, "lRbzTPg", "lRbztPg"}, {"B", "lRBzTPg", "lRBztPg"},  {"Z", "lRbZTPg", "lRbZtPg"},
    {"ZB", "lRBZTPg", "lRBZtPg"},   {"M", "lRbzTPG", "lRbztPG"},  {"MB", "lRBzTPG", "lRBztPG"},
    {"L", "LrbzTPg", "LrbztPg"},    {"LB", "LrBzTPg", "LrBztPg"},
};

bool Fail(const char* reason, CText section) {
  DebugPrint(TRACE_DICT, 1, "ObCheck() failed: %s, section '%s'", reason, section.CStr());
  return false;
}

// The field type that an ObjectType forces; none for fields to type into.
constexpr FieldType FORCED_TYPES[] = {
    FT_NONE,
#define OBJECT_TYPE(name, field_type) FT_##field_type,
#include "dll/shared/dicttypes.def"
};

void ForceFieldType(Object& object) {
  const FieldType forced = FORCED_TYPES[object.objtype];
  if (forced == FT_NONE) return;
  object.ftyp = forced;
  object.ftyp_text.reset();
  object.mask |= BIT_FTYP;
}

bool CheckTypes(Object& object, CText section) {
  if (object.path == nullptr) return Fail("missing PATH", section);
  if (object.objtype == OT_NONE) return Fail("missing OBJTYPE", section);
  ForceFieldType(object);
  if (object.ftyp == FT_NONE && object.ftyp_text == nullptr) return Fail("missing FTYP", section);
  return true;
}

void RenameValueType(Object& object, CText section) {
  for (const OldValueType& row : OLD_VALUE_TYPES) {
    if (object.ftyp != FT_D || !EqualNoCase(CText(object.fvtyp), row.old)) continue;
    DebugPrint(TRACE_DICT, 2, "ObCheck() warning: old-style FVTYP[%s], replace with '%s', section '%s'",
               object.fvtyp.get(), row.today.CStr(), section.CStr());
    std::ranges::copy(row.today.View(), object.fvtyp.get());
    return;
  }
}

// The row of the object's field type and value type; null when they do not go together.
const ValueType* FindValueType(const Object& object, CText section) {
  const CText fvtyp = object.fvtyp;
  for (const ValueType& row : VALUE_TYPES)
    if (row.ftyp == object.ftyp && (row.fvtyp == ANY || EqualNoCase(row.fvtyp, fvtyp))) return &row;
  ComputedText computed;
  DebugPrint(TRACE_DICT, 1, "ObCheck() failed: FT_%s has invalid FVTYP[%s], section '%s'",
             GetFieldType(object, computed).CStr(), fvtyp.CStr(), section.CStr());
  return nullptr;
}

// Brings format and precision of a number into today's notation.
FieldDefaults RenewNumberFormat(Object& object, CText section) {
  const CText old = object.ffmt;
  const auto* const row = std::ranges::find_if(
      OLD_NUMBER_FORMATS, [old](const OldNumberFormat& entry) { return EqualNoCase(entry.old, old); });
  if (row == std::end(OLD_NUMBER_FORMATS)) return {};
  if (object.fprec < 0) {
    object.fprec = -std::max(object.fprec, -std::numeric_limits<int32_t>::max());
    DebugPrint(TRACE_DICT, 2,
               "ObCheck() warning: negative precision, set to '%d' and change FFMT to '%s', section '%s'", object.fprec,
               row->format_negative.CStr(), section.CStr());
    return {row->format_negative};
  }
  if (!old.empty())
    DebugPrint(TRACE_DICT, 2, "ObCheck() warning: old-style FFMT[%s], replace with '%s', section '%s'", old.CStr(),
               row->format.CStr(), section.CStr());
  return {row->format};
}

void SetIfZero(Object& object, int32_t Object::*number, uint32_t bit, int32_t value) {
  if (value == 0 || object.*number != 0) return;
  object.*number = value;
  object.mask |= bit;
}

bool SetDefaults(Object& object, const FieldDefaults& defaults, CText section) {
  if (defaults.format.empty()) return true;
  OwnedText format = CopyText(defaults.format);
  if (format == nullptr) return Fail("heap overflow", section);
  if (SetText<&Object::ffmt>(object, std::move(format)).is_refused) return Fail("cannot set new format", section);
  object.mask |= BIT_FFMT;
  SetIfZero(object, &Object::flen, BIT_FLEN, defaults.length);
  SetIfZero(object, &Object::fprec, BIT_FPREC, defaults.precision);
  return true;
}

bool CompleteFormat(Object& object, CText section) {
  RenameValueType(object, section);
  const ValueType* const type = FindValueType(object, section);
  if (type == nullptr) return false;
  FieldDefaults defaults;
  if (object.ftyp == FT_N)
    defaults = RenewNumberFormat(object, section);
  else if (object.ffmt == nullptr)
    defaults = type->defaults(LocaleInForce().strings);
  return SetDefaults(object, defaults, section);
}

bool CheckValid(const Object& object, CText section) {
  if (object.valid == nullptr || FmtCheckValid("", object.valid.get()).outcome != VALID_MALFORMED) return true;
  DebugPrint(TRACE_DICT, 1, "ObCheck() failed: syntax error in VALID '%s', section '%s'", object.valid.get(),
             section.CStr());
  return false;
}

bool CheckNumbers(const Object& object, CText section) {
  if (object.flen < 0) return Fail("negative LEN", section);
  // A calendar week has a length by its format.
  if (FORCED_TYPES[object.objtype] == FT_NONE && object.ftyp != FT_K && object.flen == 0)
    DebugPrint(TRACE_DICT, 2, "ObCheck() warning: LEN is zero or undefined, section '%s'", section.CStr());
  return object.fprec >= 0 || Fail("negative PREC", section);
}

}  // namespace

AttrResult ObCheck(Object& object, CText section) {
  const bool passed = CheckTypes(object, section) && CompleteFormat(object, section) && CheckValid(object, section) &&
                      CheckNumbers(object, section);
  return passed ? AttrResult::Ok : AttrResult::Failed;
}

}  // namespace vorlix
