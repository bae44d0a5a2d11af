#include "tools/session.h"

#include <chrono>

namespace vorlix::tool {

std::unique_ptr<host::Server> StartServer(const Options& options) {
  host::ServerOptions server_options;
  server_options.program = options.server;
  server_options.segment_size = size_t{16} << 20;
  server_options.timeout = std::chrono::milliseconds(static_cast<int64_t>(options.timeout * 1000));
  // The other variables would come before LANG.
  if (!options.language.empty())
    server_options.environment = {{"LANG", options.language}, {"ZENDLANG", {}}, {"LC_COLLATE", {}}, {"LC_CTYPE", {}}};
  auto server = std::make_unique<host::Server>(server_options);
  if (!options.flags.empty()) server->Call("dll_SetDebugFlags", {host::Text(options.flags), host::Text("")});
  if (options.trace) server->Call("dll_Debug", {host::Int(*options.trace)});
  return server;
}

}  // namespace vorlix::tool
