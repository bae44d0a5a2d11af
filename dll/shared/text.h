// Owned texts: the private copies that records hold.
#pragma once

#include <memory>
#include <string_view>

namespace vorlix {

/// A text that ends in NUL, owned by the record that holds it; null when absent.
using OwnedText = std::unique_ptr<char[]>;

/// A copy of `text`, null when there is no memory for it.
OwnedText CopyText(std::string_view text) noexcept;

/// The case of one byte. ASCII letters keep to ASCII in every language (a Turkish "i" is an I, so that names stay what
/// they are); other bytes go by the process's character-type locale.
char LowerCase(char c) noexcept;
char UpperCase(char c) noexcept;

/// Compare texts without regard to case, byte by byte, as LowerCase sees it.
bool EqualNoCase(std::string_view a, std::string_view b) noexcept;
bool StartsWithNoCase(std::string_view text, std::string_view prefix) noexcept;

}  // namespace vorlix
