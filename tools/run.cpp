// `vorlix run`.
#include <functional>

#include "tools/commands.h"
#include "tools/files.h"
#include "tools/player.h"
#include "tools/script.h"

namespace vorlix::tool {
namespace {

std::string ReadScript(const std::string& path) {
  try {
    return path == "-" ? ReadStandardInput() : ReadFile(path);
  } catch (const ToolError& error) {
    throw ToolError(Status::Usage, error.what());
  }
}

}  // namespace

Status RunScript(const Options& options, const std::string& path, const PlayOptions& play) {
  const std::vector<Statement> statements = ParseScript(ReadScript(path), path);
  const auto server = StartServer(options);
  Player(std::bind_front(&host::Server::Call, server.get()), path, play).Play(statements);
  return Status::Ok;
}

}  // namespace vorlix::tool
