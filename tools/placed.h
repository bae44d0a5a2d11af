// Arguments exactly as a host sends them, as the words of a "place" line say: the class, how it is passed, each element
// and its capacity.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/call.h"
#include "tools/words.h"

namespace vorlix::tool {

/// What such a word is: `i:42`, `r:12.5` or `t:"Meier"[40]`, with `&` in front for a variable of the host; or `+43`,
/// one element more of the argument before it.
struct PlacedWord {
  HostClass host_class = HOST_INTEGER;
  bool by_ref = false;
  bool is_further = false;  // the class and the rest are those of the word before
  Word value;
};

/// Throws ToolError (Usage) when the word is none.
PlacedWord ParsePlaced(const Word& word);

/// The arguments that the words make, with `expand` for the text of a word. Reals are decimal texts, or "0x" and their
/// twelve bytes in hexadecimal digits. Throws ToolError (Usage) when a text is no such value.
std::vector<host::Arg> MakePlaced(const std::vector<Word>& words,
                                  const std::function<std::string(const Word&)>& expand);

/// The arguments as words that make them again.
std::string ShowPlaced(const std::vector<host::Arg>& args, const std::function<std::string(const std::string&)>& quote);

}  // namespace vorlix::tool
