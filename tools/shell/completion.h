// What can follow in a line of the shell: functions, statements, values, files, and what is open in the server.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/call.h"
#include "tools/scope.h"

namespace vorlix::tool {

class Completion {
 public:
  /// Borrows the values. `ask` reaches the server. `commands` can begin a line, besides functions and statements.
  Completion(host::Caller ask, const Scope& values, std::vector<std::string> commands)
      : ask_(std::move(ask)), values_(values), commands_(std::move(commands)) {}

  /// The words that the last one of the text, which may be empty, can become.
  std::vector<std::string> Words(std::string_view text) const;

  /// The argument that comes next, as "plen:integer", and those behind it; before them, where there is room for it in
  /// so many columns, what the next one is.
  static std::string NextArguments(std::string_view text, size_t columns);

 private:
  std::vector<std::string> FirstWords() const;
  std::vector<std::string> Candidates(const std::vector<std::string>& before, std::string_view word) const;

  host::Caller ask_;
  const Scope& values_;
  std::vector<std::string> commands_;
};

}  // namespace vorlix::tool
