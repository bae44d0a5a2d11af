// What is typed into a field, by the scanner of its type in the server.
#pragma once

#include <string>

#include "tools/preview/form.h"

namespace vorlix::tool {

struct Typed {
  std::string function;  // the scanner
  int32_t code = 0;
  int32_t rc = 0;
  bool is_accepted = false;
  std::string stored;   // the value that the host stores; empty unless it is accepted
  std::string refused;  // the character that is not allowed; empty for none
  std::string reason;   // why it is refused, in words; or that nothing was typed where nothing need be
  std::string line;     // of a script that does the same, with what came back as its expectation
};

/// Calls the scanner with the field's own attributes. The text is in the encoding of the server.
Typed TypeInto(Session& session, const FormField& field, const std::string& text);

/// A text as a word of a script that is ASCII alone, whatever its bytes are.
std::string ScriptWord(std::string_view text);

}  // namespace vorlix::tool
