// A function for each field type that shows something, in a table by type.
#include "dll/shared/fielddisplay.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <string_view>

#include "dll/base/locale.h"
#include "dll/base/text.h"
#include "dll/field/fmtflags.h"
#include "dll/shared/datefmt.h"
#include "dll/shared/numfmt.h"
#include "dll/shared/textfmt.h"

namespace vorlix {
namespace {

using Int32 = std::numeric_limits<int32_t>;

constexpr std::string_view TODAY = "$DATE";
constexpr std::string_view NOW = "$TIME";

// Hundredths of an hour, which time fields store.
constexpr int64_t SECONDS_OF_HUNDREDTH = 36;
constexpr double HUNDREDTHS_OF_HOUR = 100.0;

// ---- Formatted types ------------------------------------------------------------------------------------------------

void ShowNumber(FieldBuffer& out, const Object& field, const char* value, LocalTime) {
  FldFmtNum(out, std::strtod(value, nullptr), field.flen, field.fprec, CText(field.ffmt));
}

void ShowDate(FieldBuffer& out, const Object& field, const char* value, LocalTime now) {
  const std::string_view format = CText(field.ffmt);
  if (EqualNoCase(value, TODAY))
    FmtDate(out, now(), field.flen, format);
  else
    FldFmtDate(out, ReadNumber(value), EqualNoCase(CText(field.fvtyp), "GREG"), field.flen, format);
}

// The minutes are rounded to hundredths.
int32_t HundredthsOf(const std::tm& time) { return time.tm_hour * 100 + (time.tm_min * 100 + 50) / 60; }

void ShowTime(FieldBuffer& out, const Object& field, const char* value, LocalTime now) {
  const std::string_view format = CText(field.ffmt);
  const int32_t hundredths = EqualNoCase(value, NOW) ? HundredthsOf(now()) : ReadNumber(value);
  if (!EqualNoCase(CText(field.fvtyp), "HM60")) {
    FldFmtNum(out, hundredths / HUNDREDTHS_OF_HOUR, field.flen, field.fprec, format);
    return;
  }
  const int64_t seconds = hundredths * SECONDS_OF_HUNDREDTH;
  if (seconds < Int32::min() || seconds > Int32::max())
    ShowOverflow(out, field.flen);
  else
    FldFmtTime(out, static_cast<int32_t>(seconds), field.flen, format);
}

void ShowMonth(FieldBuffer& out, const Object& field, const char* value, LocalTime) {
  FldFmtMonth(out, ReadNumber(value), field.flen, CText(field.ffmt));
}

void ShowWeek(FieldBuffer& out, const Object& field, const char* value, LocalTime now) {
  const std::string_view type = CText(field.fvtyp);
  FieldFormat shown{CText(field.ffmt), field.flen};
  if (!EqualNoCase(value, TODAY)) {
    FldFmtWeek(out, ReadNumber(value), shown.length, type, shown.format);
    return;
  }
  if (shown.format.empty()) {
    shown = WeekFieldFormat(type);
    if (field.flen != 0) shown.length = field.flen;
  }
  FmtDate(out, now(), shown.length, shown.format);
}

void ShowText(FieldBuffer& out, const Object& field, const char* value, LocalTime) {
  FldFmtText(out, value, field.flen, CText(field.ffmt));
}

// ---- Buttons and boxes ----------------------------------------------------------------------------------------------

// A bound as a whole number, without its decimals.
int64_t WholeBound(double bound) { return static_cast<int64_t>(std::clamp<double>(bound, Int32::min(), Int32::max())); }

// FMAX of 0 is no bound.
int64_t AtMostFmax(int64_t number, const Object& field) {
  return field.fmax != 0 ? std::min(number, WholeBound(field.fmax)) : number;
}

void ShowCheckBox(FieldBuffer& out, const Object&, const char* value, LocalTime) {
  out.AssignNumber(ReadNumber(value));
}

void ShowRadioButton(FieldBuffer& out, const Object& field, const char* value, LocalTime) {
  out.AssignNumber(AtMostFmax(std::max<int64_t>(ReadNumber(value), WholeBound(field.fmin)), field));
}

// Entries count from 1, the one of the value FMIN; FMAX bounds that count.
void ShowListBox(FieldBuffer& out, const Object& field, const char* value, LocalTime) {
  const int64_t first = WholeBound(field.fmin);
  const int64_t number = std::max<int64_t>(ReadNumber(value), first);
  out.AssignNumber(AtMostFmax(number - first + 1, field));
}

// ---- The table ------------------------------------------------------------------------------------------------------

using Display = void (*)(FieldBuffer& out, const Object& field, const char* value, LocalTime now);

// By FieldType; null where the value stays as it is.
constexpr Display DISPLAYS[] = {
    nullptr,
#define FIELD_TYPE(name, type, display) display,
#include "dll/shared/dicttypes.def"
};

}  // namespace

bool FmtDisplay(FieldBuffer& out, const Object& field, const char* value, LocalTime now) {
  out.Clear();
  const bool known = field.ftyp >= FT_NONE && static_cast<size_t>(field.ftyp) < std::size(DISPLAYS);
  const Display display = known ? DISPLAYS[field.ftyp] : nullptr;
  if (display != nullptr) display(out, field, value, now);
  return display != nullptr;
}

}  // namespace vorlix
