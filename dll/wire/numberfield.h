// A number as XBUFs and CSDX buffers have it.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace vorlix {

/// Stands behind every number, length and name.
inline constexpr char FIELD_SEPARATOR = '~';

/// A number in decimal and the separator behind it.
class NumberField {
 public:
  explicit NumberField(int64_t number) {
    char* const end = std::to_chars(text_.data(), text_.data() + text_.size() - 1, number).ptr;
    *end = FIELD_SEPARATOR;
    digits_ = static_cast<size_t>(end - text_.data());
  }

  std::string_view View() const { return {text_.data(), digits_ + 1}; }
  std::string_view Digits() const { return {text_.data(), digits_}; }

 private:
  std::array<char, std::numeric_limits<int64_t>::digits10 + 3> text_;  // a sign, a digit more, the separator
  size_t digits_;
};

}  // namespace vorlix
