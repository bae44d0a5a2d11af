#include "tools/check/fieldvalues.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "dll/base/locale.h"
#include "dll/base/text.h"
#include "dll/shared/attrvalue.h"
#include "dll/shared/fielddisplay.h"
#include "dll/shared/fieldscan.h"
#include "tools/check/typing.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

// Which other characters are printable is a matter of the language, which may not be that of the author.
bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

bool IsText(const Object& object) { return object.ftyp == FT_T || object.ftyp == FT_U; }

bool IsTyped(const Object& object) {
  return object.objtype == OT_ET || object.objtype == OT_ST || object.objtype == OT_OF;
}

// With a sign, the separators of each three digits, a point and all decimals.
bool FitsSurely(const Object& object, double number) {
  const double size = std::abs(number);
  const double digits = size < 1e6 ? 6 : std::floor(std::log10(size)) + 1;
  return digits + digits / 3 + object.fprec + 2 <= object.flen;
}

std::string TextFault(const Object& object, std::string_view text) {
  const auto [outcome, refused] = FmtCheckValid(text, CText(object.valid));
  if (outcome == VALID_REFUSED && IsAscii(refused))
    return std::string("VALID does not allow the ") + Printable({&refused, 1}) + " of the default";
  const bool is_long = text.size() > static_cast<size_t>(std::max(object.flen, 0));
  return is_long || Overflows(object, std::string(text)) ? "the default does not fit into the field" : "";
}

bool IsInRange(const Object& object, double number) {
  const bool is_bound = object.fmin != 0 || object.fmax != 0;
  return !is_bound || (number >= object.fmin && number <= object.fmax);
}

// Dates, months and weeks may be stored without their century.
bool IsSameValue(const Object& object, double one, double other) {
  const bool is_dated =
      object.ftyp == FT_M || object.ftyp == FT_K || (object.ftyp == FT_D && !EqualNoCase(CText(object.fvtyp), "GREG"));
  const double century = object.ftyp == FT_D ? 1e6 : 1e4;
  return is_dated ? std::fmod(one - other, century) == 0 : one == other;
}

// A default is typed as it is shown, and has to come back as the same number.
std::string NumberFault(const Object& object, const std::string& text) {
  const bool has_decimals = object.ftyp == FT_N;
  if (NumberSize(text, !has_decimals) != text.size()) return "the default is no number";
  const double number = std::strtod(text.c_str(), nullptr);
  const bool has_range = object.ftyp == FT_N || object.ftyp == FT_RB;
  if (has_range && !IsInRange(object, number)) return "the default is out of range";
  if (Overflows(object, text)) return "the default does not fit into the field";
  FieldBuffer shown;
  FieldBuffer out;
  if (!IsTyped(object) || !FmtDisplay(shown, object, text.c_str()) || shown.View().empty()) return "";
  std::string typed(shown.View());
  typed.erase(0, typed.find_first_not_of(' '));
  const Scanned scanned = ScanTyped(object, typed, out);
  if (scanned.code != SCAN_OK && scanned.code != SCAN_EMPTY)
    return "the default shows as " + typed + ": " + std::string(ScanReason(scanned.code));
  const bool is_kept = scanned.code == SCAN_EMPTY || scanned.is_text ||
                       IsSameValue(object, std::strtod(scanned.stored.c_str(), nullptr), number);
  return is_kept ? "" : "the default shows as " + typed;
}

}  // namespace

bool Overflows(const Object& object, const std::string& value) {
  FieldBuffer shown;
  if (object.flen <= 0 || !FmtDisplay(shown, object, value.c_str())) return false;
  const std::string_view text = shown.View();
  const std::string_view overflow = LocaleInForce().strings.overflow;
  const char filler = overflow.empty() ? '?' : overflow.front();
  return !text.empty() && std::ranges::all_of(text, [=](char c) { return c == filler; });
}

size_t NumberSize(const std::string& text, bool is_whole) {
  char* end = nullptr;
  if (is_whole)
    static_cast<void>(std::strtol(text.c_str(), &end, 10));
  else if (IsDecimal(text.c_str()))
    static_cast<void>(std::strtod(text.c_str(), &end));
  return end != nullptr ? static_cast<size_t>(end - text.c_str()) : 0;
}

std::string NumberText(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.12g", number);
  return text;
}

const char* LongestValue(const Object& object) {
  switch (object.ftyp) {
    case FT_M: return "199912";
    case FT_Z: return "2359";
    case FT_D: return EqualNoCase(CText(object.fvtyp), "GREG") ? "10227" : "19991231";
    default: return nullptr;
  }
}

std::string BoundWithoutRoom(const Object& object) {
  if (object.ftyp != FT_N) return "";
  for (const double bound : {object.fmin, object.fmax})
    if (bound != 0 && !FitsSurely(object, bound) && Overflows(object, NumberText(bound))) return NumberText(bound);
  return "";
}

std::string TypingFault(const Object& object, const std::string& value) {
  FieldBuffer shown;
  FieldBuffer out;
  if (!IsTyped(object) || object.flen <= 0 || !FmtDisplay(shown, object, value.c_str())) return "";
  const std::string text(shown.View());
  const ScanCode code = ScanTyped(object, text, out).code;
  return code != SCAN_OK ? "what the field shows, " + text + ", cannot be typed: " + std::string(ScanReason(code)) : "";
}

// One that begins with "$" is the host's to work out; of types that only it knows every value is.
std::string DefaultFault(const Object& object) {
  const std::string_view text = CText(object.default_value);
  FieldBuffer shown;
  if (text.empty() || text.starts_with('$') || !FmtDisplay(shown, object, object.default_value.get())) return "";
  return IsText(object) ? TextFault(object, text) : NumberFault(object, std::string(text));
}

}  // namespace vorlix::tool
