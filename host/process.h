// The server as a process: starting, waiting, ending, and what it wrote to standard error.
//
// A server sends SIGUSR2 to this process with each answer. The library does not wait for the signal (see
// Block::AwaitResult), so that no thread can take one that is meant for another. From the first Process on, until the
// last one is destroyed, SIGUSR2 is ignored, for it would end the program; then it is as it was. Where the program has
// a handler of its own, that stays, and is run for each answer. No handler is installed, no mask changed, no thread
// started.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/descriptor.h"
#include "host/failure.h"
#include "host/owner.h"

namespace vorlix::host {

using Clock = std::chrono::steady_clock;

/// Variables that the server's environment has (or, for no value, has not), unlike this program's. Of two changes of
/// one variable the later holds.
using EnvironmentChanges = std::vector<std::pair<std::string, std::optional<std::string>>>;

/// Where the server's standard error goes: to this program's, or into memory until it is taken.
enum class StandardError { Inherit, Capture };

/// The path of the program `vorlix.dll`: beside the running program, in ../libexec from there, or on the PATH. Throws
/// ServerError (NoServer) when it is in none of them.
std::string FindServerProgram();

/// Keeps SIGUSR2 from ending the program while one of these lives.
class AnswersIgnored {
 public:
  AnswersIgnored();
  ~AnswersIgnored();
  AnswersIgnored(const AnswersIgnored&) = delete;
  AnswersIgnored& operator=(const AnswersIgnored&) = delete;
};

/// One server process.
///
/// It starts with all signals at their defaults and with SIGUSR2 and SIGTERM blocked: a call or an end that comes
/// before the server waits for signals stays pending until then. A host that crashes leaves no server behind: the
/// server itself notices within two seconds that it has been left alone (see docs/protocol.md).
///
/// Any thread may use it, one at a time.
class Process {
 public:
  /// Starts the program at the path `program`. Throws ServerError (NoServer) when it cannot be executed, and
  /// std::system_error when the system has no process or descriptor left.
  Process(const std::string& program, const std::vector<std::string>& args, const EnvironmentChanges& changes = {},
          StandardError standard_error = StandardError::Inherit);
  /// Ends the process, in its owner. In a child made by fork it only lets go.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t Pid() const { return pid_; }

  /// Whose it is; all below is for the owner.
  Owner& OwnerOf() { return owner_; }

  /// Sends a signal; nothing happens when the process has ended.
  void Signal(int signal);

  /// To be called again and again while an answer is awaited. Takes captured standard error, so that the server never
  /// stands at a full pipe, and notices the end of the process, if it is `now` time for that; says when it is the next
  /// time.
  Clock::time_point Watch(Clock::time_point now);

  /// Waits for the end; false when it has not come by the deadline. Captured standard error is read meanwhile.
  bool AwaitEnd(Clock::time_point deadline);

  /// How the process ended; none while it is not known to have.
  const std::optional<Ending>& HowEnded() const { return ending_; }

  /// Sends SIGTERM and waits for the end; after `patience` sends SIGKILL. Says how it ended; a further call says the
  /// same again. The status of one that another process has started is unknown.
  Ending End(std::chrono::milliseconds patience = std::chrono::seconds(5));

  /// Hands out the captured standard error that has come since the last call.
  std::string TakeStandardError();
  /// The same without taking it.
  const std::string& PendingStandardError() const { return captured_; }

 private:
  void Start(const std::string& program, const std::vector<std::string>& args, const EnvironmentChanges& changes,
             int error_end);
  // Takes standard error and the end of the process, waiting for one of them until the deadline.
  void LookAround(Clock::time_point deadline);
  bool ReadStandardError();
  void Reap();

  AnswersIgnored ignored_;  // first, so that it is released when the server is gone
  Owner owner_;
  pid_t pid_ = -1;
  Descriptor pidfd_;
  Descriptor error_output_;  // our end of the pipe of captured standard error
  std::string captured_;
  Clock::time_point next_look_;  // while an answer is awaited
  std::optional<Ending> ending_;
};

}  // namespace vorlix::host
