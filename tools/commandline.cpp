// Each command stands in one place: its words, its options, an example that runs, and what it does.
#include "tools/commandline.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "tools/buildid.h"
#include "tools/choices.h"
#include "tools/generate.h"
#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/signature.h"
#include "tools/support/bundle.h"
#include "tools/support/doctor.h"
#include "tools/support/ps.h"
#include "tools/tell.h"
#include "tools/usage.h"
#include "tools/words.h"

namespace vorlix::tool {
namespace {

constexpr const char* EXIT_STATUSES =
    "Exit status: 0 for result code 0, 1 for another result code or an expectation that is not met, 2 for wrong\n"
    "usage, 3 no server, 4 no answer in time, 5 the server ended; 128 and its number after a signal.";

constexpr const char* FIRST_STEPS =
    "vorlix calls the functions of the server vorlix.dll.\n\n"
    "  vorlix call NAME ARGUMENT...  one call; vorlix functions lists them all\n"
    "  vorlix run FILE               a script of calls, which is a test as well\n"
    "  vorlix shell                  calls line by line, in one server\n"
    "  vorlix check FILE             what is wrong with a dictionary; vorlix show tells of a field\n"
    "  vorlix help                   all options\n";

// What the exit statuses of a command mean.
std::string StatusesOf(const std::string& command) {
  if (command == "check") return "0 nothing is wrong, 1 something is, 2 wrong usage or a file that cannot be read.";
  if (command == "doctor") return "0 nothing is bad, 1 something is, 2 wrong usage.";
  const std::string_view all = EXIT_STATUSES;
  return std::string(all.substr(all.find(": ") + 2));
}

// What is wrong with the text of category levels; the server skips what it does not know.
std::string HaveLevels(const std::string& flags) {
  const bool fits = flags.find_first_not_of("*ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789") == std::string::npos;
  return fits ? "" : "categories are capital letters, with a level behind each: D3F1, or *2 for all";
}

Status PrintHelp(const CLI::App& app) {
  std::fputs(HelpOf(app).c_str(), stdout);
  return Status::Ok;
}

}  // namespace

CommandLine::CommandLine() {
  app_.set_version_flag(
      "--version", [] { return "vorlix " VORLIX_VERSION ", build " + BuildId(); }, "Print the version");
  app_.footer(EXIT_STATUSES);
  app_.require_subcommand(0, 1);
  app_.failure_message(
      [](const CLI::App*, const CLI::Error& error) { return "vorlix: " + Printable(error.what()) + '\n'; });
  AddServerOptions(app_);
  AddColour(app_);
  AddCall();
  AddRun();
  AddShell();
  AddPreview();
  AddShow();
  AddCheck();
  AddLsp();
  AddBundle();
  AddDoctor();
  AddPs();
  AddFunctions();
  AddGenerate();
  AddHelp();
}

void CommandLine::Parse(int argc, char** argv) {
  preview_command_.words.assign(argv, argv + argc);
  app_.parse(argc, argv);
  // A range check lets it pass.
  if (std::isnan(options_.timeout)) throw CLI::ValidationError("--timeout", "nan is no number of seconds");
}

Status CommandLine::Execute() const {
  ChooseColours(colours_ == "always" ? Colours::Always : colours_ == "never" ? Colours::Never : Colours::Auto);
  for (const Command& command : commands_)
    if (command.app->parsed()) return command.run();
  if (isatty(STDIN_FILENO) == 0) throw ToolError(Status::Usage, "a command is required; vorlix help lists them");
  std::fputs(Fold(FIRST_STEPS, TerminalWidth()).c_str(), stdout);
  return Status::Ok;
}

Status CommandLine::Explain(const CLI::ParseError& error) const {
  const std::vector<CLI::App*> given = app_.get_subcommands();
  const bool wants_help = error.get_name() == "CallForHelp";
  if (wants_help && (!given.empty() || app_.remaining_size() == 0)) return PrintHelp(given.empty() ? app_ : *given[0]);
  const bool is_extra = wants_help || error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
  const std::string hint = is_extra ? HintForWords(app_, app_.remaining(true)) : "";
  if (!hint.empty()) {
    Tell(hint);
  } else if (app_.exit(error) == 0) {
    return Status::Ok;
  }
  return Status::Usage;
}

// ---- Options that several commands have ------------------------------------------------------------------------------

CLI::App& CommandLine::Add(const char* name, const char* sentence, Takes takes, std::function<Status()> run) {
  CLI::App* const app = app_.add_subcommand(name, sentence);
  commands_.push_back({app, std::move(run)});
  if (takes == Takes::ServerAndColour) AddServerOptions(*app);
  if (takes != Takes::Nothing) AddColour(*app);
  return *app;
}

// The options that can stand before and behind a subcommand.
void CommandLine::AddServerOptions(CLI::App& app) {
  app.add_option("--trace", options_.trace, "Level of the call trace on standard error, 1 to 3")
      ->type_name("N")
      ->check(CLI::Range(0, 9).description(""))
      ->envname("VORLIX_DEBUG");
  app.add_option("--flags", options_.flags, "Levels of the category trace on standard error, as D3F1 or *2")
      ->type_name("FLAGS")
      ->envname("VORLIX_FLAGS")
      ->check(HaveLevels);
  app.add_option("--server", options_.server, "The server program, when vorlix.dll is not found by itself")
      ->type_name("PATH");
  app.add_option("--lang", options_.language, "The language of the server, as de_DE")->type_name("LOCALE");
  app.add_option("--encoding", options_.encoding, "The encoding of texts here, when the server's language has another")
      ->type_name("NAME");
  app.add_option("--segment", options_.segment_megabytes, "Megabytes that a call can have, 16 by default")
      ->type_name("MB")
      ->check(CLI::Range(1, 2000).description(""));
  app.add_option("--timeout", options_.timeout, "Seconds to wait for each answer, 10 by default")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.001, 1e6).description(""));
}

