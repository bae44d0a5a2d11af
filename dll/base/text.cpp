// There are two cases of bytes: that of the process's language now, and that of names, a table which is filled once at
// start-up, so that a later change of language loses no name.
#include "dll/base/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace vorlix {
namespace {

struct NameLetters {
  std::array<bool, 256> is_letter{};
  std::array<char, 256> lower{};
  std::array<char, 256> upper{};
};

NameLetters letters = [] {
  NameLetters ascii;
  for (size_t c = 0; c < 256; ++c) {
    const bool is_lower = c >= 'a' && c <= 'z';
    const bool is_upper = c >= 'A' && c <= 'Z';
    ascii.is_letter[c] = is_lower || is_upper;
    ascii.lower[c] = static_cast<char>(is_upper ? c - 'A' + 'a' : c);
    ascii.upper[c] = static_cast<char>(is_lower ? c - 'a' + 'A' : c);
  }
  return ascii;
}();

size_t Index(char c) { return static_cast<unsigned char>(c); }

}  // namespace

OwnedText CopyText(std::string_view text) noexcept {
  OwnedText copy(new (std::nothrow) char[text.size() + 1]);
  if (copy != nullptr) {
    if (!text.empty()) std::memcpy(copy.get(), text.data(), text.size());
    copy[text.size()] = '\0';
  }
  return copy;
}

OwnedText JoinTexts(std::string_view a, std::string_view b) noexcept {
  OwnedText joined(new (std::nothrow) char[a.size() + b.size() + 1]);
  if (joined != nullptr) *std::copy(b.begin(), b.end(), std::copy(a.begin(), a.end(), joined.get())) = '\0';
  return joined;
}

int32_t ReadNumber(const char* text) noexcept {
  using Range = std::numeric_limits<int32_t>;
  return static_cast<int32_t>(std::clamp<long>(std::strtol(text, nullptr, 10), Range::min(), Range::max()));
}

char LowerCase(char c) noexcept {
  if (c >= 'A' && c <= 'Z') return static_cast<char>(c - 'A' + 'a');
  const auto byte = static_cast<unsigned char>(c);
  return byte < 128 ? c : static_cast<char>(std::tolower(byte));
}

char UpperCase(char c) noexcept {
  if (c >= 'a' && c <= 'z') return static_cast<char>(c - 'a' + 'A');
  const auto byte = static_cast<unsigned char>(c);
  return byte < 128 ? c : static_cast<char>(std::toupper(byte));
}

void FixNameLetters() noexcept {
  for (int c = 0; c < 256; ++c) {
    const auto byte = static_cast<size_t>(c);
    letters.is_letter[byte] = std::isalpha(c) != 0;
    letters.lower[byte] = LowerCase(static_cast<char>(c));
    letters.upper[byte] = UpperCase(static_cast<char>(c));
  }
}

bool IsNameLetter(char c) noexcept { return letters.is_letter[Index(c)]; }

char FoldCase(char c) noexcept { return letters.lower[Index(c)]; }

char NameUpperCase(char c) noexcept { return letters.upper[Index(c)]; }

bool EqualNoCase(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() && StartsWithNoCase(a, b);
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) noexcept {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i)
    if (text[i] != prefix[i] && FoldCase(text[i]) != FoldCase(prefix[i])) return false;
  return true;
}

}  // namespace vorlix
