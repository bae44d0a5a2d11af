// Bytes as the words of a script, and as people read them: texts can hold any byte, whatever a file or a terminal
// shows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vorlix {

/// A character of UTF-8, taken strictly: no overlong forms, no surrogates, nothing above U+10FFFF.
struct Character {
  size_t size = 0;  // bytes; 0: the text does not start with a character
  uint32_t code = 0;

  /// Whether it shows as something, where it stands: no control characters, those of U+0080 to U+009F included, and
  /// none that have no width or turn the direction of a line.
  bool IsPrintable() const;
};

/// The character that a text begins with. The text is not empty.
Character FirstCharacter(std::string_view text);

/// The escape that a byte has in quotes, such as \n; empty for one that has none.
std::string_view QuotedForm(char c);

/// Two lower-case hexadecimal digits.
void AppendHex(std::string& out, char byte);

/// Appends the text in double quotes, as a script writes it: printable UTF-8 as it is, all else as escapes such as \n
/// and \xe4. In a line of its own the result is one word.
void AppendQuoted(std::string& out, std::string_view text);

/// Whether a script can write the text without quotes.
bool IsPlainWord(std::string_view text);

}  // namespace vorlix
