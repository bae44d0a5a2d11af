// Places in a text as editors have them: lines, which end in \n, \r\n or \r, and in them units of UTF-16.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "tools/textencoding.h"

namespace vorlix::tool {

struct Position {
  size_t line = 0;
  size_t character = 0;

  bool operator<=(const Position& other) const {
    return std::tie(line, character) <= std::tie(other.line, other.character);
  }
};

struct Range {
  Position start;
  Position end;

  bool Touches(const Range& other) const { return start <= other.end && other.start <= end; }
};

/// Borrows the text, and looks for its lines as far as it is asked.
class Positions {
 public:
  Positions(std::string_view text, TextEncoding encoding) : text_(text), encoding_(encoding) {}

  Position At(size_t offset) const;
  /// The byte at a place; what lies beyond the end of a line or of the text is that end.
  size_t OffsetOf(const Position& position) const;

 private:
  template <class Enough>
  void FindLines(Enough enough) const;
  std::string_view LineAt(size_t line) const;

  std::string_view text_;
  TextEncoding encoding_;
  mutable std::vector<size_t> starts_ = {0};  // of lines, those that were found
  mutable size_t looked_at_ = 0;              // bytes
};

}  // namespace vorlix::tool
