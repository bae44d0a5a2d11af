// The set of characters that a field allows, as its description writes it.
#pragma once

#include <bitset>
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

}  // namespace vorlix
