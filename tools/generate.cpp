#include "tools/generate.h"

#include <algorithm>
#include <vector>

#include "dll/wire/functable.h"
#include "tools/choices.h"
#include "tools/failure.h"

namespace vorlix::tool {
namespace {

using Options = std::vector<const CLI::Option*>;

// Those that the help shows.
std::vector<const CLI::App*> CommandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

Options NamedOptions(const CLI::App& app) {
  return app.get_options([](const CLI::Option* option) { return !option->get_positional(); });
}

Options Positionals(const CLI::App& app) {
  return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

bool TakesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

// "-o", "--output" and so on.
std::vector<std::string> WordsOf(const CLI::Option& option) {
  std::vector<std::string> words;
  for (const std::string& name : option.get_snames()) words.push_back('-' + name);
  for (const std::string& name : option.get_lnames()) words.push_back("--" + name);
  return words;
}

std::string Join(const std::vector<std::string>& words, const std::string& between) {
  std::string text;
  for (const std::string& word : words) (text += text.empty() ? "" : between) += word;
  return text;
}

std::vector<std::string> FunctionNames() {
  std::vector<std::string> names;
  for (const FunctionInfo& function : FUNCTIONS) names.emplace_back(function.name);
  return names;
}

// What a word can be.
enum class Words { Any, Files, Locales, Chosen };

Words WordsFor(const std::string& type) {
  if (type == "FILE" || type == "PATH" || type == "RECORDING" || type == "SCRIPT") return Words::Files;
  if (type == "LOCALE") return Words::Locales;
  return ChoicesOf(type).empty() ? Words::Any : Words::Chosen;
}

// The names that follow a command, beside files.
std::vector<std::string> NamesBehind(const CLI::App& command, const CLI::App& app) {
  if (command.get_name() == "call" || command.get_name() == "functions") return FunctionNames();
  std::vector<std::string> names;
  if (command.get_name() == "help")
    for (const CLI::App* const one : CommandsOf(app)) names.push_back(one->get_name());
  return names;
}

// ---- Manual pages ---------------------------------------------------------------------------------------------------

// A text of roff: no line begins with a point, and signs are what they are.
std::string Roff(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n')) out += "\\&";
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
  }
  return out;
}

std::string UpperCased(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return text;
}

std::string Synopsis(const CLI::App& command) {
  std::string line = "\\fBvorlix " + command.get_name() + "\\fR [\\fIoptions\\fR]";
  for (const CLI::Option* const option : Positionals(command)) {
    const std::string name =
        "\\fI" + option->get_name(true) + "\\fR" + (option->get_items_expected_max() > 1 ? "..." : "");
    line += option->get_required() ? ' ' + name : " [" + name + ']';
  }
  return line;
}

std::string OptionEntry(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& word : WordsOf(option)) names.push_back("\\fB" + Roff(word) + "\\fR");
  std::string entry = ".TP\n" + Join(names, ", ");
  if (names.empty()) entry += "\\fI" + Roff(option.get_name(true)) + "\\fR";
  if (TakesValue(option) && !names.empty()) entry += " \\fI" + Roff(option.get_type_name()) + "\\fR";
  entry += '\n' + Roff(option.get_description()) + ".\n";
  if (!option.get_envname().empty()) entry += "The variable \\fB" + option.get_envname() + "\\fR says the same.\n";
  return entry;
}

// ---- Shells ---------------------------------------------------------------------------------------------------------

std::string InQuotes(const std::string& text) {
  std::string out = "'";
  for (const char c : text) c == '\'' ? out += "'\\''" : out += c;
  return out + '\'';
}

// Each option that takes a value once, by whichever command.
std::vector<const CLI::Option*> ValueOptions(const CLI::App& app) {
  std::vector<const CLI::Option*> found;
  const auto add = [&](const CLI::App& one) {
    for (const CLI::Option* const option : NamedOptions(one)) {
      const auto is_it = [&](const CLI::Option* other) { return WordsOf(*other) == WordsOf(*option); };
      if (TakesValue(*option) && std::ranges::none_of(found, is_it)) found.push_back(option);
    }
  };
  add(app);
  for (const CLI::App* const command : CommandsOf(app)) add(*command);
  return found;
}

std::vector<std::string> OptionWords(const CLI::App& app) {
  std::vector<std::string> words;
  for (const CLI::Option* const option : NamedOptions(app))
    for (const std::string& word : WordsOf(*option)) words.push_back(word);
  return words;
}

std::string BashValues(const CLI::Option& option) {
  switch (WordsFor(option.get_type_name())) {
    case Words::Files: return "COMPREPLY=($(compgen -f -- \"$word\"))";
    case Words::Locales: return "COMPREPLY=($(compgen -W \"$(locale -a 2>/dev/null)\" -- \"$word\"))";
    case Words::Chosen:
      return "COMPREPLY=($(compgen -W " + InQuotes(Join(ChoicesOf(option.get_type_name()), " ")) + " -- \"$word\"))";
    case Words::Any: break;
  }
  return "COMPREPLY=()";
}

std::string Bash(const CLI::App& app) {
  std::vector<std::string> commands;
  for (const CLI::App* const command : CommandsOf(app)) commands.push_back(command->get_name());
  std::string out =
      "# bash completion for vorlix\n\n_vorlix() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command= words= k\n"
      "  for ((k = 1; k < COMP_CWORD; ++k)); do\n    case ${COMP_WORDS[k]} in\n      " +
      Join(commands, " | ") + ") command=${COMP_WORDS[k]} && break ;;\n    esac\n  done\n  case $before in\n";
  for (const CLI::Option* const option : ValueOptions(app))
    out += "    " + Join(WordsOf(*option), " | ") + ") " + BashValues(*option) + " && return ;;\n";
  out +=
      "  esac\n  case $command in\n    '') words=" + InQuotes(Join(commands, " ") + ' ' + Join(OptionWords(app), " ")) +
      " ;;\n";
  for (const CLI::App* const command : CommandsOf(app)) {
    std::vector<std::string> words = NamesBehind(*command, app);
    for (const std::string& word : OptionWords(*command)) words.push_back(word);
    out += "    " + command->get_name() + ") words=" + InQuotes(Join(words, " ")) + " ;;\n";
  }
  return out +
         "  esac\n  COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
         "  [[ -z $command || $word == -* ]] || COMPREPLY+=($(compgen -f -- \"$word\"))\n}\n"
         "complete -o filenames -F _vorlix vorlix\n";
}

// Brackets and colons end what zsh reads there.
std::string ZshText(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':') out += '\\';
    out += c;
  }
  return out;
}

