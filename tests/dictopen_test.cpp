// Opening dictionaries: what files mean, what models give, and what refused opens leave behind.
#include "dll/server/dictopen.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <string>

#include "dll/server/functions.h"
#include "dll/shared/ini.h"
#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/dictstate.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

constexpr int32_t UNTOUCHED = -99;

/// The dictionary files of a test, and what happens with the INI handles that they are read with.
class Opens : public testing::Test {
 protected:
  ~Opens() override {
    CloseAllDicts();
    IniCloseAll();
    std::remove(path_.c_str());
  }

  void Write(std::string_view text) const { std::ofstream(path_) << text; }
  struct Outcome {
    int32_t code;
    int32_t rc;
    bool operator==(const Outcome&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Outcome& o) { return out << o.code << "/" << o.rc; }
  };
  static Outcome Open(const char* id, const std::string& path, int32_t level) {
    int32_t rc = UNTOUCHED;
    const int32_t code = dict_Open(id, path.c_str(), level, IntByReference(&rc));
    EXPECT_FALSE(IsFileOpen());
    return {code, rc};
  }
  static bool IsFileOpen() {
    char name[2];
    return IniNextSection(0, name, sizeof name) != -1;
  }
  Outcome OpenWith(const char* id, std::string_view text, int32_t level) const {
    Write(text);
    return Open(id, path_, level);
  }

  const std::string path_ = testing::TempDir() + "vorlix_dictopen_" + std::to_string(getpid());
};

TEST_F(Opens, WhatFilesSay) {
  const std::string long_name(90, 'n'), long_value(130, 'v');
  const std::string catalog = "[Catalog]\na=Kd\nA = be\n";
  const std::string field = "[a.F]\nPATH=p\nftyp=K\n";
  const struct {
    std::string text;
    std::string dict;  // "" when it is refused
    std::string messages;
    int32_t code = 0;
  } ROWS[] = {
      {catalog + field, " A=Kd A=be [a.f PATH=p OBJTYPE=ET FTYP=K]", ""},
      {"[xx]\nx=1\n[catalog]\nA=\n[XX]\n[LIST]\nt=Kun\nU=1\nT=den\n[list]\nt=' '\nT=!\n",
       " A= list T=Kunden ! list U=1",
       "D2: OpenDict() warning: obsolete section 'XX'\nD2: OpenDict() warning: obsolete section 'XX'"},
      {catalog + field + "ERLAUBT=[0-9]*\nFSEARCH=\n", " A=Kd A=be [a.f PATH=p OBJTYPE=ET FTYP=K VALID=[0-9]*]",
       "D2: ObSetIdx(ERLAUBT) warning: old item name, replace with 'VALID', section 'a.f'\n"
       "D2: ObSet(FSEARCH) warning: empty value, section 'a.f'"},
      {"[catalog]\n" + long_name + "=" + long_value, " " + std::string(80, 'N') + "=" + long_value.substr(8), ""},
      {"[list]\n", " ", ""},
      {"", "", ""},
      {"A=X\n[xx]\n[XX\n", "", "D2: OpenDict() warning: obsolete section 'XX'"},
      {"[list]\n[catalog]\nA=X\n" + field, "", "D1: ObSet(A) failed: unknown item, section 'catalog'"},
      {catalog + "[a.f]\nTYP=N\n", "", "D1: ObSet(TYP) failed: unknown item, section 'a.f'"},
      {catalog + "[a.f]\nFTYP=%s%n\n", "", "D1: ObSetIdx(FTYP=%s%n) failed: maximum length exceeded, section 'a.f'"},
      {catalog + field + "[a.%s]\nFTYP=K\n", "", "D1: ObCheck() failed: missing PATH, section 'a.%s'"},
      {catalog + field + "MODEL=M\n", "", "D1: InheritObject() failed: unknown model 'M', section 'a.f'"},
      {catalog + "[b.f]\nPATH=p\nFTYP=K\n[f]\nPATH=p\nFTYP=K\n", "",
       "D1: AddDlgLevel() failed: prefix 'b' not found in catalog, section 'b.f'\n"
       "D1: AddDlgLevel() failed: missing prefix in section 'f'",
       19},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.text);
    const TraceCapture trace("D2");
    EXPECT_EQ(OpenWith("D", row.text, 1), (Outcome{row.code, row.dict.empty() ? 1 : 0}));
    EXPECT_EQ(Messages(trace), "D2: OpenDict(): id='D', level=1" + (row.messages.empty() ? "" : "\n" + row.messages));
    EXPECT_EQ(ShowDicts(), row.dict.empty() ? "" : "D/0 x1:" + (row.dict != " " ? row.dict : "") + "\n");
    EXPECT_EQ(ShowDialogs().empty(), row.dict.size() < 2);
    CloseAllDicts();
  }
}

