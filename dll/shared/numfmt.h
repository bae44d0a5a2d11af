// Numbers as fields show them and as users type them.
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

namespace vorlix {

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
