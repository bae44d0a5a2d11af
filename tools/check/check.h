// `vorlix check`: what is wrong with dictionaries, before a dialog does not open.
#pragma once

#include <string>
#include <vector>

#include "tools/failure.h"

namespace vorlix::tool {

struct CheckCommand {
  std::vector<std::string> files;
  std::vector<std::string> models;
  std::vector<std::string> ignore;
  std::string kind;  // "dictionary", "model", "module", or empty: by content
  std::string format = "text";
  std::string language;
  std::string explain;  // a code
  bool lists = false;   // all codes
  bool fixes = false;
  bool shows_difference = false;
};

/// Ok: nothing was found. OtherCode: something was. Throws ToolError (Usage) for what cannot be read.
Status CheckFiles(const CheckCommand& command);

}  // namespace vorlix::tool
