// The command line of the program: its options and commands, and what they were given.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "tools/commands.h"
#include "tools/preview/preview.h"

namespace vorlix::tool {

class CommandLine {
 public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  /// Throws CLI::ParseError, for help as well.
  void Parse(int argc, char** argv);

  /// Runs the command that was given, or says what the program can do.
  Status Execute() const;

  /// Prints help, version or what is wrong.
  Status Explain(const CLI::ParseError& error) const;

 private:
  struct Command {
    CLI::App* app;
    std::function<Status()> run;
  };

  // Which of the options that several commands have a command has.
  enum class Takes { Nothing, Colour, ServerAndColour };

  CLI::App& Add(const char* name, const char* sentence, Takes takes, std::function<Status()> run);
  void AddServerOptions(CLI::App& app);
  void AddColour(CLI::App& app);
  void AddCall();
  void AddRun();
  void AddShell();
  void AddPreview();
  void AddShow();
  void AddCheck();
  void AddLsp();
  void AddBundle();
  void AddDoctor();
  void AddPs();
  void AddFunctions();
  void AddGenerate();
  void AddHelp();

  void ReadPort();
  Status Help() const;
  Status Generate() const;

  CLI::App app_{"Calls the functions of the server."};
  std::vector<Command> commands_;

  // What was given, to the command that was.
  Options options_;
  bool json_ = false;
  std::string colours_ = "auto";
  PlayOptions play_;
  std::string path_;
  std::vector<std::string> arguments_;
  std::string word_;
  std::string bundle_to_;
  std::string serve_;
  CheckCommand check_command_;
  ShowCommand show_command_;
  PreviewCommand preview_command_;
};

}  // namespace vorlix::tool
