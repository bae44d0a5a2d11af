// `vorlix show`: one field, with all its attributes and where each comes from.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/failure.h"

namespace vorlix::tool {

struct ShowCommand {
  std::string file;
  std::string field;  // "kd.name", or "name" where one dialog alone has it
  std::vector<std::string> models;
  std::string language;
  std::optional<std::string> value;  // as the host stores it: what the field shows for it is told
  std::optional<std::string> typed;  // what the field makes of it is told
};

/// Ok: the field is good, and takes what was typed. OtherCode: it does not. Throws ToolError (Usage) when there is no
/// such field.
Status ShowField(const ShowCommand& command);

}  // namespace vorlix::tool