std::string ZshOptions(const CLI::App& app) {
  std::string out;
  for (const CLI::Option* const option : NamedOptions(app))
    for (const std::string& word : WordsOf(*option)) {
      std::string spec = "*" + word + '[' + ZshText(option->get_description()) + ']';
      if (TakesValue(*option)) {
        spec += ':' + option->get_type_name() + ':';
        switch (WordsFor(option->get_type_name())) {
          case Words::Files: spec += "_files"; break;
          case Words::Locales: spec += "($(locale -a 2>/dev/null))"; break;
          case Words::Chosen: spec += '(' + Join(ChoicesOf(option->get_type_name()), " ") + ')'; break;
          case Words::Any: break;
        }
      }
      out += " \\\n        " + InQuotes(spec);
    }
  return out;
}

std::string Zsh(const CLI::App& app) {
  std::string out = "#compdef vorlix\n\n_vorlix() {\n  local state line\n  local -a commands=(\n";
  for (const CLI::App* const command : CommandsOf(app))
    out += "    " + InQuotes(command->get_name() + ':' + ZshText(command->get_description())) + '\n';
  out += "  )\n  _arguments -C" + ZshOptions(app) +
         " \\\n        '1:command:->command' '*::argument:->argument'\n"
         "  case $state in\n    command) _describe command commands ;;\n    argument)\n      case $words[1] in\n";
  for (const CLI::App* const command : CommandsOf(app)) {
    const std::vector<std::string> names = NamesBehind(*command, app);
    out += "      " + command->get_name() + ") _arguments" + ZshOptions(*command);
    if (!names.empty()) out += " \\\n        " + InQuotes("1:name:(" + Join(names, " ") + ')');
    out += " \\\n        '*:file:_files' ;;\n";
  }
  return out + "      esac ;;\n  esac\n}\n\n_vorlix \"$@\"\n";
}

