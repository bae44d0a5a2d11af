// The digits are converted in one step, so that what was typed is the very double that the same text has in a program.
// Digits beyond those that can decide the rounding are only remembered as being there.
#include "dll/field/numinput.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

#include "dll/base/debug.h"
#include "dll/base/text.h"

namespace vorlix {
namespace {

// The decimal expansion of a double, or of the middle between two, has at most 768 significant digits.
constexpr size_t DECIDING_DIGITS = 768;

ScanCode Refuse(ScanCode code, size_t at, const char* reason) {
  DebugPrint(TRACE_FORMAT, 2, "  fld[%d]: %s", static_cast<int>(at), reason);
  return code;
}

ScanCode RefuseChar(ScanCode code, size_t at, char c, const char* where) {
  DebugPrint(TRACE_FORMAT, 2, "  fld[%d]: invalid character '%c'%s", static_cast<int>(at), c, where);
  return code;
}

// The significant digits, taken from left to right, and the power of ten of the first of them.
class DecimalDigits {
 public:
  void Add(char digit, bool decimal) {
    if (count_ == 0 && digit == '0') {
      if (decimal) --power_;
      return;
    }
    if (!decimal) ++power_;
    if (count_ < DECIDING_DIGITS) {
      text_[count_++] = digit;
    } else if (digit != '0') {
      more_ = true;
    }
  }

  double Value() {
    if (count_ == 0) return 0.0;
    if (more_) text_[count_++] = '1';
    char* end = text_ + count_;
    *end++ = 'e';
    end = std::to_chars(end, text_ + sizeof text_, power_ - static_cast<int64_t>(count_)).ptr;
    double value = 0.0;
    if (std::from_chars(text_, end, value).ec == std::errc::result_out_of_range)
      return power_ > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    return value;
  }

 private:
  char text_[DECIDING_DIGITS + 1 + 24];
  size_t count_ = 0;
  int64_t power_ = 0;  // the value is 0.d1d2d3... * 10^power_
  bool more_ = false;
};

}  // namespace

ScanCode NumInput::Read(char& badchar) {
  for (size_t at = in_.size(); at-- > 0;) {
    const ScanCode code = Take(at, badchar);
    if (code != SCAN_OK) return code;
  }
  if (prec_ == 0 && HasDecimals()) {
    DebugPrint(TRACE_FORMAT, 2, "  illegal post decimal digits");
    return SCAN_DECIMALS;
  }
  return SCAN_OK;
}

ScanCode NumInput::Take(size_t at, char& badchar) {
  const char c = in_[at];
  if (c == '+') return SCAN_OK;
  if (c == ' ') {
    ended_ = number_seen_;
    return SCAN_OK;
  }
  badchar = c;  // until it has proved to be in its place
  if (ended_) return RefuseChar(SCAN_BLANK_INSIDE, at, c, " following white space");
  if (negative_) return RefuseChar(SCAN_SIGN_POSITION, at, c, " following sign");
  badchar = '\0';
  if (IsDigit(c)) {
    number_seen_ = true;
    return SCAN_OK;
  }
  if (c == '-' || c == signs_.minus) return TakeSign(at);
  if (IsPoint(c)) return TakePoint(at);
  if (IsSeparator(c)) return SCAN_OK;
  badchar = c;
  return RefuseChar(SCAN_BAD_CHAR, at, c, "");
}

ScanCode NumInput::TakeSign(size_t at) {
  if (!number_seen_) return Refuse(SCAN_SIGN_POSITION, at, "invalid sign position");
  negative_ = true;
  return SCAN_OK;
}

// The first one met is the decimal point, unless a second one shows that both separate thousands.
ScanCode NumInput::TakePoint(size_t at) {
  const bool separator = IsSeparator(in_[at]);
  if (point_ == std::string_view::npos && !(separator && prec_ == 0)) {
    point_ = at;
    points_ = Points::Same;
    number_seen_ = true;
    return SCAN_OK;
  }
  if (!separator) return Refuse(SCAN_SECOND_POINT, at, "invalid decimal point position");
  point_ = std::string_view::npos;
  points_ = Points::None;
  return SCAN_OK;
}

bool NumInput::IsPoint(char c) const {
  if (points_ == Points::Any) return c == '.' || c == signs_.point;
  return points_ == Points::Same && c == in_[point_];
}

bool NumInput::HasDecimals() const {
  return point_ != std::string_view::npos && std::any_of(in_.begin() + static_cast<std::ptrdiff_t>(point_), in_.end(),
                                                         [](char c) { return c >= '1' && c <= '9'; });
}

double NumInput::Value() const {
  DecimalDigits digits;
  for (size_t at = 0; at < in_.size(); ++at)
    if (IsDigit(in_[at])) digits.Add(in_[at], at > point_);
  const double magnitude = digits.Value();
  return negative_ ? -magnitude : magnitude;
}

}  // namespace vorlix
