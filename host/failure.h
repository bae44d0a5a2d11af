// What a host is told when its server cannot be reached.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace vorlix::host {

/// How a process ended.
struct Ending {
  int exit_status = -1;  // -1 when a signal ended it, or when the program's own SIGCHLD handling took the status away
  int signal = 0;        // the signal that ended it, 0 for none

  /// "exit status 2", "signal 9 (Killed)" or "unknown status".
  std::string Text() const;

  bool operator==(const Ending&) const = default;
};

enum class Failure {
  NoServer,     // the server program was not found or could not be started
  Timeout,      // no answer in time; the answer may still come
  Interrupted,  // the wait was given up; the answer may still come
  Died,         // the server has ended
  Busy,         // another thread, or the process that forked this one, has the server
};

/// Every failure to reach the server. what() is a sentence for people; of a server that has ended it says how, and with
/// which last words on captured standard error.
class ServerError : public std::runtime_error {
 public:
  /// All but Died.
  ServerError(Failure failure, const std::string& message) : runtime_error(message), failure_(failure) {}
  /// Died.
  ServerError(const Ending& ending, const std::string& standard_error);

  Failure Kind() const { return failure_; }
  /// For Died: how the server ended.
  const std::optional<Ending>& HowEnded() const { return ending_; }
  /// For Died, when standard error was captured: what the server wrote and nobody has taken yet.
  const std::string& StandardErrorText() const { return standard_error_; }

 private:
  Failure failure_;
  std::optional<Ending> ending_;
  std::string standard_error_;
};

}  // namespace vorlix::host
