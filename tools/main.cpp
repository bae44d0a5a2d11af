// The program `vorlix`: calls functions of the server from a command line, a script or a shell.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "tools/buildid.h"
#include "tools/choices.h"
#include "tools/commands.h"
#include "tools/ending.h"
#include "tools/generate.h"
#include "tools/paint.h"
#include "tools/preview/preview.h"
#include "tools/quoting.h"
#include "tools/signature.h"
#include "tools/support/bundle.h"
#include "tools/support/doctor.h"
#include "tools/support/ps.h"
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

// The command line as options and subcommands, and what they were given.
class CommandLine {
 public:
  CommandLine() {
    app_.set_version_flag(
        "--version", [] { return "vorlix " VORLIX_VERSION ", build " + BuildId(); }, "Print the version");
    app_.footer(EXIT_STATUSES);
    app_.require_subcommand(0, 1);
    app_.failure_message(
        [](const CLI::App*, const CLI::Error& error) { return "vorlix: " + Printable(error.what()) + '\n'; });
    for (CLI::App* const app : {&app_, call_, run_, shell_, preview_, doctor_}) AddServerOptions(*app);
    for (CLI::App* const app : {&app_, call_, run_, shell_, functions_, check_, show_, preview_, doctor_})
      AddColour(*app);
    AddCommands();
  }

  void Parse(int argc, char** argv) {
    app_.parse(argc, argv);
    // A range check lets it pass.
    if (std::isnan(options_.timeout)) throw CLI::ValidationError("--timeout", "nan is no number of seconds");
    if (preview_->parsed()) ReadPort();
    if (call_->parsed() && call_->remaining().empty())
      throw CLI::ValidationError("call", "NAME is required, as in: vorlix call fmt_Num 1234.5 10 2 RT");
    if (call_->parsed() && call_->remaining()[0].starts_with('-')) throw CLI::ExtrasError("call", call_->remaining());
  }

