// The server of a subcommand, and what it says of itself on standard error.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/server.h"
#include "tools/encoding.h"
#include "tools/scope.h"

namespace vorlix::tool {

/// What all subcommands that start a server are told on the command line.
struct Options {
  std::string server;                  // the program; empty: the one that the client library finds
  std::string language;                // empty: as the environment says
  host::EnvironmentChanges variables;  // of the language, where it is not given: what a script says of them
  double timeout = 10;                 // seconds for each answer
  int segment_megabytes = 16;
  bool has_clock = false;    // the server goes by what SetClock says
  std::optional<int> trace;  // level of the call trace
  std::string flags;         // levels of the category trace
  std::string encoding;      // of the texts here; empty: see EncodingFor
};

/// The names of all locales of the system, and of those in LOCPATH.
std::vector<std::string> InstalledLocales();

/// Throws ToolError (Usage), with those that there are, when the system does not have this locale.
void RequireLanguage(const std::string& language);

/// Between the texts of this program and the server's language. Where no encoding was asked for, that of the terminal
/// if `by_default`, else texts stay as they are; and they do where one of the two is ASCII alone, for that leaves all
/// else open.
Encoding EncodingFor(const Options& options, bool by_default);

/// A server. What it writes comes on this program's standard error, behind each call. Unless somebody asks for a
/// category trace, the failures in it (level 1) are kept instead, to be told of a call that fails.
class Session {
 public:
  /// Throws as host::Server does, and ToolError (Usage) when the system does not have the language.
  /// Of texts that people type it says once what characters beyond ASCII are in UTF-8.
  explicit Session(const Options& options, bool is_typed = false);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Throws as host::Server::Call does.
  host::Result Call(std::string_view function, const std::vector<host::Arg>& args);

  /// A call of this program's own, which changes nothing in the server: its traces are dropped, and Reasons stays. None
  /// is placed, and the code is -1, while the server writes its traces to a file.
  host::Result Ask(std::string_view function, const std::vector<host::Arg>& args);

  /// The failures that the server told of in the last call, each in a line that begins with two blanks and has no end:
  /// "\n  D1: dict_MapID() failed: ...".
  const std::string& Reasons() const { return reasons_; }

  /// Gives up the category trace that somebody asked for.
  void KeepFailures();

  /// Sets the clock of a server that has one of its own, as "2026-11-23 22:07:57". Throws ToolError (Usage) when that
  /// is no time.
  void SetClock(const std::string& time);

  host::Server& Server() { return server_; }

 private:
  void TellOfRevision();
  void TellOfBytes(const std::vector<host::Arg>& args);
  host::Result Place(std::string_view function, const std::vector<host::Arg>& args);
  void PassOn(const std::string& written);

  ScratchDirectory scratch_;  // of the clock
  host::Server server_;
  bool keeps_failures_;
  bool traces_to_file_ = false;
  bool counts_bytes_;  // of characters beyond ASCII, and nobody was told yet
  std::string reasons_;
};

}  // namespace vorlix::tool
