// Runs the statements of a script.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/call.h"
#include "tools/scope.h"
#include "tools/script.h"

namespace vorlix::tool {

struct PlayOptions {
  bool quiet = false;       // prints only what the script prints by itself
  bool keep_going = false;  // reports a line that fails on standard error, and goes on with the next
};

class Player {
 public:
  /// Every call is made by `call`. `name` is the script's name in messages. Standard output gets what the script prints
  /// by itself and, unless quiet, its comments and every call as a line of a script that expects what came back.
  Player(host::Caller call, std::string_view name, const PlayOptions& options = {});

  /// Runs the statements in order. Throws ToolError with the place of the first one that fails; when it keeps going, at
  /// the end with the number of those that failed.
  void Play(const std::vector<Statement>& statements);

 private:
  /// Runs a statement; when it fails and the player keeps going, counts it.
  void Run(const Statement& statement);
  void Execute(const Statement& statement);
  void RunCall(const Statement& statement);
  void RunEach(const Statement& statement);
  void RunCheck(const Statement& statement);
  void RunXbuf(const Statement& statement);
  void RunFetch(const Statement& statement);
  void RunEcho(const Statement& statement);

  /// A word of the statement with its values in place.
  std::string Text(const Statement& statement, size_t word) { return scope_.Expand(statement.words.at(word)); }
  /// Keeps the code of a call; unless the statement says what code it expects, or it is the one that ends the loop,
  /// anything but 0 fails.
  void KeepCode(const Statement& statement, std::string_view function, int32_t code);
  bool Meets(const Condition& condition);
  void Expect(const std::vector<Condition>& conditions);
  void PrintLine(const std::string& line) const;

  host::Caller call_;
  std::string name_;
  PlayOptions options_;
  size_t failed_ = 0;  // statements, when it keeps going
  int line_ = 0;       // of the statement that runs
  size_t depth_ = 0;   // loops around it
  Scope scope_;
};

}  // namespace vorlix::tool
