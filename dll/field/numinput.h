// A number as it was typed, read from its last character to its first: only so can a "." be told from a separator of
// thousands where the locale writes both with the same character.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "dll/field/numfield.h"
#include "dll/field/scancode.h"

namespace vorlix {

class NumInput {
 public:
  /// Borrows `in`. With `prec` 0, a decimal point that is also the separator of thousands is a separator.
  NumInput(std::string_view in, int32_t prec, const NumSigns& signs) : in_(in), prec_(prec), signs_(signs) {}

  /// Finds sign and decimal point. Returns SCAN_OK, or what is wrong, with a line of trace; `badchar` becomes the
  /// character at fault for the codes that hand one on.
  ScanCode Read(char& badchar);

  /// The value, once Read has returned SCAN_OK: all digits taken as one decimal number and rounded to a double once.
  /// Infinite when it is beyond the doubles.
  double Value() const;

 private:
  enum class Points { Any, Same, None };  // which characters count as a decimal point

  ScanCode Take(size_t at, char& badchar);
  ScanCode TakeSign(size_t at);
  ScanCode TakePoint(size_t at);
  bool IsPoint(char c) const;
  bool IsSeparator(char c) const { return signs_.separator != '\0' && c == signs_.separator; }
  bool HasDecimals() const;

  std::string_view in_;
  int32_t prec_;
  NumSigns signs_;
  Points points_ = Points::Any;
  size_t point_ = std::string_view::npos;  // of the decimal point
  bool number_seen_ = false;               // a digit or a decimal point
  bool ended_ = false;                     // a blank left of the number
  bool negative_ = false;
};

}  // namespace vorlix
