// What stands at a place of a dictionary, and what belongs there.
#pragma once

#include <string>
#include <string_view>

#include "tools/check/manual.h"
#include "tools/lsp/workspace.h"

namespace vorlix::tool {

enum class Part { Header, Name, Value, Nothing };

struct Spot {
  size_t line = 0;    // of the layout
  size_t column = 0;  // in bytes
  Part part = Part::Nothing;
  size_t section = Layout::NO_SECTION;  // the one that the line belongs to
  const LayoutEntry* entry = nullptr;   // that stands in the line
  std::string_view before;              // what stands in the line before the place
};

Spot FindSpot(const Analysis& analysis, const Position& position);

/// The object that a section became; null when it is none, or the file was refused before.
const Object* ObjectOf(const Analysis& analysis, size_t section);

/// The kind of words that the value of an attribute has, None for any text.
WordKind WordsOf(std::string_view attribute, const Object* object);

/// A sentence of the manual without its links.
std::string PlainSentence(std::string_view sentence);

}  // namespace vorlix::tool
