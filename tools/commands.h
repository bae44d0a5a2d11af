// The subcommands of the program. Each returns the exit status or throws ToolError or host::ServerError.
#pragma once

#include <string>
#include <vector>

#include "tools/failure.h"
#include "tools/player.h"
#include "tools/session.h"

namespace vorlix::tool {

/// `vorlix call`: runs one function with words as its arguments, [40] being the room of a text that is only returned.
/// Prints code and values as lines, or as one JSON object.
Status CallFunction(const Options& options, const std::vector<std::string>& words, bool json);

/// `vorlix run`: runs the script in a file, or in standard input for "-", against one server.
Status RunScript(const Options& options, const std::string& path, const PlayOptions& play);

/// `vorlix functions`: prints all functions by family, or all about the one that is named.
Status ListFunctions(const std::string& name);

}  // namespace vorlix::tool
