// `vorlix shell`. A line is one of a script, or a command that begins with a point. What is wrong is told, and the next
// line can be typed; a call that answers with a code is none of that.
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>

#include "tools/commands.h"
#include "tools/ending.h"
#include "tools/files.h"
#include "tools/nearest.h"
#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/shell/completion.h"
#include "tools/shell/editor.h"
#include "tools/tell.h"

namespace vorlix::tool {
namespace {

constexpr const char* PROMPT = "vorlix> ";
constexpr const char* PROMPT_INSIDE = "   ...> ";
constexpr std::string_view NAME = "";  // a mistake is in the line that was just typed

class Shell {
 public:
  explicit Shell(const Options& options)
      : options_(options),
        encoding_(EncodingFor(options, true)),
        session_(std::make_unique<Session>(options, true)),
        player_({.place = [this](std::string_view name, const auto& args) { return session_->Call(name, args); },
                 .ask = [this](std::string_view name, const auto& args) { return session_->Ask(name, args); },
                 .reasons = [this] { return session_->Reasons(); },
                 .to_outside = [this](std::string_view text) { return encoding_.ToOutside(text); }},
                NAME, {.quiet = false, .keep_going = false, .is_dialog = true}),
        completion_([this](std::string_view name, const auto& args) { return session_->Ask(name, args); },
                    player_.Values(), CommandNames()) {}

  Status Run() {
    if (isatty(STDIN_FILENO) == 0) return RunPiped();
    Print("vorlix " VORLIX_VERSION ": a line is a call; Tab completes it, .help explains, Ctrl-D ends");
    Editor editor(
        {.complete = [this](std::string_view text) { return Complete(text); }, .next = &Completion::NextArguments},
        HistoryPath());
    std::string line;
    while (!is_over_ && EndingSignal() == 0) {
      switch (editor.ReadLine(pending_.empty() ? PROMPT : PROMPT_INSIDE, line)) {
        case Editor::Read::End:
          if (EndingSignal() != SIGINT) is_over_ = true;
          break;
        case Editor::Read::GivenUp: GiveUp(); break;
        case Editor::Read::Line: Try(line); break;
      }
      if (EndingSignal() == SIGINT) ForgetEndingSignal();  // it was for the call
    }
    std::puts("");
    return Status::Ok;
  }

 private:
  // Without a terminal: the first line that is wrong makes the status.
  Status RunPiped() {
    for (std::string line; !is_over_ && EndingSignal() == 0 && std::getline(std::cin, line);) Try(line);
    if (depth_ > 0) Refuse("a loop has no 'end'");
    return status_;
  }

  void Try(const std::string& line) {
    try {
      Take(line);
    } catch (const std::exception& error) {
      const Status status = StatusOf(error);
      const bool has_no_server = status == Status::Died || status == Status::Timeout;
      Tell(std::string(error.what()) + (has_no_server ? "; .restart starts another server" : "") +
           (status == Status::Timeout ? ", and vorlix --timeout SECONDS shell waits longer" : ""));
      if (status_ == Status::Ok) status_ = status;
    }
  }

  // Lines up to the end of a loop are one.
  void Take(const std::string& line) {
    const std::vector<Word> words = SplitWords(encoding_.ToServer(line));
    if (pending_.empty() && !words.empty() && words[0].Bare().starts_with('.')) return Obey(words);
    for (const std::string_view word : {"help", "quit", "exit", "?"})
      if (words.size() == 1 && words[0].Is(word))
        Refuse("a line is a call; .help explains, and .quit or Ctrl-D ends the shell");
    const bool begins = !words.empty() && words[0].Is("each");
    const bool ends = !words.empty() && words[0].Is("end");
    if (begins || (depth_ > 0 && !ends))  // a mistake in it is told at once, and the loop goes on without the line
      static_cast<void>(ParseScript(encoding_.ToServer(line) + (begins ? "\nend\n" : "\n"), NAME));
    depth_ += begins ? 1 : 0;
    depth_ -= ends ? 1 : 0;
    pending_ += encoding_.ToServer(line) + '\n';
    if (depth_ > 0) return;
    depth_ = 0;
    const std::vector<Statement> statements = ParseScript(std::exchange(pending_, {}), NAME);
    Execute(statements);
  }

