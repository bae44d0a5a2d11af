// Bytes as people and programs read them: values can hold any byte, whatever the terminal or the format can show.
#pragma once

#include <string>
#include <string_view>

namespace vorlix::tool {

/// Whether the text is valid UTF-8 throughout.
bool IsUtf8(std::string_view text);

/// The text in double quotes, as a script would write it: printable UTF-8 as it is, or the printable bytes of a
/// terminal in ISO 8859 or KOI8; all else as escapes such as \n and \xe4.
std::string Quote(std::string_view text);

/// The text as a word of a script: as it is where that is possible, else in quotes.
std::string QuoteWord(std::string_view text);

/// The text for a terminal: line feeds, tabs and what is printable there as they are, all other bytes as \xNN.
std::string Printable(std::string_view text);

/// A path as that of a URI: letters, digits and /-._~ as they are, all other bytes as %XX.
std::string PercentEncoded(std::string_view path);

/// Two lower-case hexadecimal digits a byte.
std::string Hex(std::string_view bytes);

}  // namespace vorlix::tool
