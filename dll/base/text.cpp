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

std::array<char, 256> folded = [] {
  std::array<char, 256> table{};
  for (size_t c = 0; c < table.size(); ++c) table[c] = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return table;
}();

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

char FoldCase(char c) noexcept { return folded[static_cast<unsigned char>(c)]; }

void TakeCaseFolding() noexcept {
  for (size_t c = 0; c < folded.size(); ++c) folded[c] = LowerCase(static_cast<char>(c));
}

bool EqualNoCase(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() && StartsWithNoCase(a, b);
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) noexcept {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i)
    if (text[i] != prefix[i] && LowerCase(text[i]) != LowerCase(prefix[i])) return false;
  return true;
}

}  // namespace vorlix