  // What was played is kept in the encoding that it had.
  void Execute(const std::vector<Statement>& statements) {
    const auto keep = [this] { played_ += encoding_.ToServer(player_.TakePlayed()); };
    try {
      for (const Statement& statement : statements)
        if (statement.kind != Kind::Comment) player_.Execute(statement);
    } catch (...) {
      keep();
      throw;
    }
    keep();
  }

  void GiveUp() {
    std::puts("^C");
    pending_.clear();
    depth_ = 0;
  }

  std::vector<std::string> Complete(std::string_view text) {
    try {
      return completion_.Words(text);
    } catch (const std::exception&) {
      return {};  // a server that does not answer now
    }
  }

  // ---- Commands -----------------------------------------------------------------------------------------------------

  struct Command {
    std::string_view name;
    std::string_view argument;  // as people are told of it; empty for none, in [] where it can be left out
    std::string_view sentence;
    void (Shell::*run)(const std::string& argument);
  };
  static const std::array<Command, 8> COMMANDS;

  static std::vector<std::string> CommandNames() {
    std::vector<std::string> names;
    for (const Command& command : COMMANDS) names.emplace_back(command.name);
    return names;
  }

  void Obey(const std::vector<Word>& words) {
    const Command& command = FindCommand(words[0].Bare());
    std::string argument;
    for (size_t k = 1; k < words.size(); ++k) argument += (k == 1 ? "" : " ") + player_.Values().Expand(words[k]);
    if (!argument.empty() && command.argument.empty()) Refuse(std::string(command.name) + " takes nothing behind it");
    if (argument.empty() && !command.argument.empty() && !command.argument.starts_with('['))
      Refuse("write it as: " + std::string(command.name) + ' ' + std::string(command.argument));
    (this->*command.run)(argument);
  }

  static const Command& FindCommand(std::string_view name) {
    std::vector<std::string_view> names;
    for (const Command& command : COMMANDS) {
      if (command.name == name) return command;
      names.push_back(command.name);
    }
    const std::string_view near = Nearest(name, names);
    const std::string hint = near.empty() ? "; .help lists them" : "; did you mean " + std::string(near) + "?";
    Refuse("there is no command " + std::string(name) + hint);
  }

  void Quit(const std::string&) { is_over_ = true; }

  static void Print(std::string_view text) { std::printf("%s\n", Fold(text, TerminalWidth()).c_str()); }

  // A word and what it does, in two columns.
  static void PrintRow(const std::string& word, std::string_view sentence) {
    constexpr size_t WIDTH = 31;
    Print("  " + word + std::string(WIDTH - std::min(WIDTH - 2, word.size()), ' ') + std::string(sentence));
  }

  void Help(const std::string& name) {
    const bool is_command = name.starts_with('.');
    if (const StatementForm* const statement = FindStatement(name)) {
      Print(statement->form);
      Print("  " + std::string(statement->sentence));
      return;
    }
    if (!name.empty() && !is_command) {
      ListFunctions(name, ListForm::Shell);
      return;
    }
    const std::string_view wanted = is_command ? FindCommand(name).name : "";
    for (const Command& command : COMMANDS)
      if (wanted.empty() || command.name == wanted)
        PrintRow(std::string(command.name) + ' ' + std::string(command.argument), command.sentence);
    if (is_command) return;
    Print("All other lines are those of scripts: calls, FUNCTION ARGUMENT..., and");
    for (const StatementForm& statement : StatementForms()) PrintRow(std::string(statement.name), statement.sentence);
  }

