// The program `vorlix`: calls functions of the server from a command line and runs scripts of calls.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>

#include "tools/commands.h"

namespace vorlix::tool {
namespace {

constexpr const char* EXIT_STATUSES =
    "Exit status: 0 for result code 0, 1 for another result code or an expectation that is not met, 2 for wrong\n"
    "usage, 3 no server, 4 no answer in time, 5 the server ended.";

// The command line as options and subcommands, and what they were given.
class CommandLine {
 public:
  CommandLine() {
    app_.set_version_flag("--version", "vorlix " VORLIX_VERSION, "Print the version");
    app_.footer(EXIT_STATUSES);
    app_.require_subcommand(1);
    for (CLI::App* const app : {&app_, call_, run_}) AddServerOptions(*app);
    call_->add_flag("--json", json_, "Print one JSON object; texts that are not UTF-8 become {\"hex\": \"...\"}");
    call_->prefix_command()->allow_extras();  // from NAME on, nothing is an option
    run_->add_flag("-q,--quiet", play_.quiet, "Print only what the script prints by itself");
    run_->add_flag("-k,--keep-going", play_.keep_going, "Report every line that fails, not the first alone");
    run_->add_option("FILE", path_, "The script, or - for standard input")->required();
    functions_->add_option("NAME", function_, "The function to describe");
  }

  void Parse(int argc, char** argv) {
    app_.parse(argc, argv);
    // A range check lets it pass.
    if (std::isnan(options_.timeout)) throw CLI::ValidationError("--timeout", "nan is no number of seconds");
    if (call_->parsed() && call_->remaining().empty()) throw CLI::RequiredError("NAME");
  }

  Status Execute() const {
    if (call_->parsed()) return CallFunction(options_, call_->remaining(), json_);
    if (run_->parsed()) return RunScript(options_, path_, play_);
    return ListFunctions(function_);
  }

  // Prints help, version or what is wrong.
  Status Explain(const CLI::ParseError& error) const {
    if (app_.exit(error) == 0) return Status::Ok;
    for (const std::string& word : app_.remaining())
      for (const CLI::App* const owner : {call_, run_})
        if (owner->get_option_no_throw(word) != nullptr)
          std::fprintf(stderr, "%s is an option of %s and stands behind it.\n", word.c_str(),
                       owner->get_name().c_str());
    return Status::Usage;
  }

 private:
  // The options that can stand before and behind a subcommand.
  void AddServerOptions(CLI::App& app) {
    app.add_option("--trace", options_.trace, "Level of the call trace on standard error, 1 to 3")->type_name("N");
    app.add_option("--flags", options_.flags, "Levels of the category trace on standard error, as D3F1 or *2")
        ->type_name("FLAGS");
    app.add_option("--server", options_.server, "The server program, when vorlix.dll is not found by itself")
        ->type_name("PATH");
    app.add_option("--lang", options_.language, "The language of the server, as de_DE")->type_name("LOCALE");
    app.add_option("--timeout", options_.timeout, "Seconds to wait for each answer, 10 by default")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 1e6).description(""));
  }

  Options options_;
  bool json_ = false;
  PlayOptions play_;
  std::string path_;
  std::string function_;
  CLI::App app_{"Calls the functions of the server."};
  CLI::App* call_ = app_.add_subcommand("call", "Run one function: call [OPTIONS] NAME ARGUMENT...");
  CLI::App* run_ = app_.add_subcommand("run", "Run a script of calls");
  CLI::App* functions_ = app_.add_subcommand("functions", "List all functions, or describe one");
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

}  // namespace
}  // namespace vorlix::tool

int main(int argc, char** argv) {
  try {
    return static_cast<int>(vorlix::tool::Main(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vorlix: %s\n", error.what());
    return static_cast<int>(vorlix::tool::StatusOf(error));
  }
}
