#include "dll/shared/scancode.h"

#include <algorithm>
#include <iterator>

#include "dll/shared/debug.h"
#include "dll/shared/validset.h"

namespace vorlix {
namespace {

// What the host is told of a scan.
struct HostAnswer {
  ScanCode code;
  int32_t rc;
  bool gives_text;
  int32_t result;
};

constexpr HostAnswer ANSWERS[] = {
    {SCAN_OK, 0, true, RESULT_OK},
    {SCAN_EMPTY, -1, false, RESULT_OK},
    {SCAN_BAD_CALL, 0, false, RESULT_REFUSED},
    {SCAN_BAD_CHAR, 3, true, RESULT_OK},
    {SCAN_BLANK_INSIDE, 1, false, RESULT_OK},
    {SCAN_SIGN_POSITION, 1, false, RESULT_OK},
    {SCAN_SECOND_POINT, 1, false, RESULT_OK},
    {SCAN_DECIMALS, 1, false, RESULT_OK},
    {SCAN_BELOW_MODE, 1, false, RESULT_OK},
    {SCAN_ABOVE_MODE, 1, false, RESULT_OK},
    {SCAN_BELOW_MIN, 2, false, RESULT_OK},
    {SCAN_ABOVE_MAX, 2, false, RESULT_OK},
    {SCAN_BAD_DATE, 1, false, RESULT_OK},
    {SCAN_LEFT_OVER, 1, false, RESULT_OK},
};
static_assert(std::size(ANSWERS) == SCAN_LEFT_OVER + 1 &&
              std::ranges::all_of(ANSWERS, [](const HostAnswer& row) { return row.code == &row - ANSWERS; }));

}  // namespace

ScanCode CheckFieldChars(std::string_view text, std::string_view valid, FieldBuffer& out) {
  char badchar = '\0';
  const ValidOutcome outcome = FmtCheckValid(text, valid, badchar);
  if (outcome == VALID_ALLOWED) return SCAN_OK;
  out.Fill(badchar, outcome == VALID_REFUSED ? 1 : 0);
  return SCAN_BAD_CHAR;
}

int32_t SetScanResult(ScanCode code, std::string_view text, DllString& out, const IntByReference& rc) {
  DebugEntry(TRACE_FORMAT);
  const HostAnswer& answer = ANSWERS[code];
  rc = answer.rc;
  out.len = 0;
  return answer.gives_text ? DllStrFromC(text, out) : answer.result;
}

}  // namespace vorlix
