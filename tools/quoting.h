// Bytes as people and programs read them: values can hold any byte, whatever the terminal or the format can show.
#pragma once

#include <string>
#include <string_view>

namespace vorlix::tool {

/// Whether the text is valid UTF-8 throughout.
bool IsUtf8(std::string_view text);

/// The text in double quotes, as a script would write it: printable UTF-8 as it is, all else as escapes such as \n and
/// \xe4.
std::string Quote(std::string_view text);

/// The text as a word of a script: as it is where that is possible, else in quotes.
std::string QuoteWord(std::string_view text);

/// The text for a terminal: line feeds, tabs and printable UTF-8 as they are, all other bytes as \xNN.
std::string Printable(std::string_view text);

/// Two lower-case hexadecimal digits a byte.
std::string Hex(std::string_view bytes);

}  // namespace vorlix::tool