void CommandLine::AddColour(CLI::App& app) {
  app.add_option("--color", colours_, "Colours: auto, always or never")
      ->type_name("WHEN")
      ->check(CLI::IsMember(ChoicesOf("WHEN")).description(""));
}

// ---- Calls ----------------------------------------------------------------------------------------------------------

void CommandLine::AddCall() {
  CLI::App& app = Add("call", "Run one function: call [OPTIONS] NAME ARGUMENT...", Takes::ServerAndColour,
                      [this] { return CallFunction(options_, arguments_, json_); });
  app.add_flag("--json", json_, "Print one JSON object; texts that are not UTF-8 become {\"hex\": \"...\"}");
  app.prefix_command()->allow_extras();  // from NAME on, nothing is an option
  app.footer("Example: vorlix call fmt_Num 1234.5 10 2 RT");
  app.final_callback([this, &app] {
    arguments_ = app.remaining();
    if (arguments_.empty())
      throw CLI::ValidationError("call", "NAME is required, as in: vorlix call fmt_Num 1234.5 10 2 RT");
    if (arguments_[0].starts_with('-')) throw CLI::ExtrasError("call", arguments_);
  });
}

void CommandLine::AddRun() {
  CLI::App& app = Add("run", "Run a script of calls: run [OPTIONS] FILE ARGUMENT...", Takes::ServerAndColour,
                      [this] { return RunScript(options_, path_, arguments_, play_); });
  app.add_flag("-q,--quiet", play_.quiet, "Print only what the script prints by itself");
  app.add_flag("-k,--keep-going", play_.keep_going, "Report every line that fails, not the first alone");
  app.add_option("FILE", path_, "The script, or - for standard input")->required();
  app.add_option("ARGUMENT", arguments_, "What the script has as $1, $2 and so on");
  app.footer("Example: echo 'fmt_Num $1 10 2 RT' | vorlix run - 1234.5");
}

void CommandLine::AddShell() {
  CLI::App& app = Add("shell", "Run calls line by line, in one server", Takes::ServerAndColour,
                      [this] { return RunShell(options_); });
  app.footer("Example: echo 'fmt_Num 1234.5 10 2 RT' | vorlix shell");
}

void CommandLine::AddFunctions() {
  CLI::App& app = Add("functions", "List all functions, describe one, or search", Takes::Colour,
                      [this] { return ListFunctions(word_, json_ ? ListForm::Json : ListForm::Command); });
  app.add_option("NAME", word_, "A function, or a word to search for");
  app.add_flag("--json", json_, "Print all about them as JSON");
  app.footer("Example: vorlix functions l_GetIdx");
}

