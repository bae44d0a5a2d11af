// What fields inherit from models, and from the models of models.
#include "dll/server/dictopen.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/dictionary.h"
#include "tests/support/dictstate.h"

namespace vorlix::test {
namespace {

/// Sections "m0" to "m<last>", each of which names the next as its model; `last_lines` are those of the last.
std::string Chain(int last, const std::string& last_lines) {
  std::string text;
  for (int i = 0; i < last; ++i)
    text +=
        "[m" + std::to_string(i) + "]\nFLEN=" + std::to_string(100 + i) + "\nMODEL=M" + std::to_string(i + 1) + "\n";
  return text + "[m" + std::to_string(last) + "]\nDEFAULT=d\n" + last_lines;
}

// clang-format off
TEST(Models, AreInherited) {
  const std::string model = "[m]\nPATH=m\nFTYP=T\nFFMT=x\nFLEN=5\nVALID=[a]*\n";
  const std::string too_deep = "InheritObject() failed: inheritance nesting too deep or recursive, section 'a.f'";
  const struct { std::string newest, older, lines, outcome; } ROWS[] = {  // of the models, and of the field a.f
      {model, "", "MODEL=M\n", "PATH=m OBJTYPE=ET FTYP=T FFMT=x FLEN=5 VALID=[a]*"},
      {model, "[m]\nPATH=other\n", "FLEN=7\nmodel=m\nPATH=own\n",
       "PATH=own OBJTYPE=ET FTYP=T FFMT=x FLEN=7 VALID=[a]*"},
      {"[n]\nPATH=n\n", model, "MODEL=m\nVALID=\nFLEN=0\n", "PATH=m OBJTYPE=ET FTYP=T FFMT=x"},
      {"[m]\nFTYP=U\nMODEL=n\n", "[m]\nFLEN=1\n[n]\nPATH=n\nFTYP=T\nFLEN=2\n", "MODEL=m\n",
       "PATH=n OBJTYPE=ET FTYP=U FFMT=LrcZtUvo FLEN=2"},
      {"[m]\nOBJTYPE=CB\nPATH=p\n", "", "FTYP=N\nMODEL=m\n", "PATH=p OBJTYPE=CB FTYP=CB"},
      {Chain(15, "PATH=last\n"), "", "FTYP=K\nMODEL=m0\n", "PATH=last OBJTYPE=ET FTYP=K FLEN=100 DEFAULT=d"},
      {Chain(16, "PATH=last\n"), "", "FTYP=K\nMODEL=m0\n", too_deep},
      {Chain(1, "MODEL=m0\n"), "", "FTYP=K\nMODEL=m0\n", too_deep},
      {Chain(3, "MODEL=%s\n"), "", "FTYP=K\nMODEL=m0\n", "InheritObject() failed: unknown model '%s', section 'a.f'"},
      {"[m]\n", "", "MODEL=o.m\n", "InheritObject() failed: unknown model 'o.m', section 'a.f'"},
      {"[m]\nOBJTYPE=\n", "", "PATH=p\nFTYP=K\nMODEL=m\n", "ObSetIdx(OBJTYPE=\?\?) failed: invalid value, section 'm'"},
      {"[m]\nPATH=m\n", "", "MODEL=m\n", "ObCheck() failed: missing FTYP, section 'a.f'"},
  };
  for (const auto& [newest, older, lines, outcome] : ROWS) {
    OpenText("Ordinary", 0, "[catalog]\nO=O\n[o.m]\nPATH=o\nFTYP=K\n");
    OpenText("Older", -1, "[unused]\n" + older);
    EXPECT_EQ(OpenText("Newest", -1, newest), 0) << newest;
    const TraceCapture trace("D1");
    const bool refused = outcome.find("failed") != std::string::npos;
    EXPECT_EQ(OpenText("D", 1, "[catalog]\nA=X\n[a.f]\n" + lines), refused ? 1 : 0) << newest << lines;
    const DictPtr dict = FindDict("D", DICT_ORIGINAL);
    EXPECT_EQ(dict != nullptr ? ShowObject(dict->sections[0]->object) : trace.Lines().back().substr(4), outcome);
    EXPECT_TRUE(dict == nullptr || dict->sections[0]->object.model == nullptr) << newest << lines;
    CloseAllDicts();
  }
}
// clang-format on

}  // namespace
}  // namespace vorlix::test
