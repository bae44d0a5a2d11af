// The characters that a field allows, as its description writes them, and the check of a text against them.
#pragma once

#include <bitset>
#include <cstdint>
#include <string_view>

namespace vorlix {

struct Locale;

class ValidSet {
 public:
  /// Reads a list of characters, or one character class when `valid` begins with "[". Letters and digits, upper and
  /// lower case are those of `locale`. False on a syntax error.
  bool Parse(std::string_view valid, const Locale& locale);

  bool Allows(unsigned char c) const { return allowed_[c]; }

 private:
  bool ParseClass(std::string_view members, const Locale& locale);
  bool AddRange(unsigned char first, unsigned char last, const Locale& locale);

  std::bitset<256> allowed_;
};

enum ValidOutcome : int32_t { VALID_MALFORMED = -1, VALID_REFUSED = 0, VALID_ALLOWED = 1 };

/// Checks every character of `text`: it must be printable in the locale in force and allowed by `valid`. An empty
/// `valid` allows everything; one that begins with "[" is a single character class ("[0-9A-Z]*", "[^x]*", with A-Z and
/// a-z standing for the locale's upper-case and lower-case characters); any other lists the allowed characters.
/// `badchar` becomes the first character refused, 0 otherwise.
ValidOutcome FmtCheckValid(std::string_view text, std::string_view valid, char& badchar);

}  // namespace vorlix
