#include "tools/check/typing.h"

#include "dll/shared/datefmt.h"
#include "dll/shared/numfmt.h"
#include "dll/shared/textfmt.h"

namespace vorlix::tool {
namespace {

template <class Scan>
Scanned ScanStored(Scan scan, FieldBuffer& out) {
  int32_t stored = 0;
  const ScanCode code = scan(stored, out);
  return {code, std::to_string(stored), false};
}

}  // namespace

Scanned ScanTyped(const Object& object, const std::string& typed, FieldBuffer& out) {
  const std::string_view type = CText(object.fvtyp);
  const std::string_view format = CText(object.ffmt);
  const std::string_view valid = CText(object.valid);
  switch (object.ftyp) {
    case FT_N: {
      double number = 0;
      const ScanCode code = FldScanNum(number, out, typed, type, object.fprec, object.fmin, object.fmax, valid);
      return {code, std::string(out.View().empty() ? "0" : out.View()), false};
    }
    case FT_D:
      return ScanStored(
          [&](int32_t& to, FieldBuffer& text) { return FldScanDate(to, text, typed, type, format, valid); }, out);
    case FT_Z:
      return ScanStored(
          [&](int32_t& to, FieldBuffer& text) { return FldScanTime(to, text, typed, type, format, valid); }, out);
    case FT_K:
      return ScanStored(
          [&](int32_t& to, FieldBuffer& text) { return FldScanWeek(to, text, typed, type, format, valid); }, out);
    case FT_M:
      return ScanStored(
          [&](int32_t& to, FieldBuffer& text) { return FldScanMonth(to, text, typed, type, format, valid); }, out);
    default: {
      const ScanCode code = FldScanText(out, typed, object.flen, format, valid);
      return {code, std::string(out.View()), true};
    }
  }
}

std::string_view ScanReason(ScanCode code) {
  switch (code) {
    case SCAN_OK: return "";
    case SCAN_EMPTY: return "nothing was typed";
    case SCAN_BAD_CALL: return "the number of decimals is negative or too large";
    case SCAN_BAD_CHAR: return "a character is not allowed";
    case SCAN_BLANK_INSIDE: return "a blank stands inside the number";
    case SCAN_SIGN_POSITION: return "the sign stands in the wrong place";
    case SCAN_SECOND_POINT: return "there is a second decimal point";
    case SCAN_DECIMALS: return "the value type has no decimals";
    case SCAN_BELOW_MODE:
    case SCAN_ABOVE_MODE: return "the number is out of the range of the value type";
    case SCAN_BELOW_MIN: return "the number is below FMIN";
    case SCAN_ABOVE_MAX: return "the number is above FMAX";
    case SCAN_BAD_DATE: return "it does not go with the format, or is no date or time";
    case SCAN_LEFT_OVER: return "something stands behind the date or time";
  }
  return "";
}

}  // namespace vorlix::tool
