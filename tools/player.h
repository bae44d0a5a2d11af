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

class Player {
 public:
  /// Every call is made by `call`. `name` is the script's name in messages. Standard output gets what the script prints
  /// by itself and, unless `quiet`, its comments and every call as a line of a script that expects what came back.
  Player(host::Caller call, std::string_view name, bool quiet);

  /// Runs the statements in order. Throws ToolError with the place of the first one that fails.
  void Play(const std::vector<Statement>& statements);

 private:
  void Run(const Statement& statement);
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
  bool quiet_;
  int line_ = 0;      // of the statement that runs
  size_t depth_ = 0;  // loops around it
  Scope scope_;
};

}  // namespace vorlix::tool
