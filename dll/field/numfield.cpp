// Printing is exact: ties are decided by the binary value. A print longer than FIELD_MAX counts as one that does not
// fit, even when the decimals that make it so long would be trimmed.
#include "dll/field/numfield.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "dll/field/fmtflags.h"
#include "dll/field/numprint.h"

namespace vorlix {

bool NumField::Layout(double value, int32_t width, int32_t prec, uint32_t flags, const NumSigns& signs) {
  flags_ = flags;
  if (Has(FMT_RSIGN)) {
    if (width < 2) return false;
    --width;
    value = std::abs(value);
  }
  if (width < 1 || width > FIELD_MAX || prec < 0 || !std::isfinite(value)) return false;
  width_ = width;
  if (!Print(value, prec)) return false;
  if (!Has(FMT_TZERO)) TrimDecimals();
  if (!Place()) return false;
  if (!zero_) {
    if (Has(FMT_GROUP) && signs.HasGroups() && !Group(signs)) return false;
    if (negative_ && !PutSign(signs.minus)) return false;
  } else if (Has(FMT_BZERO)) {
    shown_ = width_;
    return true;
  }
  if (point_ < width_) text_[point_] = signs.point;
  shown_ = Has(FMT_RIGHT) ? 0 : Blanks();
  return true;
}

bool NumField::Print(double value, int32_t prec) {
  negative_ = std::signbit(value);
  const int sign_length = negative_ ? 1 : 0;
  const char* const end = PrintFixed(digits_, digits_ + FIELD_MAX - sign_length, std::abs(value), prec);
  if (end == nullptr) return false;
  digit_count_ = static_cast<int>(end - digits_);
  has_decimals_ = prec > 0;
  digit_point_ = has_decimals_ ? digit_count_ - prec - 1 : digit_count_;
  printed_ = digit_count_ + sign_length;
  zero_ = std::all_of(digits_, digits_ + digit_count_, [](char c) { return c == '0' || c == '.'; });
  return true;
}

void NumField::TrimDecimals() {
  if (!has_decimals_) return;
  while (digits_[digit_count_ - 1] == '0') --digit_count_;
  if (digit_count_ - 1 == digit_point_) digit_count_ = digit_point_;
}

// Puts the digits at the right end of the field and fills what is left of them. A zero before the decimals is not
// shown, but a sign keeps its distance as if it were. A field that is filled with zeros keeps one to spare for sign or
// separator when the print was longer than the field.
bool NumField::Place() {
  const bool leading_zero = digits_[0] == '0';
  const int hidden = leading_zero && has_decimals_ && !Has(FMT_LZERO | FMT_PZERO) ? 1 : 0;
  const int count = digit_count_ - hidden;
  int needed = negative_ ? digit_count_ + 1 : count;
  if (Has(FMT_LZERO)) needed = printed_ > width_ ? digit_count_ + (leading_zero ? 0 : 1) : count;
  if (needed > width_) return false;

  const int filling = width_ - count;
  std::memset(text_, Has(FMT_LZERO) ? '0' : ' ', static_cast<size_t>(filling));
  std::memcpy(text_ + filling, digits_ + hidden, static_cast<size_t>(count));
  first_ = Has(FMT_LZERO) ? 0 : filling;
  point_ = width_ - (digit_count_ - digit_point_);
  left_separator_ = 0;
  return true;
}

// Makes room for each separator by moving what stands left of it one place to the left. In a field that is full, a
// leading zero is given up for it.
bool NumField::Group(const NumSigns& signs) {
  GroupSizes sizes(signs.grouping);
  int at = point_ - sizes.Next();
  while (at > first_) {
    if (first_ == 0) {
      if (text_[0] != '0') return false;
      first_ = 1;
      continue;
    }
    std::memmove(text_ + first_ - 1, text_ + first_, static_cast<size_t>(at - first_));
    --first_;
    left_separator_ = at - 1;
    text_[left_separator_] = signs.separator;
    at = left_separator_ - sizes.Next();
  }
  return true;
}

// In a full field the sign takes the place of the leading zero, and that of a separator which would then come first.
bool NumField::PutSign(char minus) {
  if (first_ > 0) {
    text_[first_ - 1] = minus;
    return true;
  }
  if (text_[0] != '0') return false;
  const bool gives_way = left_separator_ == 1;
  if (gives_way) text_[0] = ' ';
  text_[gives_way ? 1 : 0] = minus;
  return true;
}

int NumField::Blanks() const {
  return static_cast<int>(std::find_if(text_, text_ + width_, [](char c) { return c != ' '; }) - text_);
}

}  // namespace vorlix
