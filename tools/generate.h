// What is made from the command line's own table: manual pages, and the completions of shells.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace vorlix::tool {

/// The manual page of a command, in roff. `statuses` is what the help says of exit statuses.
std::string ManualPage(const CLI::App& command, const std::string& statuses);

/// What bash, zsh or fish read to complete the words of the program. Throws ToolError (Usage) for another shell.
std::string CompletionFor(const std::string& shell, const CLI::App& app);

}  // namespace vorlix::tool
