// The locale in force: the language conventions that formatting and scanning go by.
//
// Until the first one has been put in force, and after a description that could not be read, all strings are empty and
// every caller falls back as it documents.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace vorlix {

/// Bits of a character's class.
enum CharClass : uint16_t {
  CLASS_ALNUM = 0x1,
  CLASS_ALPHA = 0x2,
  CLASS_CNTRL = 0x4,
  CLASS_DIGIT = 0x8,
  CLASS_GRAPH = 0x10,
  CLASS_LOWER = 0x20,
  CLASS_PRINT = 0x40,
  CLASS_PUNCT = 0x80,
  CLASS_SPACE = 0x100,
  CLASS_UPPER = 0x200,
  CLASS_XDIGIT = 0x400,
  CLASS_ASCII = 0x800,
};

/// A default display format of a field type and the field length that goes with it.
struct FieldFormat {
  std::string_view format;
  int32_t length = 0;
};

/// The formats of a language that brings none of its own, which is all of them so far.
inline constexpr FieldFormat SHORT_DATE_FORMAT = {"%d.%m.%y", 8};
inline constexpr FieldFormat LONG_DATE_FORMAT = {"%d.%m.%y", 10};
inline constexpr FieldFormat TIME_FORMAT = {"%H:%M", 5};
inline constexpr FieldFormat MONTH_FORMAT = {"%m/%y", 5};
inline constexpr FieldFormat WEEK_FORMAT = {"%W/%y", 5};

/// The strings borrow from `storage`, where each ends in NUL.
struct LocaleStrings {
  std::array<std::string_view, 7> short_weekdays;  // Sunday first
  std::array<std::string_view, 7> weekdays;
  std::array<std::string_view, 12> short_months;
  std::array<std::string_view, 12> months;
  std::string_view date_time_format;  // of "%c"
  std::string_view date_format;       // of "%x"
  std::string_view time_format;       // of "%X"
  std::string_view am;
  std::string_view pm;
  std::string_view time_format_ampm;
  std::string_view decimal_point;
  std::string_view thousands_separator;
  std::string_view grouping;  // group sizes, one a byte
  std::string_view overflow;
  std::string_view negative_sign;
  FieldFormat short_date;
  FieldFormat long_date;
  FieldFormat time;
  int32_t time_precision = 0;
  FieldFormat month;
  FieldFormat week;

  std::unique_ptr<char[]> storage;
};

struct Locale {
  std::array<uint16_t, 256> classes{};
  std::array<uint8_t, 256> upper{};
  std::array<uint8_t, 256> lower{};
  LocaleStrings strings;

  bool Is(unsigned char c, CharClass bits) const { return (classes[c] & bits) != 0; }
};

/// The locale in force. Its strings change with the next PutLocaleInForce: read it anew at each call.
const Locale& LocaleInForce();

void PutLocaleInForce(Locale locale);

/// Empties the strings of the locale in force and leaves its tables as they are.
void ForgetLocaleStrings();

/// The one character that a string of the locale stands for; `fallback` when the string is empty, begins with byte 0 or
/// 127, or is longer than one byte (as the separators of UTF-8 locales can be).
inline char LocaleChar(std::string_view text, char fallback) {
  constexpr char ABSENT_MARK = 127;  // a locale's way to say that a character is not defined
  return text.size() == 1 && text.front() != '\0' && text.front() != ABSENT_MARK ? text.front() : fallback;
}

}  // namespace vorlix