// ---- Dictionaries ---------------------------------------------------------------------------------------------------

void CommandLine::AddCheck() {
  CLI::App& app = Add("check", "Find what is wrong with dictionaries", Takes::Colour,
                      [this] { return CheckFiles(check_command_); });
  CheckCommand& to = check_command_;
  app.add_option("FILE", to.files,
                 "Dictionaries, model dictionaries and module files, directories of them, or - for standard input");
  app.add_option("--model", to.models, "A model dictionary to inherit from; can be given again")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_option("--ignore", to.ignore, "A finding that is not wanted, as VX620; can be given again")
      ->type_name("CODE")
      ->allow_extra_args(false);
  app.add_option("--kind", to.kind, "dictionary, model or module, where the content does not tell")
      ->type_name("KIND")
      ->check(CLI::IsMember(ChoicesOf("KIND")).description(""));
  app.add_option("--format", to.format, "text, json, sarif or github")
      ->type_name("FORMAT")
      ->check(CLI::IsMember(ChoicesOf("FORMAT")).description(""));
  app.add_option("--lang", to.language, "The language of the server, whose formats fields get")->type_name("LOCALE");
  app.add_option("--explain", to.explain, "Print all about a finding")->type_name("CODE");
  app.add_flag("--list", to.lists, "List all findings that there are");
  app.add_flag("--fix", to.fixes, "Put right what can be put right safely");
  app.add_flag("--diff", to.shows_difference, "Show what --fix would change");
  app.footer("Example: vorlix check --explain VX201");
}

void CommandLine::AddShow() {
  CLI::App& app = Add("show", "Show a field of a dictionary, and where its attributes come from", Takes::Colour,
                      [this] { return ShowField(show_command_); });
  ShowCommand& to = show_command_;
  app.add_option("FILE", to.file, "The dictionary, or - for standard input")->required();
  app.add_option("FIELD", to.field, "The field, as kd.name, or name where one dialog alone has it")->required();
  app.add_option("--model", to.models, "A model dictionary to inherit from; can be given again")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_option("--lang", to.language, "The language of the server")->type_name("LOCALE");
  app.add_option("--value", to.value, "Tell what the field shows for a value")->type_name("VALUE");
  app.add_option("--type", to.typed, "Tell what the field makes of a text that is typed")->type_name("TEXT");
  app.footer(R"(Example: printf '[catalog]\nA=B\n[a.n]\nPATH=n\nFTYP=N\nFLEN=9\n' | vorlix show - n --type 12)");
}

void CommandLine::AddPreview() {
  CLI::App& app = Add("preview", "Draw the dialogs of a dictionary as forms, or as a page", Takes::ServerAndColour,
                      [this] { return ShowPreview(options_, preview_command_); });
  PreviewCommand& to = preview_command_;
  app.add_option("FILE", to.file, "The dictionary");
  app.add_option("DIALOG", to.dialog, "The dialog, by its name or ID; all without it");
  app.add_option("--model", to.models, "A model dictionary to inherit from; can be given again")
      ->type_name("FILE")
      ->allow_extra_args(false);
  CLI::Option* const html = app.add_option("--html", to.html, "Write a page for a browser instead");
  html->type_name("FILE");
  app.add_option("--serve", serve_, "Serve a page to type into, on a port of this machine or a free one")
      ->type_name("PORT")
      ->expected(0, 1)
      ->excludes(html)
      ->default_str("0");
  app.footer(
      R"(Example: printf '[catalog]\nA=ORDER\n[a.n]\nPATH=n\nFTYP=N\nFLEN=9\n' >/tmp/my.dic; vorlix preview /tmp/my.dic)");
  app.final_callback([this] { ReadPort(); });
}

// What stands behind --serve is a port, or the next of the other words.
void CommandLine::ReadPort() {
  PreviewCommand& to = preview_command_;
  const bool is_number = serve_.find_first_not_of("-0123456789") == std::string::npos;
  if (const auto port = ReadWhole<uint16_t>(serve_)) {
    to.port = *port;
  } else if (!serve_.empty() && is_number) {
    throw CLI::ValidationError("--serve", serve_ + " is no port; those are 1 to 65535");
  } else if (!serve_.empty()) {
    to.port = 0;
    if (!to.file.empty() && !to.dialog.empty()) throw CLI::ValidationError("--serve", serve_ + " is no port");
    const bool is_dialog = !to.file.empty() && !std::filesystem::exists(serve_);
    if (is_dialog) {
      to.dialog = serve_;
    } else {
      to.dialog = std::exchange(to.file, serve_);
    }
  }
  if (to.file.empty()) throw CLI::RequiredError("FILE");
}

