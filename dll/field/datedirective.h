// The "%" directives of date formats, which formatter and scanner read alike:
//
//   % [-] [0 or blank] [width] [.precision] letter
//
// What stands between directives is plain text, and so is "%%".
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "dll/base/text.h"

namespace vorlix {

struct DateDirective {
  std::string_view text;  // as written, from "%" to the letter
  char letter = '\0';     // '\0' when the format ends before it
  bool left = false;
  char fill = '0';  // what leading blanks become
  int width = 0;    // cut at DIRECTIVE_NUMBER_MAX, like the precision
  int precision = NO_PRECISION;

  static constexpr int NO_PRECISION = -1;
};

/// More than any field can hold.
inline constexpr int DIRECTIVE_NUMBER_MAX = 9999;

/// Takes the pieces of a date format off its front.
class DateFormatReader {
 public:
  explicit DateFormatReader(std::string_view format) : rest_(format) {}

  bool AtEnd() const { return rest_.empty(); }
  bool AtDirective() const { return rest_.front() == '%'; }

  char TakeChar() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  /// At a directive without details, such as %d, or at "%%". These are the most, and quick to take.
  bool AtBareDirective() const { return rest_.size() >= 2 && (rest_[1] >= 'A' || rest_[1] == '%'); }
  /// Its letter, or '%'.
  char TakeBareDirective() {
    const char letter = rest_[1];
    rest_.remove_prefix(2);
    return letter;
  }

  DateDirective TakeDirective() {
    DateDirective directive;
    const std::string_view start = rest_;
    TakeChar();
    TakeDetails(directive);
    if (!AtEnd()) directive.letter = TakeChar();
    directive.text = start.substr(0, start.size() - rest_.size());
    return directive;
  }

  /// Skips to the next directive and gives its letter. False when there is none.
  bool NextLetter(char& letter) {
    while (!AtEnd()) {
      if (!AtDirective()) {
        TakeChar();
        continue;
      }
      const bool is_bare = AtBareDirective();
      letter = is_bare ? TakeBareDirective() : TakeDirective().letter;
      if (!is_bare || letter != '%') return true;
    }
    return false;
  }

 private:
  void TakeDetails(DateDirective& directive) {
    const size_t before = rest_.size();
    directive.left = TakeIf('-');
    const bool zeros = TakeIf('0');
    if (!zeros) TakeIf(' ');
    directive.width = TakeNumber();
    if (TakeIf('.')) directive.precision = TakeNumber();
    if (!zeros && rest_.size() != before) directive.fill = ' ';
  }

  bool TakeIf(char c) {
    const bool there = rest_.starts_with(c);
    if (there) rest_.remove_prefix(1);
    return there;
  }

  int TakeNumber() {
    int number = 0;
    while (!AtEnd() && IsDigit(rest_.front()))
      number = std::min(number * 10 + (TakeChar() - '0'), DIRECTIVE_NUMBER_MAX);
    return number;
  }

  std::string_view rest_;
};

}  // namespace vorlix
