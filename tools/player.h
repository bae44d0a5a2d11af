// Runs the statements of a script.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/call.h"
#include "tools/scope.h"
#include "tools/script.h"
#include "tools/standins.h"
#include "tools/values.h"

namespace vorlix::tool {

struct PlayOptions {
  bool quiet = false;       // prints only what the script prints by itself
  bool keep_going = false;  // reports a line that fails on standard error, and goes on with the next
  bool is_dialog = false;  // of the shell: a code is no failure, XBUFs appear item by item, and what was played is kept
};

/// The server of a script: how it is called, for the script or by the player itself, and what it told of the failures
/// in the last call (see Session).
struct Calls {
  host::Caller place;
  host::Caller ask = place;
  std::function<std::string()> reasons = [] { return std::string(); };
  std::function<void(const std::string&)> set_clock = {};  // null: the server goes by the system's clock
  std::function<std::string(std::string_view)> to_outside = [](std::string_view text) { return std::string(text); };
};

class Player {
 public:
  /// `name` is the script's name in messages. What is printed on standard output is a script again, which expects what
  /// came back; what the numbers mean, and what the script prints by itself, are comments in it. Quiet: only what the
  /// script prints by itself, as it is.
  Player(Calls calls, std::string_view name, const PlayOptions& options = {});

  /// For a script that came with files, which lie in `unpacked`: that is $here, and all that the script reaches besides
  /// $tmp.
  void Confine(const std::string& unpacked);

  /// `$1`, `$2` and so on.
  void SetArguments(const std::vector<std::string>& arguments);

  /// Runs the statements in order. Throws ToolError with the place of the first one that fails; when it keeps going, at
  /// the end with the number of those that failed.
  void Play(const std::vector<Statement>& statements);

  /// Runs one statement. Throws ToolError, without a place.
  void Execute(const Statement& statement);

  Scope& Values() { return scope_; }

  /// Of a dialog: what was printed, without colours.
  std::string TakePlayed() { return std::exchange(played_, {}); }

 private:
  // Runs a statement; when it fails and the player keeps going, counts it.
  void Run(const Statement& statement);
  void RunCall(const Statement& statement);
  void RunPlace(const Statement& statement);
  void RunEach(const Statement& statement);
  // Places a call whose line is `line`, keeps and prints what came back.
  void PlaceCall(const Statement& statement, std::string line, std::string_view name, const FunctionInfo& function,
                 std::vector<host::Arg> args);
  void RunFile(const Statement& statement);
  void RunClock(const Statement& statement);
  void RunServer(const Statement& statement);
  void RunCheck(const Statement& statement);
  void RunXbuf(const Statement& statement);
  void RunFetch(const Statement& statement);
  void RunEcho(const Statement& statement);

  // A word of the statement with its values in place.
  std::string Text(const Statement& statement, size_t word) { return scope_.Expand(statement.words.at(word)); }
  void SetValue(const std::string& name, const std::string& text);
  void ReadValue(const std::string& name, const std::string& path);
  void Write(const std::string& path, const std::string& text);

  // Keeps the code of a call; unless the statement says what code it expects, or it is the one that ends the loop,
  // anything but 0 fails.
  void KeepCode(const Statement& statement, const FunctionInfo& function, int32_t code);
  bool Meets(const Condition& condition);
  void Expect(const std::vector<Condition>& conditions);
  std::string Unmet(const Condition& condition);

  // A text as a word of the script that is printed: in quotes when it has to be, or `as_value`.
  std::string WithNames(std::string text) const;
  std::string Shown(const std::string& text, bool as_value = false) const;
  std::string GivenWord(const Given& given) const;
  std::string Outcome(const Value& value) const;
  void ShowMore(const std::vector<Value>& values);

  // What the last call answered, in words.
  std::string Answer() const;
  // What the server told of the last call, and what to change: lines that begin with two blanks and have no end.
  std::string Why() const;
  // Says so when a call that has not failed brought nothing. Throws ToolError when that is a file that was not
  // changed, and the statement expects nothing.
  void TellOfNothing(const Statement& statement) const;
  void KeepName(host::Arg& arg) const;
  // Throws ToolError (Usage) for a file that the script may not reach.
  void CheckReach(const std::string& path) const;
  // Keeps why a file could not be had, where the script goes on without a word about it: later failures follow from
  // it.
  void NoteRefusedFile(const Statement& statement);
  void PrintLine(const std::string& line, const std::string& comment = "");
  void PrintOwn(const std::string& lines);

  Calls calls_;
  std::string name_;
  PlayOptions options_;
  size_t failed_ = 0;                     // statements, when it keeps going
  int line_ = 0;                          // of the statement that runs
  const FunctionInfo* called_ = nullptr;  // the function of the last call
  std::string unknown_name_;              // of one that "place" calls and nobody knows
  FunctionInfo unknown_;
  host::Result result_;  // and what came of it
  // The last call that a file was refused in, where that is no failure of its line.
  struct RefusedFile {
    std::string_view family;  // of its function, as "dict_"; empty when all files were there
    std::string told;         // the line, and why
  };
  RefusedFile refused_file_;
  Scope scope_;
  StandIns stand_ins_;
  std::string unpacked_;  // the directory of an archive; empty when the script comes from none
  std::string played_;
};

}  // namespace vorlix::tool
