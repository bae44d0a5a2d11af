// `vorlix run`.
#include <functional>

#include "tools/commands.h"
#include "tools/files.h"
#include "tools/player.h"
#include "tools/script.h"

namespace vorlix::tool {
namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";

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
  std::string script = encoding.ToServer(ReadScript(path));
  if (script.starts_with(BYTE_ORDER_MARK)) script.erase(0, BYTE_ORDER_MARK.size());
  const std::vector<Statement> statements = ParseScript(script, path);
  Session session(options);
  Player player({.place = std::bind_front(&Session::Call, &session),
                 .ask = std::bind_front(&Session::Ask, &session),
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
