// How what came of a scanner reaches the host.
#pragma once

#include <string_view>

#include "dll/field/scancode.h"
#include "hostif/dllifutil.h"

namespace vorlix {

/// Ends a callable scan function: sets `rc` to what the host is told for `code`, and `out` to `text` where the host is
/// given one (SCAN_OK and SCAN_BAD_CHAR), else to nothing. Returns the function's result: RESULT_OK, RESULT_TOO_SHORT
/// when `text` does not fit `out`, or RESULT_REFUSED for SCAN_BAD_CALL.
ResultCode SetScanResult(ScanCode code, std::string_view text, DllString& out, IntByReference rc);

}  // namespace vorlix
