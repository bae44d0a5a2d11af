// One number laid out in one field: printed, freed of the zeros that are not shown, filled, grouped and signed, with
// the characters of the locale in force.
//
// A layout either fits the width or fails; what to give up then is FmtNum's business.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "dll/field/fieldbuf.h"

namespace vorlix {

/// The characters that numbers are written with.
struct NumSigns {
  char minus;
  char point;
  char separator;             // of thousands; 0 when there is none
  std::string_view grouping;  // digits a group, one size a byte, from the decimal point to the left

  /// Those in force now; `grouping` borrows from the locale.
  static NumSigns InForce();

  bool HasGroups() const { return separator != '\0' && !grouping.empty() && grouping.front() != '\0'; }
};

/// Walks the sizes of the groups: the last one repeats, and a size of 127 or more takes all digits that are left.
class GroupSizes {
 public:
  explicit GroupSizes(std::string_view grouping) : grouping_(grouping) {}
  int Next();

 private:
  std::string_view grouping_;
  int size_ = 0;
};

/// Prints `magnitude`, which is finite and not negative, with `prec` decimals, and without a "." when there are none.
/// The digits are those of printf's "%.*f": exact, ties of the binary value to the even digit. Returns the end of the
/// text, which has no NUL; null when there is no room for it before `limit`.
char* PrintFixed(char* text, char* limit, double magnitude, int32_t prec);

class NumField {
 public:
  /// Lays `value` out in `width` characters with up to `prec` decimals, by the letters of numbers among the
  /// FormatFlags. False when it does not fit or is not finite.
  bool Layout(double value, int32_t width, int32_t prec, uint32_t flags, const NumSigns& signs);

  /// The text of the last layout that succeeded, borrowed from this object.
  std::string_view View() const { return {text_ + shown_, static_cast<size_t>(width_ - shown_)}; }

 private:
  bool Has(uint32_t flags) const { return (flags_ & flags) != 0; }
  bool Print(double value, int32_t prec);
  void TrimDecimals();
  bool Place();
  bool Group(const NumSigns& signs);
  bool PutSign(char minus);
  int Blanks() const;

  uint32_t flags_ = 0;
  int width_ = 0;

  // The digits, with a "." among them while there are decimals, and what is known of the whole print.
  char digits_[FIELD_MAX];
  int digit_count_ = 0;
  int digit_point_ = 0;  // index of the "."; digit_count_ when there is none
  bool has_decimals_ = false;
  bool negative_ = false;
  bool zero_ = false;  // every digit is zero
  int printed_ = 0;    // length, sign and all decimals included

  // The field: filling, sign, digits and separators.
  char text_[FIELD_MAX];
  int shown_ = 0;           // where the text to show begins
  int first_ = 0;           // where the digits begin; the filling zeros, when there are such
  int point_ = 0;           // position of the "."; width_ when there is none
  int left_separator_ = 0;  // position of the leftmost separator; 0 when there is none
};

}  // namespace vorlix