  // What stands behind --serve is a port, or the next of the other words.
  void ReadPort() {
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

  Status Execute() const {
    ChooseColours(colours_ == "always" ? Colours::Always : colours_ == "never" ? Colours::Never : Colours::Auto);
    if (call_->parsed()) return CallFunction(options_, call_->remaining(), json_);
    if (run_->parsed()) return RunScript(options_, path_, arguments_, play_);
    if (shell_->parsed()) return RunShell(options_);
    if (functions_->parsed()) return ListFunctions(function_, json_);
    if (check_->parsed()) return CheckFiles(check_command_);
    if (show_->parsed()) return ShowField(show_command_);
    if (preview_->parsed()) return ShowPreview(options_, preview_command_);
    if (bundle_->parsed()) return BundleRecording(path_, bundle_to_);
    if (doctor_->parsed()) return ExamineMachine(options_, json_);
    if (ps_->parsed()) return ListServers(json_);
    if (lsp_->parsed()) return ServeEditor(check_command_.models, check_command_.language);
    if (help_->parsed()) return Help();
    if (generate_->parsed()) return Generate();
    if (isatty(STDIN_FILENO) == 0) throw ToolError(Status::Usage, "a command is required; vorlix help lists them");
    std::fputs(Fold(FIRST_STEPS, TerminalWidth()).c_str(), stdout);
    return Status::Ok;
  }

  // Prints help, version or what is wrong.
  Status Explain(const CLI::ParseError& error) const {
    const std::vector<CLI::App*> given = app_.get_subcommands();
    const bool wants_help = error.get_name() == "CallForHelp";
    if (wants_help && (!given.empty() || app_.remaining_size() == 0))
      return PrintHelp(given.empty() ? app_ : *given[0]);
    const bool is_extra = wants_help || error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    const std::string hint = is_extra ? HintForWords(app_, app_.remaining(true)) : "";
    if (!hint.empty()) {
      std::fprintf(stderr, "vorlix: %s\n", Printable(hint).c_str());
    } else if (app_.exit(error) == 0) {
      return Status::Ok;
    }
    return Status::Usage;
  }

 private:
  // The options that can stand before and behind a subcommand.
  void AddServerOptions(CLI::App& app) {
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
    app.add_option("--encoding", options_.encoding,
                   "The encoding of texts here, when the server's language has another")
        ->type_name("NAME");
    app.add_option("--segment", options_.segment_megabytes, "Megabytes that a call can have, 16 by default")
        ->type_name("MB")
        ->check(CLI::Range(1, 2000).description(""));
    app.add_option("--timeout", options_.timeout, "Seconds to wait for each answer, 10 by default")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 1e6).description(""));
  }

  void AddColour(CLI::App& app) {
    app.add_option("--color", colours_, "Colours: auto, always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember(ChoicesOf("WHEN")).description(""));
  }

  void AddCommands() {
    call_->add_flag("--json", json_, "Print one JSON object; texts that are not UTF-8 become {\"hex\": \"...\"}");
    call_->prefix_command()->allow_extras();  // from NAME on, nothing is an option
    call_->footer("Example: vorlix call fmt_Num 1234.5 10 2 RT");
    run_->add_flag("-q,--quiet", play_.quiet, "Print only what the script prints by itself");
    run_->add_flag("-k,--keep-going", play_.keep_going, "Report every line that fails, not the first alone");
    run_->add_option("FILE", path_, "The script, or - for standard input")->required();
    run_->add_option("ARGUMENT", arguments_, "What the script has as $1, $2 and so on");
    run_->footer("Example: echo 'fmt_Num $1 10 2 RT' | vorlix run - 1234.5");
    functions_->add_option("NAME", function_, "A function, or a word to search for");
    functions_->add_flag("--json", json_, "Print all about them as JSON");
    functions_->footer("Example: vorlix functions l_GetIdx");
    shell_->footer("Example: echo 'fmt_Num 1234.5 10 2 RT' | vorlix shell");
    AddCheck();
    AddShow();
    AddPreview();
    AddLsp();
    bundle_->add_option("RECORDING", path_, "What a server with VORLIX_RECORD has written")->required();
    bundle_->add_option("-o,--output", bundle_to_, "The archive, RECORDING.tar.gz by default")->type_name("FILE");
    bundle_->footer(
        "Example: cd \"$(mktemp -d)\"; VORLIX_RECORD=$PWD/my.vx vorlix call v_Set Name Meier; vorlix bundle my.vx");
    doctor_->add_flag("--json", json_, "Print an array of all findings");
    doctor_->footer("Example: vorlix doctor --lang de_DE");
    ps_->add_flag("--json", json_, "Print an array of all servers");
    ps_->footer("Example: vorlix ps");
    generate_->group("")->add_option("WHAT", arguments_);
    help_->add_option("COMMAND", function_, "The command");
    help_->footer("Example: vorlix help call");
  }

  void AddCheck() {
    CheckCommand& to = check_command_;
    check_->add_option(
        "FILE", to.files,
        "Dictionaries, model dictionaries and module files, directories of them, or - for standard input");
    check_->add_option("--model", to.models, "A model dictionary to inherit from; can be given again")
        ->type_name("FILE")
        ->allow_extra_args(false);
    check_->add_option("--ignore", to.ignore, "A finding that is not wanted, as VX620; can be given again")
        ->type_name("CODE")
        ->allow_extra_args(false);
    check_->add_option("--kind", to.kind, "dictionary, model or module, where the content does not tell")
        ->type_name("KIND")
        ->check(CLI::IsMember(ChoicesOf("KIND")).description(""));
    check_->add_option("--format", to.format, "text, json, sarif or github")
        ->type_name("FORMAT")
        ->check(CLI::IsMember(ChoicesOf("FORMAT")).description(""));
    check_->add_option("--lang", to.language, "The language of the server, whose formats fields get")
        ->type_name("LOCALE");
    check_->add_option("--explain", to.explain, "Print all about a finding")->type_name("CODE");
    check_->add_flag("--list", to.lists, "List all findings that there are");
    check_->add_flag("--fix", to.fixes, "Put right what can be put right safely");
    check_->add_flag("--diff", to.shows_difference, "Show what --fix would change");
    check_->footer("Example: vorlix check --explain VX201");
  }

  void AddLsp() {
    lsp_->add_option("--model", check_command_.models, "A model dictionary to inherit from; can be given again")
        ->type_name("FILE")
        ->allow_extra_args(false);
    lsp_->add_option("--lang", check_command_.language, "The language of the server, whose formats fields get")
        ->type_name("LOCALE");
    lsp_->footer("Example: vorlix lsp --lang C </dev/null");
  }

  void AddPreview() {
    PreviewCommand& to = preview_command_;
    preview_->add_option("FILE", to.file, "The dictionary");
    preview_->add_option("DIALOG", to.dialog, "The dialog, by its name or ID; all without it");
    preview_->add_option("--model", to.models, "A model dictionary to inherit from; can be given again")
        ->type_name("FILE")
        ->allow_extra_args(false);
    CLI::Option* const html = preview_->add_option("--html", to.html, "Write a page for a browser instead");
    html->type_name("FILE");
    preview_->add_option("--serve", serve_, "Serve a page to type into, on a port of this machine or a free one")
        ->type_name("PORT")
        ->expected(0, 1)
        ->excludes(html)
        ->default_str("0");
    preview_->footer(
        R"(Example: printf '[catalog]\nA=ORDER\n[a.n]\nPATH=n\nFTYP=N\nFLEN=9\n' >/tmp/my.dic; vorlix preview /tmp/my.dic)");
  }

  void AddShow() {
    ShowCommand& to = show_command_;
    show_->add_option("FILE", to.file, "The dictionary, or - for standard input")->required();
    show_->add_option("FIELD", to.field, "The field, as kd.name, or name where one dialog alone has it")->required();
    show_->add_option("--model", to.models, "A model dictionary to inherit from; can be given again")
        ->type_name("FILE")
        ->allow_extra_args(false);
    show_->add_option("--lang", to.language, "The language of the server")->type_name("LOCALE");
    show_->add_option("--value", to.value, "Tell what the field shows for a value")->type_name("VALUE");
    show_->add_option("--type", to.typed, "Tell what the field makes of a text that is typed")->type_name("TEXT");
    show_->footer(R"(Example: printf '[catalog]\nA=B\n[a.n]\nPATH=n\nFTYP=N\nFLEN=9\n' | vorlix show - n --type 12)");
  }

  Status Help() const {
    const std::vector<const CLI::App*> commands = app_.get_subcommands([](const CLI::App*) { return true; });
    const auto is_it = [&](const CLI::App* command) { return command->get_name() == function_; };
    const auto found = std::ranges::find_if(commands, is_it);
    if (function_.empty()) return PrintHelp(app_);
    if (found != commands.end()) return PrintHelp(**found);
    if (FindFunction(function_) != nullptr) return ListFunctions(function_, false);
    throw ToolError(Status::Usage, HintForCommand(app_, function_));
  }

  // For whoever packs the program: a manual page of each command, or the completions of a shell.
  Status Generate() const {
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

  static Status PrintHelp(const CLI::App& app) {
    std::fputs(HelpOf(app).c_str(), stdout);
    return Status::Ok;
  }

  Options options_;
  bool json_ = false;
  std::string colours_ = "auto";
  PlayOptions play_;
  std::string path_;
  std::vector<std::string> arguments_;
  std::string function_;
  CLI::App app_{"Calls the functions of the server."};
  CLI::App* call_ = app_.add_subcommand("call", "Run one function: call [OPTIONS] NAME ARGUMENT...");
  CLI::App* run_ = app_.add_subcommand("run", "Run a script of calls: run [OPTIONS] FILE ARGUMENT...");
  CLI::App* shell_ = app_.add_subcommand("shell", "Run calls line by line, in one server");
  CheckCommand check_command_;
  ShowCommand show_command_;
  PreviewCommand preview_command_;
  std::string serve_;
  CLI::App* preview_ = app_.add_subcommand("preview", "Draw the dialogs of a dictionary as forms, or as a page");
  CLI::App* show_ = app_.add_subcommand("show", "Show a field of a dictionary, and where its attributes come from");
  CLI::App* check_ = app_.add_subcommand("check", "Find what is wrong with dictionaries");
  CLI::App* lsp_ = app_.add_subcommand("lsp", "Check dictionaries in the editor, as a language server that it starts");
  std::string bundle_to_;
  CLI::App* bundle_ = app_.add_subcommand("bundle", "Pack a recording and the files that it names, to send");
  CLI::App* doctor_ = app_.add_subcommand("doctor", "Tell whether this machine can serve, and what to do");
  CLI::App* ps_ = app_.add_subcommand("ps", "List the servers that run");
  CLI::App* functions_ = app_.add_subcommand("functions", "List all functions, describe one, or search");
  CLI::App* generate_ = app_.add_subcommand("generate", "Make manual pages and completions");
  CLI::App* help_ = app_.add_subcommand("help", "Print this, or the help of a command");
};

Status Run(int argc, char** argv) {
  CommandLine line;
  try {
    line.Parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return line.Explain(error);
  }
  return line.Execute();
}

// A result that nobody can read, for the disk is full, is no success.
Status Main(int argc, char** argv) {
  const Status status = Run(argc, argv);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    throw ToolError(Status::OtherCode, "cannot write to standard output");
  return status;
}

// After a signal there is nothing to explain.
int Guard(int argc, char** argv) {
  try {
    return static_cast<int>(Main(argc, argv));
  } catch (const std::exception& error) {
    const bool was_late = StatusOf(error) == Status::Timeout;
    const std::string said =
        "vorlix: " + Printable(error.what()) + (was_late ? "; --timeout SECONDS waits longer" : "");
    if (EndingSignal() == 0) std::fprintf(stderr, "%s\n", Fold(said, TerminalWidth(STDERR_FILENO)).c_str());
    return static_cast<int>(StatusOf(error));
  }
}

}  // namespace
}  // namespace vorlix::tool

int main(int argc, char** argv) {
  using namespace vorlix::tool;
  NoteEndingSignals();
  const int status = Guard(argc, argv);
  return EndingSignal() != 0 ? 128 + EndingSignal() : status;
}