std::string FishOption(const std::string& condition, const CLI::Option& option) {
  std::string line = "complete -c vorlix -n " + InQuotes(condition);
  for (const std::string& name : option.get_snames()) line += " -s " + name;
  for (const std::string& name : option.get_lnames()) line += " -l " + name;
  if (TakesValue(option)) line += WordsFor(option.get_type_name()) == Words::Files ? " -rF" : " -x";
  if (WordsFor(option.get_type_name()) == Words::Locales) line += " -a '(locale -a 2>/dev/null)'";
  if (const auto choices = ChoicesOf(option.get_type_name()); !choices.empty())
    line += " -a " + InQuotes(Join(choices, " "));
  return line + " -d " + InQuotes(option.get_description()) + '\n';
}

std::string Fish(const CLI::App& app) {
  std::string out = "# fish completion for vorlix\n";
  for (const CLI::Option* const option : NamedOptions(app)) out += FishOption("__fish_use_subcommand", *option);
  for (const CLI::App* const command : CommandsOf(app)) {
    out += "complete -c vorlix -f -n __fish_use_subcommand -a " + command->get_name() + " -d " +
           InQuotes(command->get_description()) + '\n';
    const std::string condition = "__fish_seen_subcommand_from " + command->get_name();
    for (const CLI::Option* const option : NamedOptions(*command)) out += FishOption(condition, *option);
    if (const auto names = NamesBehind(*command, app); !names.empty())
      out += "complete -c vorlix -n " + InQuotes(condition) + " -a " + InQuotes(Join(names, " ")) + '\n';
  }
  return out;
}

}  // namespace

std::string ManualPage(const CLI::App& command, const std::string& statuses) {
  const std::string name = "vorlix-" + command.get_name();
  std::string page =
      ".TH " + UpperCased(name) + " 1 \"\" \"vorlix " VORLIX_VERSION "\" \"Vorlix\"\n.SH NAME\n" + Roff(name) +
      " \\- " + Roff(command.get_description()) + "\n.SH SYNOPSIS\n" + Synopsis(command) + "\n.SH DESCRIPTION\n" +
      Roff(command.get_description()) +
      ".\n.PP\n\\fBvorlix\\fR(1) tells of all commands; the manual is in \\fI/usr/share/doc/vorlix\\fR.\n";
  if (const Options positionals = Positionals(command); !positionals.empty()) {
    page += ".SH ARGUMENTS\n";
    for (const CLI::Option* const option : positionals) page += OptionEntry(*option);
  }
  page += ".SH OPTIONS\n";
  for (const CLI::Option* const option : NamedOptions(command)) page += OptionEntry(*option);
  const std::string footer = command.get_footer();
  page += ".SH EXIT STATUS\n" + Roff(statuses) + '\n';
  if (footer.starts_with("Example: ")) page += ".SH EXAMPLE\n.nf\n" + Roff(footer.substr(9)) + "\n.fi\n";
  return page + ".SH SEE ALSO\n\\fBvorlix\\fR(1), \\fBvorlix.dll\\fR(8)\n";
}

std::string CompletionFor(const std::string& shell, const CLI::App& app) {
  if (shell == "bash") return Bash(app);
  if (shell == "zsh") return Zsh(app);
  if (shell == "fish") return Fish(app);
  throw ToolError(Status::Usage, "there are completions for bash, zsh and fish");
}

}  // namespace vorlix::tool