TEST_F(Opens, ReportFilesThatCannotBeRead) {
  EXPECT_EQ(Open("D", path_ + "none", 1), (Outcome{0, -ENOENT}));
  EXPECT_EQ(Open("D", "/", -1), (Outcome{0, -EISDIR}));
  Write("[list]\n");
  for (int i = 0; i < INI_HANDLE_COUNT; ++i) ASSERT_EQ(IniOpen(path_.c_str(), ""), i);
  int32_t rc = UNTOUCHED;
  EXPECT_EQ(dict_OpenModel("D", path_.c_str(), IntByReference(&rc)), 0);
  EXPECT_EQ(rc, -ENOSPC);
  EXPECT_EQ(ShowAll(), "");
}

TEST_F(Opens, ShareWhatIsLoaded) {
  const std::string text = "[catalog]\nA=X\n";
  EXPECT_EQ(OpenWith("D", text, 2), (Outcome{0, 0}));
  EXPECT_EQ(Open("d", "none", 2), (Outcome{0, 0})) << "no file is read";
  EXPECT_EQ(Open("D", "none", 1), (Outcome{19, UNTOUCHED})) << "out of phase";
  EXPECT_EQ(OpenWith("E", text, 1), (Outcome{19, 1})) << "out of phase once it is read";
  EXPECT_EQ(ShowAll(), "D/0 x2: A=X\nD02X, D02X");
  EXPECT_EQ(OpenWith("d", "[m]\nMODEL=x\n", -1), (Outcome{0, 0}));
  EXPECT_EQ(ShowDicts(), "d/2 x1: [m OBJTYPE=ET]\nD/0 x2: A=X\n");
  EXPECT_EQ(DictList().front()->sections[0]->object.model.get(), "x"s);

  const TraceCapture trace("D2");
  EXPECT_EQ(OpenWith("D", "[catalog]\nMODEL=q\n[n]\nBAD=1\n", -5), (Outcome{0, 1}));
  EXPECT_EQ(Messages(trace),
            "D2: OpenDict(): id='D' (model dictionary)\nD2: OpenDict() warning: model dictionary 'D' reopened\n"
            "D1: ObSet(BAD) failed: unknown item, section 'n'");
  EXPECT_EQ(ShowDicts(), "D/0 x2: A=X\n") << "the old model went before its file was read";
  EXPECT_EQ(dict_CloseModel("D"), 19);
  EXPECT_EQ(trace.Lines().back(), "D1: dict_CloseModel() failed: unknown dictID 'D'");
  OpenWith("M", "[n]\n", -1);
  EXPECT_EQ(dict_CloseModel("m"), 0);
  EXPECT_EQ(dict_Close(0), 0);
  EXPECT_EQ(ShowAll(), "");
}

// ---- Models ---------------------------------------------------------------------------------------------------------

/// Sections "m0" to "m<last>", each of which names the next as its model; `last_lines` are those of the last.
std::string Chain(int last, const std::string& last_lines) {
  std::string text;
  for (int i = 0; i <= last; ++i)
    text += "[m" + std::to_string(i) + "]\nFLEN=" + std::to_string(100 + i) + "\nDEFAULT=d\n" +
            (i < last ? "MODEL=M" + std::to_string(i + 1) + "\n" : last_lines);
  return text;
}

