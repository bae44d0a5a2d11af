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

Status RunScript(const Options& options, const std::string& path, const std::vector<std::string>& arguments,
                 const PlayOptions& play) {
  const Encoding encoding = EncodingFor(options, false);
  const std::vector<Statement> statements = ParseScript(encoding.ToServer(ReadScript(path)), path);
  Session session(options);
  Player player({.place = std::bind_front(&Session::Call, &session),
                 .reasons = [&] { return session.Reasons(); },
                 .to_outside = [&](std::string_view text) { return encoding.ToOutside(text); }},
                path, play);
  std::vector<std::string> words;
  for (const std::string& argument : arguments) words.push_back(encoding.ToServer(argument));
  player.SetArguments(words);
  player.Play(statements);
  return Status::Ok;
}

}  // namespace vorlix::tool
