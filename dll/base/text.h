// Texts: the private copies that records hold, the case of bytes, and what a text says as a number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vorlix {

/// A text that ends in NUL, owned by the record that holds it; null when absent.
using OwnedText = std::unique_ptr<char[]>;

/// A text that ends in NUL, borrowed: what C functions and "%s" can take.
class CText {
 public:
  constexpr CText() = default;
  constexpr CText(const char* text) : text_(text), size_(std::char_traits<char>::length(text)) {}
  CText(const OwnedText& text) : CText(text != nullptr ? text.get() : "") {}
  CText(const std::string& text) : text_(text.c_str()), size_(text.size()) {}
  /// `text[size]` is the NUL.
  constexpr CText(const char* text, size_t size) : text_(text), size_(size) {}

  constexpr const char* CStr() const { return text_; }
  constexpr std::string_view View() const { return {text_, size_}; }
  constexpr operator std::string_view() const { return View(); }
  constexpr bool empty() const { return size_ == 0; }
  constexpr bool operator==(const CText& other) const { return View() == other.View(); }
  /// What stands behind the first `count` characters.
  constexpr CText From(size_t count) const { return {text_ + count, size_ - count}; }

 private:
  const char* text_ = "";
  size_t size_ = 0;
};

/// A copy of `text`, null when there is no memory for it.
OwnedText CopyText(std::string_view text) noexcept;

/// Two texts as one; null when there is no memory for it.
OwnedText JoinTexts(std::string_view a, std::string_view b) noexcept;

/// What stands before the first NUL byte, where every text ends.
inline std::string_view BeforeNul(std::string_view bytes) noexcept { return bytes.substr(0, bytes.find('\0')); }

inline bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }

/// The whole number that the text begins with, 0 when that is none. One beyond 32 bits gives the nearest end of the
/// range.
int32_t ReadNumber(const char* text) noexcept;

/// The case of one byte of a text. ASCII letters keep to ASCII in every language (a Turkish "i" is an I); other bytes
/// go by the process's character-type locale of the moment.
char LowerCase(char c) noexcept;
char UpperCase(char c) noexcept;

// ---- Names ----------------------------------------------------------------------------------------------------------
//
// What is a letter of a name, and which letters are the same, is fixed when the server has chosen its language: a host
// that changes the language later finds every name that it found before. ASCII letters alone until then.

/// Fixes the letters of names by the process's character-type locale of the moment. Names that were hashed before are
/// not found any more.
void FixNameLetters() noexcept;

bool IsNameLetter(char c) noexcept;

/// The case of one byte of a name. The lower case is one byte for all that count as the same letter.
char FoldCase(char c) noexcept;
char NameUpperCase(char c) noexcept;

/// Compare names without regard to case, byte by byte.
bool EqualNoCase(std::string_view a, std::string_view b) noexcept;
bool StartsWithNoCase(std::string_view text, std::string_view prefix) noexcept;

}  // namespace vorlix
