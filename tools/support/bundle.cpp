// In the archive the texts of files stand as files, and the script reads them from there: whoever unpacks it finds the
// dictionaries as the server read them.
#include "tools/support/bundle.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <vector>

#include "tools/buildid.h"
#include "tools/files.h"
#include "tools/quoting.h"
#include "tools/scope.h"
#include "tools/script.h"
#include "tools/standins.h"
#include "tools/support/archive.h"
#include "tools/tell.h"

namespace vorlix::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view FIRST_LINE = "# Recorded by ";

class Bundle {
 public:
  explicit Bundle(std::string_view recording) {
    for (std::string_view rest = recording; !rest.empty();) {
      const std::string_view line = rest.substr(0, rest.find('\n'));
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
      AddLine(line);
    }
  }

  std::vector<Member> Members(const std::string& name) const {
    const Json about = {{"recording", Printable(name)},
                        {"recorded", Printable(recorded_)},
                        {"bundled", "vorlix " VORLIX_VERSION ", build " + BuildId()},
                        {"language", language_},
                        {"calls", calls_},
                        {"files", files_}};
    std::vector<Member> members = {{BUNDLE_ABOUT, about.dump(2) + '\n'}, {BUNDLE_SCRIPT, script_}};
    members.insert(members.end(), contents_.begin(), contents_.end());
    return members;
  }

  size_t Calls() const { return calls_; }
  size_t Files() const { return contents_.size(); }

 private:
  void AddLine(std::string_view line) {
    if (line.starts_with(FIRST_LINE) && recorded_.empty()) recorded_ = line.substr(2);
    const std::vector<Statement> statements = ParseScript(line, "");
    if (statements.empty() || statements[0].kind != Kind::File || StandIns::IsKeyword(statements[0].words[1])) {
      (script_ += line) += '\n';
      if (!statements.empty()) Count(statements[0]);
      return;
    }
    Scope no_values;
    const std::string path = no_values.Expand(statements[0].words[0]);
    std::string name = "files/" + std::to_string(contents_.size() + 1) + '-';
    for (const char c : std::filesystem::path(path).filename().string())
      name += c > ' ' && c < 0x7f && c != '\\' ? c : '_';
    name = name.substr(0, 90);
    contents_.push_back({name, no_values.Expand(statements[0].words[1])});
    files_.push_back({{"path", Printable(path)}, {"name", name}});
    script_ += "read content $here/" + QuoteWord(name) + "\nfile " + QuoteWord(path) + " $content\n";
  }

  void Count(const Statement& statement) {
    if (statement.kind == Kind::Call || statement.kind == Kind::Place) ++calls_;
    if (statement.kind != Kind::Server) return;
    Scope no_values;
    for (Word word : statement.words) {
      const std::string variable = ParseVariable(word);
      language_[variable] = Printable(no_values.Expand(word));
    }
  }

  std::string script_;
  std::string_view recorded_;
  Json language_ = Json::object();
  Json files_ = Json::array();
  std::vector<Member> contents_;
  size_t calls_ = 0;
};

}  // namespace

std::string WithoutCutLine(std::string script, const std::string& path) {
  if (!script.starts_with(FIRST_LINE) || script.ends_with('\n')) return script;
  Tell(path + ": its last line has no end, and is left out");
  script.resize(script.rfind('\n') + 1);
  return script;
}

Status BundleRecording(const std::string& path, const std::string& to) {
  const std::string recording = WithoutCutLine(ReadFile(path), path);
  if (!recording.starts_with(FIRST_LINE))
    throw ToolError(Status::Usage, path + " is no recording; VORLIX_RECORD=FILE has a server make one");
  static_cast<void>(ParseScript(recording, path));  // a fault is told with its line
  const Bundle bundle(recording);
  const std::string archive = to.empty() ? path + ".tar.gz" : to;
  WriteArchive(archive, bundle.Members(std::filesystem::path(path).filename().string()));
  const auto counted = [](size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
  };
  std::printf("%s: %s, %s\n", archive.c_str(), counted(bundle.Calls(), "call").c_str(),
              counted(bundle.Files(), "file").c_str());
  return Status::Ok;
}

}  // namespace vorlix::tool