TEST_F(Opens, InheritFromModels) {
  const std::string model = "[m]\nPATH=m\nFTYP=T\nFFMT=x\nFLEN=5\nVALID=[a]*\n";
  const std::string too_deep = "InheritObject() failed: inheritance nesting too deep or recursive, section 'a.f'";
  const struct {
    std::string newest, older;  // model dictionaries
    std::string lines;          // of the section a.f
    std::string section;        // what becomes of it
    std::string message;
  } ROWS[] = {
      {model, "", "MODEL=M\n", "PATH=m OBJTYPE=ET FTYP=T FFMT=x FLEN=5 VALID=[a]*", ""},
      {model, "[m]\nPATH=other\n", "FLEN=7\nmodel=m\nPATH=own\n", "PATH=own OBJTYPE=ET FTYP=T FFMT=x FLEN=7 VALID=[a]*",
       ""},
      {"[n]\nPATH=n\n", model, "MODEL=m\nVALID=\nFLEN=0\n", "PATH=m OBJTYPE=ET FTYP=T FFMT=x", ""},
      {"[m]\nFTYP=U\nMODEL=n\n", "[m]\nFLEN=1\n[n]\nPATH=n\nFTYP=T\nFLEN=2\n", "MODEL=m\n",
       "PATH=n OBJTYPE=ET FTYP=U FFMT=LrcZtUvo FLEN=2", ""},
      {"[m]\nOBJTYPE=CB\nPATH=p\n", "", "FTYP=N\nMODEL=m\n", "PATH=p OBJTYPE=CB FTYP=CB", ""},
      {Chain(15, "PATH=last\n"), "", "FTYP=K\nMODEL=m0\n", "PATH=last OBJTYPE=ET FTYP=K FLEN=100 DEFAULT=d", ""},
      {Chain(16, "PATH=last\n"), "", "FTYP=K\nMODEL=m0\n", "", too_deep},
      {Chain(1, "MODEL=m0\n"), "", "FTYP=K\nMODEL=m0\n", "", too_deep},
      {Chain(3, "MODEL=%s\n"), "", "FTYP=K\nMODEL=m0\n", "",
       "InheritObject() failed: unknown model '%s', section 'a.f'"},
      {"[m]\n", "", "MODEL=o.m\n", "", "InheritObject() failed: unknown model 'o.m', section 'a.f'"},
      {"[m]\nOBJTYPE=\n", "", "PATH=p\nFTYP=K\nMODEL=m\n", "",
       "ObSetIdx(OBJTYPE=?"
       "?) failed: invalid value, section 'm'"},
      {"[m]\nPATH=m\n", "", "MODEL=m\n", "", "ObCheck() failed: missing FTYP, section 'a.f'"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.newest + "|" + row.lines);
    OpenWith("Ordinary", "[catalog]\nO=O\n[o.m]\nPATH=o\nFTYP=K\n", 0);
    OpenWith("Older", "[unused]\n" + row.older, -1);
    EXPECT_EQ(OpenWith("Newest", row.newest, -1).rc, 0);
    const TraceCapture trace("D1");
    OpenWith("D", "[catalog]\nA=X\n[a.f]\n" + row.lines, 1);
    const DictPtr dict = FindDict("D", DICT_ORIGINAL);
    EXPECT_EQ(dict != nullptr ? ShowObject(dict->sections[0]->object) : "", row.section);
    EXPECT_TRUE(dict == nullptr || dict->sections[0]->object.model == nullptr);
    EXPECT_EQ(row.message.empty() ? "" : trace.Lines().back(), row.message.empty() ? "" : "D1: " + row.message);
    CloseAllDicts();
  }
}

// ---- Missing memory -------------------------------------------------------------------------------------------------

TEST_F(Opens, MissingMemoryLeavesNothingBehind) {
  OpenWith("Model with an id that is long enough", "[m]\nPATH=a path that is long enough\nFTYP=T\n", -1);
  OpenWith("Other", "[catalog]\nO=P\n[list]\nA=B\n", 1);
  const std::string before = ShowAll();
  const std::string text =
      "[catalog]\nA=X\nB=Y\n[list]\nT=a value that is long enough\nt=and a bit\n[a.f]\nMODEL=m\nFLEN=3\n"
      "[b.f]\nPATH=p\nFTYP=N\nMODEL=m\n";
  for (const auto& [id, level] :
       {std::pair{"A dictionary with a long id", 2}, {"A model with a long id", -1}, {"other", 2}}) {
    Write(text);
    bool failed = true;
    for (int n = 0; failed; ++n) {
      int32_t rc = UNTOUCHED;
      {
        const FailAllocation fail(n);
        errno = E2BIG;  // of an earlier call
        ASSERT_EQ(OpenDict(id, path_.c_str(), level, IntByReference(&rc)), 0) << id << n;
        failed = fail.Hit();
      }
      // Attributes that cannot be copied or completed count as content.
      ASSERT_TRUE(failed ? rc == -1 || rc == 1 : rc == 0) << id << n << " " << rc;
      ASSERT_TRUE(!failed || ShowAll() == before) << id << n << ShowAll();
      ASSERT_FALSE(IsFileOpen()) << id << n;
    }
    EXPECT_NE(ShowAll(), before);
    dict_Close(2);
    dict_CloseModel(id);
    EXPECT_EQ(ShowAll(), before);
  }
}

}  // namespace
}  // namespace vorlix::test
