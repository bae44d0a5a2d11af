// The "%" directives of date formats, which formatter and scanner read alike:
//
//   % [-] [0 or blank] [width] [.precision] letter
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "dll/base/text.h"

namespace vorlix {

/// The letters that stand for something.
inline constexpr std::string_view DATE_LETTERS = "aAbBcdHIjmMpSwWxXyY";
/// Those that stand for a format of the locale.
inline constexpr std::string_view DATE_FORMAT_LETTERS = "cxX";

struct DateDirective {
  std::string_view text;  // as written, from "%" to the letter
  char letter = '\0';     // '\0' when the format ends before it
  bool left = false;
  char fill = '0';     // what leading blanks become
  uint16_t width = 0;  // cut at DIRECTIVE_NUMBER_MAX, like the precision
  uint16_t precision = NO_PRECISION;

  static constexpr uint16_t NO_PRECISION = UINT16_MAX;

  bool IsKnown() const { return DATE_LETTERS.find(letter) != std::string_view::npos; }
  bool IsFormat() const { return DATE_FORMAT_LETTERS.find(letter) != std::string_view::npos; }
};

/// More than any field can hold.
inline constexpr uint16_t DIRECTIVE_NUMBER_MAX = 9999;

/// Takes the pieces of a date format off its front.
class DateFormatReader {
 public:
  explicit DateFormatReader(std::string_view format) : at_(format.data()), end_(at_ + format.size()) {}

  bool AtEnd() const { return at_ == end_; }
  bool AtDirective() const { return *at_ == '%'; }
  /// At a directive of two characters, such as %d, or at "%%". These are the most, and quick to take.
  bool AtBareDirective() const { return end_ - at_ >= 2 && (at_[1] >= 'A' || at_[1] == '%'); }
  char TakeChar() { return *at_++; }

  DateDirective TakeDirective() {
    DateDirective directive;
    const char* const start = at_++;
    if (!AtLetter()) TakeDetails(directive);
    if (!AtEnd()) directive.letter = TakeChar();
    directive.text = {start, static_cast<size_t>(at_ - start)};
    return directive;
  }

  char TakeBareDirective() {
    at_ += 2;
    return at_[-1];
  }

  /// Skips to the next directive, takes it and gives its letter. False when there is none; "%%" is a character.
  bool NextLetter(char& letter) {
    while (at_ != end_) {
      if (!AtDirective()) {
        ++at_;
        continue;
      }
      if (!AtBareDirective()) {
        letter = TakeDirective().letter;
        return true;
      }
      letter = TakeBareDirective();
      if (letter != '%') return true;
    }
    return false;
  }

 private:
  // Letters of either case, and a few characters between and behind them.
  bool AtLetter() const { return !AtEnd() && *at_ >= 'A'; }

  void TakeDetails(DateDirective& directive) {
    const char* const start = at_;
    directive.left = TakeIf('-');
    const bool zeros = TakeIf('0');
    if (!zeros) TakeIf(' ');
    directive.width = TakeNumber();
    if (TakeIf('.')) directive.precision = TakeNumber();
    if (!zeros && at_ != start) directive.fill = ' ';
  }

  bool TakeIf(char c) {
    const bool there = !AtEnd() && *at_ == c;
    if (there) ++at_;
    return there;
  }

  uint16_t TakeNumber() {
    unsigned number = 0;
    while (!AtEnd() && IsDigit(*at_))
      number = std::min<unsigned>(number * 10 + static_cast<unsigned>(TakeChar() - '0'), DIRECTIVE_NUMBER_MAX);
    return static_cast<uint16_t>(number);
  }

  const char* at_;
  const char* const end_;
};

}  // namespace vorlix
