// A line of a script as words: where they end, quotes, escapes, comments, and the places of names.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace vorlix::tool {

/// A part of a word: a text as it is, or the name of a value (see Scope) whose text takes its place.
struct Piece {
  std::string text;
  bool is_name = false;

  bool operator==(const Piece&) const = default;
};

struct Word {
  std::vector<Piece> pieces;    // none: the word is a room alone, such as [40]
  size_t bare = 0;              // leading characters written without quotes and escapes, where operators are looked for
  std::optional<int32_t> room;  // the number of a closing [40]: bytes that the text has room for

  /// Whether the word is this text, written without quotes and escapes.
  bool Is(std::string_view text) const;
  /// The characters counted by `bare`.
  std::string_view Bare() const;
  /// Takes away the first `count` of those.
  void CutFront(size_t count);
};

/// The words of a line, without its comment. Throws ToolError (Usage), which names the fault.
std::vector<Word> SplitWords(std::string_view line);

/// Where the last word of a line that is not finished begins; at its end, when a blank is there. A quote may be open.
size_t LastWordStart(std::string_view line);

/// Whether the text can name a value: a letter or "_", then letters, digits and "_".
bool IsName(std::string_view text);
/// The same, or the name and an item of its XBUF (xbuf.len), or an element of an item (xbuf.sum.3).
bool IsAddress(std::string_view text);

/// The whole number that all of the text is; none when it is anything else, or out of the range of the type.
template <class Number>
std::optional<Number> ReadWhole(std::string_view text) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

}  // namespace vorlix::tool
