// The subcommands of the program. Each returns the exit status or throws ToolError or host::ServerError.
#pragma once

#include <string>
#include <vector>

#include "tools/check/check.h"
#include "tools/check/show.h"
#include "tools/failure.h"
#include "tools/lsp/lsp.h"
#include "tools/player.h"
#include "tools/session.h"

namespace vorlix::tool {

/// `vorlix call`: runs one function with words as its arguments, [40] being the room of a text that is only returned.
/// Prints code and values as lines, or as one JSON object.
Status CallFunction(const Options& options, const std::vector<std::string>& words, bool json);

/// `vorlix run`: runs the script in a file, or in standard input for "-", against one server. The arguments are its $1,
/// $2 and so on.
Status RunScript(const Options& options, const std::string& path, const std::vector<std::string>& arguments,
                 const PlayOptions& play);

/// `vorlix functions`: prints all functions by family; or all about the one that is named; or those that have the word
/// in their name or sentence. As JSON an array of the same functions. The example is a command, in the shell its lines.
enum class ListForm { Command, Shell, Json };
Status ListFunctions(const std::string& word, ListForm form);

/// `vorlix shell`: runs lines of the language of scripts as they are typed.
Status RunShell(const Options& options);

}  // namespace vorlix::tool
