// What the program says of its own command line.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace vorlix::tool {

/// What a word was meant to be that is no command of the program.
std::string HintForCommand(const CLI::App& app, const std::string& word);

/// The help of the program or of one of its commands, in lines that fit the terminal.
std::string HelpOf(const CLI::App& app);

/// What is wrong with words that nothing on the command line takes, and what was probably meant: options of the program
/// and of the commands that were given, commands, and functions. Empty when there is nothing better to say than that
/// they were not expected.
std::string HintForWords(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace vorlix::tool
