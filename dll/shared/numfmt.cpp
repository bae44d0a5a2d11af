// The operations on numbers of fields, with their trace. How a number is laid out is in numfield, how a typed one is
// read in numinput.
#include "dll/shared/numfmt.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include "dll/base/debug.h"
#include "dll/field/numfield.h"
#include "dll/field/numinput.h"
#include "dll/shared/fieldscan.h"

namespace vorlix {
namespace {

constexpr FormatLetter LETTERS[] = {
    {'R', FMT_RIGHT, 0, "FMT_RIGHT"}, {'L', 0, FMT_RIGHT, "FMT_LEFT"},  {'B', FMT_BZERO, 0, "FMT_BZERO"},
    {'Z', FMT_LZERO, 0, "FMT_LZERO"}, {'T', FMT_TZERO, 0, "FMT_TZERO"}, {'P', FMT_PZERO, 0, "FMT_PZERO"},
    {'G', FMT_GROUP, 0, "FMT_GROUP"}, {'S', FMT_RSIGN, 0, "FMT_RSIGN"},
};

constexpr double UNBOUNDED = std::numeric_limits<double>::infinity();
constexpr int32_t MAX_DECIMALS = FIELD_MAX - 2;  // behind "0."

constexpr NumRange RANGES[] = {
    {'\0', FMCHK_NONE, "FMCHK_NONE", UNBOUNDED, false},  {'I', FMCHK_INT, "FMCHK_INT", 32767, true},
    {'D', FMCHK_LINT, "FMCHK_LINT", 2147483647, true},   {'S', FMCHK_REAL, "FMCHK_REAL", 999999, false},
    {'L', FMCHK_LREAL, "FMCHK_LREAL", UNBOUNDED, false},
};
static_assert(std::size(RANGES) == FMCHK_LREAL + 1 && [] {
  for (const NumRange& range : RANGES)
    if (&range != &RANGES[range.mode]) return false;
  return true;
}());

ScanMode ModeOf(std::string_view value_type) {
  if (value_type.size() != 1) return FMCHK_NONE;
  const char c = value_type.front();
  const NumRange* range = FindNumRange(c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c);
  return range != nullptr ? range->mode : FMCHK_NONE;
}

void TraceNum(double value, int32_t len, int32_t prec, uint32_t flags) {
  DebugPrint(TRACE_FORMAT, 2, "FmtNum(val=%.12f, len=%d, prec=%d)", value, len, prec);
  TraceFormat(LETTERS, flags);
}

void TraceOutput(const FieldBuffer& out) { DebugPrint(TRACE_FORMAT, 2, "  output=[%s]", out.CStr()); }

// The flag to give up after an overflow, 0 when there is none left.
uint32_t FlagToDrop(uint32_t flags, double value) {
  if (flags & FMT_GROUP) return FMT_GROUP;
  if (flags & FMT_TZERO) return FMT_TZERO;
  return value < 1 ? flags & FMT_PZERO : 0;
}

ScanCode CheckScanCall(int32_t prec, int32_t mode) {
  if (mode < FMCHK_NONE || mode > FMCHK_LREAL) {
    DebugPrint(TRACE_FORMAT, 1, "ScanNum() failed: invalid mode [%d]", mode);
    return SCAN_BAD_CALL;
  }
  DebugPrint(TRACE_FORMAT, 2, "  mode = %s", RANGES[mode].name);
  if (prec < 0 || (prec > MAX_DECIMALS && !RANGES[mode].whole)) {
    DebugPrint(TRACE_FORMAT, 1, "ScanNum() failed: prec=%d (%s)", prec, prec < 0 ? "negative" : "too large");
    return SCAN_BAD_CALL;
  }
  return SCAN_OK;
}

ScanCode OutOfMode(double value) {
  DebugPrint(TRACE_FORMAT, 2, "  value out of range (too %s)", value < 0 ? "low" : "high");
  return value < 0 ? SCAN_BELOW_MODE : SCAN_ABOVE_MODE;
}

ScanCode CheckBounds(double value, const NumRange& range, double min, double max) {
  if (!range.Holds(value)) return OutOfMode(value);
  if (min == 0 && max == 0) return SCAN_OK;
  if (value < min) {
    DebugPrint(TRACE_FORMAT, 2, "  value lower than minimum");
    return SCAN_BELOW_MIN;
  }
  if (value > max) {
    DebugPrint(TRACE_FORMAT, 2, "  value higher than maximum");
    return SCAN_ABOVE_MAX;
  }
  return SCAN_OK;
}

// Writes the value in its normal form and reads that back, so that both say the same. False when it is too long, as
// what is beyond the doubles always is.
bool Normalise(double& value, int32_t prec, FieldBuffer& out) {
  if (std::isinf(value)) return false;
  char text[FIELD_MAX + 1];
  text[0] = '-';
  char* end = PrintFixed(text + 1, std::end(text), std::abs(value), prec);
  if (end == nullptr) return false;
  if (prec > 0) {
    while (end[-1] == '0') --end;
    if (end[-1] == '.') --end;
  }
  const char* const begin = value < 0 ? text : text + 1;
  std::from_chars(begin, end, value);
  if (value != 0) return out.Assign({begin, end});
  value = 0;  // without a sign
  out.Clear();
  return true;
}

}  // namespace

// ---- Formatting -----------------------------------------------------------------------------------------------------

bool FmtNum(FieldBuffer& out, double value, int32_t len, int32_t prec, uint32_t flags) {
  DebugEntry(TRACE_FORMAT);
  const NumSigns signs = NumSigns::InForce();
  NumField field;
  TraceNum(value, len, prec, flags);
  while (!field.Layout(value, len, prec, flags, signs)) {
    const uint32_t dropped = FlagToDrop(flags, value);
    if (dropped == 0) {
      ShowOverflow(out, len);
      return false;
    }
    flags &= ~dropped;
    TraceNum(value, len, prec, flags);
  }
  out.Assign(field.View());
  TraceOutput(out);
  return true;
}

bool FldFmtNum(FieldBuffer& out, double value, int32_t len, int32_t prec, std::string_view fmt) {
  DebugEntry(TRACE_FORMAT);
  return FmtNum(out, value, len, prec, ReadFormat(LETTERS, fmt));
}

// ---- Scanning -------------------------------------------------------------------------------------------------------

const NumRange* FindNumRange(char value_type) {
  const auto row = std::find_if(std::begin(RANGES), std::end(RANGES),
                                [&](const NumRange& range) { return range.value_type == value_type; });
  return row == std::end(RANGES) ? nullptr : row;
}

ScanCode ScanNum(double& result, FieldBuffer& out, std::string_view in, int32_t prec, double min, double max,
                 int32_t mode, char& badchar) {
  DebugEntry(TRACE_FORMAT);
  DebugPrint(TRACE_FORMAT, 2, "ScanNum(%.*s)", static_cast<int>(in.size()), in.data());
  result = 0;
  out.Clear();
  badchar = '\0';
  ScanCode code = CheckScanCall(prec, mode);
  if (code != SCAN_OK) return code;
  if (in.empty()) {
    DebugPrint(TRACE_FORMAT, 2, "  fld is empty");
    return SCAN_EMPTY;
  }
  if (RANGES[mode].whole) prec = 0;
  NumInput input(in, prec, NumSigns::InForce());
  code = input.Read(badchar);
  if (code != SCAN_OK) return code;
  double value = input.Value();
  code = CheckBounds(value, RANGES[mode], min, max);
  if (code != SCAN_OK) return code;
  if (!Normalise(value, prec, out)) return OutOfMode(value);
  result = value;
  TraceOutput(out);
  return SCAN_OK;
}

ScanCode FldScanNum(double& result, FieldBuffer& out, std::string_view in, std::string_view fvt, int32_t prec,
                    double min, double max, std::string_view valid) {
  DebugEntry(TRACE_FORMAT);
  result = 0;
  out.Clear();
  ScanCode code = CheckFieldChars(in, valid, out);
  if (code != SCAN_OK) return code;
  char badchar = '\0';
  code = ScanNum(result, out, in, prec, min, max, ModeOf(fvt), badchar);
  if (code != SCAN_OK) out.Fill(badchar, badchar != '\0' ? 1 : 0);
  return code;
}

}  // namespace vorlix
