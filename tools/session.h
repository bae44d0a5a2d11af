// The options that every subcommand with a server shares, and the server started by them.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/server.h"

namespace vorlix::tool {

struct Options {
  std::string server;        // path of vorlix.dll; empty: where it is looked for by itself
  std::string language;      // LANG of the server; empty: what this program's environment says
  double timeout = 10;       // seconds for each call
  std::optional<int> trace;  // level of the call trace
  std::string flags;         // levels of the category trace, as D3F1
};

/// Starts a server whose standard error is this program's and sets its traces. Throws host::ServerError.
std::unique_ptr<host::Server> StartServer(const Options& options);

}  // namespace vorlix::tool