void CommandLine::AddLsp() {
  CLI::App& app = Add("lsp", "Check dictionaries in the editor, as a language server that it starts", Takes::Nothing,
                      [this] { return ServeEditor(check_command_.models, check_command_.language); });
  app.add_option("--model", check_command_.models, "A model dictionary to inherit from; can be given again")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_option("--lang", check_command_.language, "The language of the server, whose formats fields get")
      ->type_name("LOCALE");
  app.footer("Example: vorlix lsp --lang C </dev/null");
}

// ---- Support --------------------------------------------------------------------------------------------------------

void CommandLine::AddBundle() {
  CLI::App& app = Add("bundle", "Pack a recording and the files that it names, to send", Takes::Nothing,
                      [this] { return BundleRecording(path_, bundle_to_); });
  app.add_option("RECORDING", path_, "What a server with VORLIX_RECORD has written")->required();
  app.add_option("-o,--output", bundle_to_, "The archive, RECORDING.tar.gz by default")->type_name("FILE");
  app.footer(
      "Example: cd \"$(mktemp -d)\"; VORLIX_RECORD=$PWD/my.vx vorlix call v_Set Name Meier; vorlix bundle my.vx");
}

void CommandLine::AddDoctor() {
  CLI::App& app = Add("doctor", "Tell whether this machine can serve, and what to do", Takes::ServerAndColour,
                      [this] { return ExamineMachine(options_, json_); });
  app.add_flag("--json", json_, "Print an array of all findings");
  app.footer("Example: vorlix doctor");
}

void CommandLine::AddPs() {
  CLI::App& app = Add("ps", "List the servers that run", Takes::Nothing, [this] { return ListServers(json_); });
  app.add_flag("--json", json_, "Print an array of all servers");
  app.footer("Example: vorlix ps");
}

// ---- The program itself ---------------------------------------------------------------------------------------------

void CommandLine::AddGenerate() {
  CLI::App& app = Add("generate", "Make manual pages and completions", Takes::Nothing, [this] { return Generate(); });
  app.group("")->add_option("WHAT", arguments_);
}

void CommandLine::AddHelp() {
  CLI::App& app = Add("help", "Print this, or the help of a command", Takes::Nothing, [this] { return Help(); });
  app.add_option("COMMAND", word_, "The command");
  app.footer("Example: vorlix help call");
}

Status CommandLine::Help() const {
  const std::vector<const CLI::App*> commands = app_.get_subcommands([](const CLI::App*) { return true; });
  const auto is_it = [&](const CLI::App* command) { return command->get_name() == word_; };
  const auto found = std::ranges::find_if(commands, is_it);
  if (word_.empty()) return PrintHelp(app_);
  if (found != commands.end()) return PrintHelp(**found);
  if (FindFunction(word_) != nullptr) return ListFunctions(word_, ListForm::Command);
  throw ToolError(Status::Usage, HintForCommand(app_, word_));
}

// For whoever packs the program: a manual page of each command, or the completions of a shell.
Status CommandLine::Generate() const {
  std::string text;
  if (arguments_.size() == 2 && arguments_[0] == "completion") text = CompletionFor(arguments_[1], app_);
  if (arguments_.size() == 2 && arguments_[0] == "man")
    text = ManualPage(*app_.get_subcommand(arguments_[1]), StatusesOf(arguments_[1]));
  if (arguments_.size() == 1 && arguments_[0] == "commands")
    for (const CLI::App* const command :
         app_.get_subcommands([](const CLI::App* one) { return !one->get_group().empty(); }))
      text += command->get_name() + '\n';
  if (text.empty()) throw ToolError(Status::Usage, "generate commands, man COMMAND, or completion SHELL");
  std::fputs(text.c_str(), stdout);
  return Status::Ok;
}

}  // namespace vorlix::tool
