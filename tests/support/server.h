// The server that end-to-end tests start.
#pragma once

#include <optional>

#include "host/server.h"

namespace vorlix::test {

/// The server program under test, in the language "C" whatever the environment says, with its standard error captured.
inline host::ServerOptions TestServer() {
  host::ServerOptions options;
  options.program = VORLIX_SERVER;
  options.environment = {
      {"ZENDLANG", std::nullopt}, {"LANG", "C"}, {"LC_COLLATE", std::nullopt}, {"LC_CTYPE", std::nullopt}};
  options.standard_error = host::StandardError::Capture;
  return options;
}

}  // namespace vorlix::test
