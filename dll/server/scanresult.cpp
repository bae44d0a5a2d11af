#include "dll/server/scanresult.h"

#include "dll/base/debug.h"

namespace vorlix {
namespace {

// What the host is told of a scan.
struct HostAnswer {
  int32_t rc;
  bool gives_text = false;
  ResultCode result = RESULT_OK;
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

ResultCode SetScanResult(ScanCode code, std::string_view text, DllString& out, IntByReference rc) {
  DebugEntry(TRACE_FORMAT);
  const HostAnswer answer = AnswerTo(code);
  rc.Set(answer.rc);
  out.len = 0;
  return answer.gives_text ? DllStrFromC(text, out) : answer.result;
}

}  // namespace vorlix
