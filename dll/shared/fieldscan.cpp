#include "dll/shared/fieldscan.h"

#include "dll/base/debug.h"
#include "dll/base/locale.h"
#include "dll/field/validset.h"

namespace vorlix {
namespace {

// What the host is told of a scan.
struct HostAnswer {
  int32_t rc;
  bool gives_text = false;
  int32_t result = RESULT_OK;
};

HostAnswer AnswerTo(ScanCode code) {
  switch (code) {
    case SCAN_OK: return {0, true};
    case SCAN_EMPTY: return {-1};
    case SCAN_BAD_CALL: return {0, false, RESULT_REFUSED};
    case SCAN_BAD_CHAR: return {3, true};
    case SCAN_BLANK_INSIDE:
    case SCAN_SIGN_POSITION:
    case SCAN_SECOND_POINT:
    case SCAN_DECIMALS:
    case SCAN_BELOW_MODE:
    case SCAN_ABOVE_MODE:
    case SCAN_BAD_DATE:
    case SCAN_LEFT_OVER: return {1};
    case SCAN_BELOW_MIN:
    case SCAN_ABOVE_MAX: return {2};
  }
  return {1};
}

}  // namespace

ValidOutcome FmtCheckValid(std::string_view text, std::string_view valid, char& badchar) {
  DebugEntry(TRACE_FORMAT);
  badchar = '\0';
  const Locale& locale = LocaleInForce();
  ValidSet set;
  if (!set.Parse(valid, locale)) {
    DebugPrint(TRACE_FORMAT, 1, "FmtCheckValid() failed: syntax error in character class '%.*s'",
               static_cast<int>(valid.size()), valid.data());
    return VALID_MALFORMED;
  }
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool printable = locale.Is(byte, CLASS_PRINT);
    if (printable && set.Allows(byte)) continue;
    if (printable)
      DebugPrint(TRACE_FORMAT, 3, "FmtCheckValid(): invalid character %c", c);
    else
      DebugPrint(TRACE_FORMAT, 3, "FmtCheckValid(): non-printable character %02x", byte);
    badchar = c;
    return VALID_REFUSED;
  }
  return VALID_ALLOWED;
}

ScanCode CheckFieldChars(std::string_view text, std::string_view valid, FieldBuffer& out) {
  char badchar = '\0';
  const ValidOutcome outcome = FmtCheckValid(text, valid, badchar);
  if (outcome == VALID_ALLOWED) return SCAN_OK;
  out.Fill(badchar, outcome == VALID_REFUSED ? 1 : 0);
  return SCAN_BAD_CHAR;
}

int32_t SetScanResult(ScanCode code, std::string_view text, DllString& out, IntByReference rc) {
  DebugEntry(TRACE_FORMAT);
  const HostAnswer answer = AnswerTo(code);
  rc.Set(answer.rc);
  out.len = 0;
  return answer.gives_text ? DllStrFromC(text, out) : answer.result;
}

}  // namespace vorlix
