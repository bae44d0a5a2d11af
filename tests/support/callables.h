// What tests of callable functions and of the operations behind them need: String arguments with guards, a locale of
// the test's own, and the lines that were traced.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostif/dllifutil.h"

namespace vorlix::test {

/// A String argument with room for `max` characters between guard bytes.
class TestString {
 public:
  explicit TestString(int32_t max, std::string_view text = "");

  operator DllString&() { return string_; }
  operator const DllString&() const { return string_; }
  std::string_view View() const { return string_.View(); }
  /// Whether no byte outside the room was written.
  bool GuardsIntact() const;

 private:
  std::vector<char> memory_;
  DllString string_;
};

/// What differs from the "C" locale.
struct TestLocale {
  std::string decimal_point = ".";
  std::string thousands_separator{};
  std::string grouping{};
  std::string overflow = "?";
  std::string negative_sign = "-";
  std::string date_time_format = "%a %b %e %H:%M:%S %Y";
  std::string date_format = "%m/%d/%y";
  std::string time_format = "%H:%M:%S";
};

/// Puts a locale in force until the end of the scope, then the "C" locale again.
class UseLocale {
 public:
  explicit UseLocale(const TestLocale& locale);
  ~UseLocale();
  UseLocale(const UseLocale&) = delete;
  UseLocale& operator=(const UseLocale&) = delete;
};

/// Sets category levels by a flag text and collects the traced lines in a file of its own until the end of the scope.
class TraceCapture {
 public:
  explicit TraceCapture(const char* flags);
  ~TraceCapture();
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  /// The lines so far, without the file's header.
  std::vector<std::string> Lines() const;

 private:
  std::string path_;
};

}  // namespace vorlix::test
