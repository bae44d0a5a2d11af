// Numbers as fields show them and as users type them, and what the scanners of all field types share: the check against
// a set of allowed characters, and the way in which an outcome reaches the host.
//
// Separators, signs, the overflow character and the character classes are those of the locale in force at each call.
// Between text and number stands the "C" notation: "." as decimal point, no separators. Nothing here allocates memory,
// keeps state or goes by the process's numeric locale. Absent texts are passed as empty ones.
#pragma once

#include <cmath>
#include <cstdint>
#include <string_view>

#include "dll/field/fieldbuf.h"
#include "dll/field/fmtflags.h"
#include "dll/field/scancode.h"
#include "hostif/dllifutil.h"

namespace vorlix {

// ---- What all scanners share ----------------------------------------------------------------------------------------

enum ValidOutcome : int32_t { VALID_MALFORMED = -1, VALID_REFUSED = 0, VALID_ALLOWED = 1 };

/// Checks every character of `text`: it must be printable in the locale in force and allowed by `valid`. An empty
/// `valid` allows everything; one that begins with "[" is a single character class ("[0-9A-Z]*", "[^x]*", with A-Z and
/// a-z standing for the locale's upper-case and lower-case characters); any other lists the allowed characters.
/// `badchar` becomes the first character refused, 0 otherwise.
ValidOutcome FmtCheckValid(std::string_view text, std::string_view valid, char& badchar);

/// FmtCheckValid as a step of a scanner: SCAN_OK and `out` untouched, or SCAN_BAD_CHAR and the refused character as
/// `out`, which is empty when `valid` is malformed.
ScanCode CheckFieldChars(std::string_view text, std::string_view valid, FieldBuffer& out);

/// Ends a callable scan function: sets `rc` to what the host is told for `code`, and `out` to `text` where the host is
/// given one (SCAN_OK and SCAN_BAD_CHAR), else to nothing. Returns the function's result: RESULT_OK, RESULT_TOO_SHORT
/// when `text` does not fit `out`, or RESULT_REFUSED for SCAN_BAD_CALL.
int32_t SetScanResult(ScanCode code, std::string_view text, DllString& out, IntByReference rc);

// ---- Formatting -----------------------------------------------------------------------------------------------------

/// Formats `value` into a field of `len` characters with up to `prec` decimals; `flags` are FormatFlags. A value that
/// does not fit is tried again without separators, then without trailing zeros, then without the zero before the
/// decimal point. True with the text in `out`; false when nothing fits, with `out` filled with the overflow character.
/// With FMT_RSIGN the field is one position narrower and shows no sign.
bool FmtNum(FieldBuffer& out, double value, int32_t len, int32_t prec, uint32_t flags);

/// FmtNum with the flags of the letters R L B Z T P G S of `fmt`.
bool FldFmtNum(FieldBuffer& out, double value, int32_t len, int32_t prec, std::string_view fmt);

// ---- Scanning -------------------------------------------------------------------------------------------------------

enum ScanMode : int32_t { FMCHK_NONE = 0, FMCHK_INT = 1, FMCHK_LINT = 2, FMCHK_REAL = 3, FMCHK_LREAL = 4 };

/// What a value type allows.
struct NumRange {
  char value_type;  // 0 when there is none
  ScanMode mode;
  const char* name;  // of the mode, in the trace
  double bound;      // either side of zero, inclusive; infinite: nothing is checked
  bool whole;        // without decimals

  bool Holds(double value) const { return std::isinf(bound) || (value >= -bound && value <= bound); }
};

/// The range of a value type, in upper case, or of none ('\0'); null for a character that is no value type.
const NumRange* FindNumRange(char value_type);

/// Reads the number typed in `in` and rounds it to `prec` decimals. Unless both are 0, `min` and `max` bound it, each
/// inclusive; all bounds hold before the rounding. On SCAN_OK `result` is the value and `out` its normal form ("." as
/// decimal point, no trailing zeros, empty for zero); else they are 0 and empty, and `badchar` is the character at
/// fault or 0.
ScanCode ScanNum(double& result, FieldBuffer& out, std::string_view in, int32_t prec, double min, double max,
                 int32_t mode, char& badchar);

/// Scans a field of value type `fvt` ("I", "D", "S", "L" in either case; any other: FMCHK_NONE) after CheckFieldChars
/// against `valid`. As ScanNum, but when the code is not SCAN_OK `out` is the character at fault, or empty.
ScanCode FldScanNum(double& result, FieldBuffer& out, std::string_view in, std::string_view fvt, int32_t prec,
                    double min, double max, std::string_view valid);

}  // namespace vorlix
