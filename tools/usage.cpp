#include "tools/usage.h"

#include <algorithm>
#include <filesystem>

#include "dll/wire/functable.h"
#include "tools/nearest.h"
#include "tools/paint.h"

namespace vorlix::tool {
namespace {

using Words = std::vector<std::string_view>;

std::string HintForOption(const CLI::App& app, const std::string& word) {
  Words options;
  const auto collect = [&](const CLI::App& one) {
    for (const CLI::Option* const option : one.get_options())
      options.insert(options.end(), option->get_lnames().begin(), option->get_lnames().end());
  };
  collect(app);
  for (const CLI::App* const command : app.get_subcommands()) collect(*command);
  const std::string name = word.substr(2, word.find('=') - 2);
  const std::string_view near = Nearest(name, options);
  return "there is no option --" + name + (near.empty() ? "" : "; did you mean --" + std::string(near) + '?');
}

// An option that stands in front of its command.
std::string HintForPlace(const CLI::App& app, const std::string& word) {
  for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; }))
    if (command->get_option_no_throw(word) != nullptr && app.got_subcommand(command))
      return word + " is an option of " + command->get_name() + " and stands behind it";
  return "";
}

}  // namespace

std::string HintForCommand(const CLI::App& app, const std::string& word) {
  Words functions;
  for (const FunctionInfo& function : FUNCTIONS) functions.push_back(function.name);
  Words commands;
  const auto is_listed = [](const CLI::App* command) { return !command->get_group().empty(); };
  for (const CLI::App* const command : app.get_subcommands(is_listed)) commands.push_back(command->get_name());
  const std::string there_is_none = "there is no command '" + word + "'; did you mean vorlix ";
  if (const auto command = Nearest(word, commands); !command.empty()) return there_is_none + std::string(command) + '?';
  if (const auto name = Nearest(word, functions); !name.empty())
    return there_is_none + "call " + std::string(name) + '?';
  return "there is no command '" + word + "'; vorlix help lists them";
}

std::string HelpOf(const CLI::App& app) {
  // CLI::App::help gives the help of the command that was called in the place of the program's.
  const std::string name = app.get_parent() == nullptr ? "vorlix" : "vorlix " + app.get_name();
  return Fold(app.get_formatter()->make_help(&app, name, CLI::AppFormatMode::Normal), TerminalWidth());
}

std::string HintForWords(const CLI::App& app, const std::vector<std::string>& words) {
  const auto is_option = [](std::string_view word) { return word.starts_with('-'); };
  const auto option = std::ranges::find_if(words, is_option);
  std::error_code ignored;
  if (option == words.end() && !words.empty() && std::filesystem::is_regular_file(words[0], ignored))
    return "'" + words[0] + "' is no command, and a file: vorlix run, vorlix check and vorlix show take files";
  if (option == words.end()) return words.empty() ? "" : HintForCommand(app, words[0]);
  if (std::string hint = HintForPlace(app, *option); !hint.empty()) return hint;
  return option->starts_with("--") ? HintForOption(app, *option)
                                   : "there is no option " + *option + "; vorlix --help lists them";
}

}  // namespace vorlix::tool