  void ChangeLanguage(const std::string& locale) {
    RequireLanguage(locale);
    Place("dll_SetLocale " + QuoteWord("LANG=" + locale));
    if (player_.Values().Find("code") != "0") return;
    options_.language = locale;
    encoding_ = EncodingFor(options_, true);
  }

  void Place(const std::string& line) { Execute(ParseScript(line, NAME)); }

  void OpenModel(const std::string& path) {
    Place("dict_OpenModel " + QuoteWord(std::filesystem::path(path).stem().string()) + ' ' + QuoteWord(path));
  }

  // The highest level is that of the dialogs which "the highest one" stands for.
  void Open(const std::string& path) {
    const std::string name = std::filesystem::path(path).stem().string();
    Place("dict_Open " + QuoteWord(name) + ' ' + QuoteWord(path) + ' ' + std::to_string(++level_));
    if (player_.Values().Find("rc_p") != "0" || player_.Values().Find("code") != "0") --level_;
  }

  // To look, and not for a script.
  void Trace(const std::string& what) {
    const size_t before = played_.size();
    SetTrace(what);
    played_.resize(before);
  }

  void SetTrace(const std::string& what) {
    if (what == "off") {
      Place("dll_Debug 0");
      session_->KeepFailures();
    } else if (ReadWhole<int32_t>(what)) {
      Place("dll_Debug " + what);
    } else if (what.find_first_not_of("*ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789") != std::string::npos) {
      Refuse("write a level as 2, levels of categories as D3F1, or off");
    } else {
      Place("dll_SetDebugFlags " + QuoteWord(what) + " \"\"");
    }
  }

  // The bytes that went to the server, in its language: so the script says the same wherever it runs. The file has its
  // name on this side.
  void Save(const std::string& name) {
    const std::string path = encoding_.ToOutside(name);
    std::error_code ignored;
    if (path != saved_ && std::filesystem::exists(path, ignored) && !std::filesystem::is_empty(path, ignored))
      Refuse(path + " is there already; choose another name, or remove it");
    const std::string head = language_.empty() ? "" : "server LANG=" + QuoteWord(language_) + '\n';
    WriteFile(path, head + played_);
    saved_ = path;
    Print("written: " + Printable(path));
  }

  // All that was open or set is gone with the old one.
  void Restart(const std::string&) {
    session_ = std::make_unique<Session>(options_, true);  // the old one stays where there is no other
    played_.clear();
    language_ = options_.language;
    level_ = 0;
    std::puts("a new server: nothing is open in it");
  }

  Options options_;  // with the language of now
  Encoding encoding_;
  std::unique_ptr<Session> session_;
  Player player_;
  Completion completion_;
  std::string language_ = options_.language;  // that the server began with
  std::string played_;                        // lines of a script, as the server got their texts
  std::string saved_;                         // the path of a script of this shell
  std::string pending_;                       // lines of a loop that has not ended
  int depth_ = 0;
  int level_ = 0;
  bool is_over_ = false;
  Status status_ = Status::Ok;
};

const std::array<Shell::Command, 8> Shell::COMMANDS = {{
    {".open", "FILE", "Opens a dictionary on the next dialog level, under the name of its file", &Shell::Open},
    {".model", "FILE", "Opens a model dictionary, from which those opened later inherit", &Shell::OpenModel},
    {".trace", "LEVEL | FLAGS | off", "Shows calls (2), or what goes on inside (D3F1); off again", &Shell::Trace},
    {".lang", "LOCALE", "Changes the language of the server", &Shell::ChangeLanguage},
    {".save", "FILE", "Writes what was called, and what came back, as a script", &Shell::Save},
    {".restart", "", "Starts a new server in the place of one that has ended, or does not answer", &Shell::Restart},
    {".help", "[NAME]", "Tells about a function or a statement, or this", &Shell::Help},
    {".quit", "", "Ends the shell, as Ctrl-D does", &Shell::Quit},
}};

}  // namespace

Status RunShell(const Options& options) { return Shell(options).Run(); }

}  // namespace vorlix::tool
