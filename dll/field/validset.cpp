// A character class is "[" members "]*": "^" in front of the members inverts it, and "]" is a member where it comes
// first. A range needs a letter or digit at both ends, so that "-" can stand for itself anywhere else.
#include "dll/field/validset.h"

#include "dll/base/locale.h"

namespace vorlix {
namespace {

unsigned char Byte(char c) { return static_cast<unsigned char>(c); }

bool BeginsWithRange(std::string_view members, const Locale& locale) {
  return members.size() > 2 && members[1] == '-' && locale.Is(Byte(members[0]), CLASS_ALNUM) &&
         locale.Is(Byte(members[2]), CLASS_ALNUM);
}

}  // namespace

bool ValidSet::Parse(std::string_view valid, const Locale& locale) {
  allowed_.reset();
  if (valid.starts_with('[')) {
    const bool inverted = valid.starts_with("[^");
    if (!ParseClass(valid.substr(inverted ? 2 : 1), locale)) return false;
    if (inverted) allowed_.flip();
    return true;
  }
  for (const char c : valid) allowed_.set(Byte(c));
  if (valid.empty()) allowed_.set();
  return true;
}

bool ValidSet::ParseClass(std::string_view members, const Locale& locale) {
  for (bool first = true; first || !members.starts_with(']'); first = false) {
    if (members.empty()) return false;
    if (BeginsWithRange(members, locale)) {
      if (!AddRange(Byte(members[0]), Byte(members[2]), locale)) return false;
      members.remove_prefix(3);
    } else {
      allowed_.set(Byte(members.front()));
      members.remove_prefix(1);
    }
  }
  return members == "]*";
}

bool ValidSet::AddRange(unsigned char first, unsigned char last, const Locale& locale) {
  if (first > last) return false;
  const bool upper = first == 'A' && last == 'Z';
  const bool lower = first == 'a' && last == 'z';
  for (unsigned c = 0; c < allowed_.size(); ++c) {
    const auto byte = static_cast<unsigned char>(c);
    const bool member = upper   ? locale.Is(byte, CLASS_UPPER)
                        : lower ? locale.Is(byte, CLASS_LOWER)
                                : byte >= first && byte <= last;
    if (member) allowed_.set(byte);
  }
  return true;
}

}  // namespace vorlix
