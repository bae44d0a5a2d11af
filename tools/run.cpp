// `vorlix run`.
#include <algorithm>
#include <functional>
#include <utility>

#include "tools/commands.h"
#include "tools/files.h"
#include "tools/player.h"
#include "tools/script.h"
#include "tools/support/archive.h"
#include "tools/support/bundle.h"

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

// The variables of the language as the script's first line has them, if it is a "server"; those that it leaves out are
// not set.
host::EnvironmentChanges VariablesOf(const std::vector<Statement>& statements) {
  const auto server = std::ranges::find(statements, Kind::Server, &Statement::kind);
  if (server == statements.end()) return {};
  host::EnvironmentChanges variables = {{"ZENDLANG", {}}, {"LANG", {}}, {"LC_COLLATE", {}}, {"LC_CTYPE", {}}};
  Scope no_values;
  for (Word word : server->words) {
    const std::string name = ParseVariable(word);
    std::ranges::find(variables, name, &host::EnvironmentChanges::value_type::first)->second = no_values.Expand(word);
  }
  return variables;
}

bool SetsClock(const std::vector<Statement>& statements) {
  return std::ranges::any_of(statements, [](const Statement& statement) {
    return statement.kind == Kind::Clock || SetsClock(statement.body);
  });
}

}  // namespace

Status RunScript(const Options& given_options, const std::string& path, const std::vector<std::string>& arguments,
                 const PlayOptions& play) {
  Options options = given_options;
  const Encoding encoding = EncodingFor(options, false);
  std::string script = ReadScript(path);
  ScratchDirectory unpacked;
  if (IsArchive(script)) {
    const std::vector<Member> members = ReadArchive(script, path);
    const auto member = std::ranges::find(members, BUNDLE_SCRIPT, &Member::name);
    if (member == members.end()) throw ToolError(Status::Usage, path + " holds no " + BUNDLE_SCRIPT);
    Unpack(members, unpacked.Path());
    script = member->bytes;
  }
  script = encoding.ToServer(WithoutCutLine(std::move(script), path));
  if (script.starts_with(BYTE_ORDER_MARK)) script.erase(0, BYTE_ORDER_MARK.size());
  const std::vector<Statement> statements = ParseScript(script, path);
  options.variables = VariablesOf(statements);
  options.has_clock = SetsClock(statements);
  Session session(options);
  Player player({.place = std::bind_front(&Session::Call, &session),
                 .ask = std::bind_front(&Session::Ask, &session),
                 .reasons = [&] { return session.Reasons(); },
                 .set_clock = std::bind_front(&Session::SetClock, &session),
                 .to_outside = [&](std::string_view text) { return encoding.ToOutside(text); }},
                path, play);
  if (!unpacked.KnownPath().empty()) player.Confine(unpacked.KnownPath());
  std::vector<std::string> words;
  for (const std::string& argument : arguments) words.push_back(encoding.ToServer(argument));
  player.SetArguments(words);
  player.Play(statements);
  return Status::Ok;
}

}  // namespace vorlix::tool
