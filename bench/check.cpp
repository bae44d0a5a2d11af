// What it costs to check a dictionary, beside opening it: the checker reads it as the server does, and looks at every
// line once more. In the editor that happens at every key.
#include <cstdio>
#include <fstream>
#include <string>

#include "bench/measure.h"
#include "dll/server/functions.h"
#include "tools/check/checker.h"
#include "tools/files.h"
#include "tools/lsp/server.h"
#include "tools/scope.h"

namespace {

using namespace vorlix;
using bench::Expect;

constexpr int SECTIONS = 100'000;
constexpr int SECTIONS_TYPED = 5'000;
constexpr int RUNS = 21;
constexpr double GOAL = 2;

void WriteDictionary(const std::string& path, int sections) {
  std::ofstream file(path);
  file << "[catalog]\nA=DIALOG\n";
  for (int i = 0; i < sections; ++i)
    file << "[a.field" << i << "]\nPATH=customer.address.line" << i
         << "\nOBJTYPE=ET\nFTYP=N\nFVTYP=I\nFFMT=lRbzTPg\nFLEN=12\nFMIN=0\nFMAX=" << i << "\n\n";
}

void OpenAndClose(const std::string& path) {
  int32_t code = -1;
  Expect(dict_Open("F", path.c_str(), 1, IntByReference(&code)) == 0 && code == 0, "the file does not open");
  dict_CloseAll();
}

// From a key to the findings, both as messages of the editor.
void CompareKeys(const std::string& path) {
  WriteDictionary(path, SECTIONS_TYPED);
  size_t findings = 0;
  tool::LanguageServer server({.models = {}, .ignore = {}, .kind = {}, .language = "C"},
                              [&](const std::string& content) { findings += content.size(); });
  const std::string uri = tool::UriOfPath(path);
  const tool::Json text = {{"uri", uri}, {"version", 1}, {"text", tool::ReadFile(path)}};
  server.Handle(R"({"id":1,"method":"initialize","params":{}})");
  server.Handle(tool::Json{{"method", "textDocument/didOpen"}, {"params", {{"textDocument", text}}}}.dump());
  const tool::Json range = tool::JsonOf(tool::Range{{20'000, 0}, {20'000, 0}});
  const tool::Json changes = tool::Json::array({{{"range", range}, {"text", ""}}});
  const tool::Json params = {{"textDocument", {{"uri", uri}, {"version", 2}}}, {"contentChanges", changes}};
  const std::string key = tool::Json{{"method", "textDocument/didChange"}, {"params", params}}.dump();
  const auto type = [&] {
    findings = 0;
    server.Handle(key);
    server.Settle();
    Expect(findings > 0, "no findings come");
  };
  bench::Compare("a key in the editor, fields: 5000",
                 {{"", type}, {"dict_Open and dict_CloseAll", [&] { OpenAndClose(path); }, GOAL}}, 1, 20, RUNS);
}

}  // namespace

int main() {
  bench::PinToOneCore();
  tool::ScratchDirectory scratch;
  const std::string path = scratch.Path() + "/f.dic";
  WriteDictionary(path, SECTIONS);
  {
    tool::Checker checker({.models = {}, .ignore = {}, .kind = {}, .language = "C"});
    const auto check = [&] { Expect(checker.Check(path).findings.opens, "the file does not open"); };
    bench::Compare("check, sections: 100000",
                   {{"", check}, {"dict_Open and dict_CloseAll", [&] { OpenAndClose(path); }, GOAL}}, 1, 1, RUNS);
  }
  CompareKeys(path);
  return 0;
}
