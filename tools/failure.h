// How the program ends, and the one exception that carries a failure to its end.
#pragma once

#include <stdexcept>
#include <string>

namespace vorlix::tool {

/// The exit statuses of the program.
enum class Status {
  Ok = 0,         // every call answered as it should, normally with result code 0
  OtherCode = 1,  // another result code, an expectation of a script that was not met, or a file that failed
  Usage = 2,      // wrong words on the command line or in a script
  NoServer = 3,
  Timeout = 4,
  Died = 5,  // the server ended
};

/// A failure that ends the program; what() is for people.
class ToolError : public std::runtime_error {
 public:
  ToolError(Status status, const std::string& message) : runtime_error(message), status_(status) {}
  Status GetStatus() const { return status_; }

 private:
  Status status_;
};

/// Throws ToolError (Usage).
[[noreturn]] void Refuse(const std::string& message);

/// The exit status for a failure of whatever kind.
Status StatusOf(const std::exception& error) noexcept;

}  // namespace vorlix::tool
