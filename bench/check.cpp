// What it costs to check a dictionary of 100,000 sections, beside opening it: the checker reads it as the server does,
// and looks at every line once more.
#include <cstdio>
#include <fstream>
#include <string>

#include "bench/measure.h"
#include "dll/server/functions.h"
#include "tools/check/checker.h"
#include "tools/scope.h"

namespace {

using namespace vorlix;
using bench::Expect;

constexpr int SECTIONS = 100'000;
constexpr int RUNS = 21;
constexpr double GOAL = 2;

void WriteDictionary(const std::string& path) {
  std::ofstream file(path);
  file << "[catalog]\nA=DIALOG\n";
  for (int i = 0; i < SECTIONS; ++i)
    file << "[a.field" << i << "]\nPATH=customer.address.line" << i
         << "\nOBJTYPE=ET\nFTYP=N\nFVTYP=I\nFFMT=lRbzTPg\nFLEN=12\nFMIN=0\nFMAX=" << i << "\n\n";
}

}  // namespace

int main() {
  bench::PinToOneCore();
  tool::ScratchDirectory scratch;
  const std::string path = scratch.Path() + "/f.dic";
  WriteDictionary(path);
  tool::Checker checker({.models = {}, .ignore = {}, .kind = {}, .language = "C"});
  const auto check = [&] { Expect(checker.Check(path).findings.opens, "the file does not open"); };
  const auto open = [&] {
    int32_t code = -1;
    Expect(dict_Open("F", path.c_str(), 1, IntByReference(&code)) == 0 && code == 0, "the file does not open");
    dict_CloseAll();
  };
  bench::Compare("check, sections: 100000", {{"", check}, {"dict_Open and dict_CloseAll", open, GOAL}}, 1, 1, RUNS);
  return 0;
}
