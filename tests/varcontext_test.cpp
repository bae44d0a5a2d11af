// Filter sets through the calls on them, over a dictionary with two dialogs.
#include "dll/shared/varcontext.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

using Steps = std::vector<std::string>;

constexpr char ORDERS[] =
    "[catalog]\nKO=KOPF\nPO=POS\n[ko.name]\nPATH=n\nFTYP=T\nFLEN=3\nDEFAULT=$USER\nOUTPUT=o\n[po.menge]\nPATH=m\n"
    "FTYP=N\n[ko.sum__2]\nPATH=s\nFTYP=N\nFLEN=3\nDEFAULT=abc\nLOAD=l\n[ko.x]\nPATH=x\nFTYP=X1\nINIT=i\nLOAD=l\n";

/// The items of an XBUF: "Name=a sum/2=7"; of a dictionary's only its field.
std::string Items(std::string_view xbuf) {
  XbufReader reader(xbuf);
  XbufItem item;
  std::string shown;
  while (reader.Next(item) == XbufReader::Step::Item) {
    const std::string name = item.name.data();
    if (name == "dict_fld") return std::string(item.value);
    shown += (shown.empty() ? "" : " ") + name + (item.is_element ? "/" + std::to_string(item.index) : "") + "=";
    shown += item.value;
  }
  return shown;
}

/// Each step is a call with its arguments, "-" for an empty one, and the room of its String behind "@" where that
/// matters. Behind "=>" comes what it should bring about: the result code, "end" for a set `eof_p`, and what is given
/// back.
std::string Outcome(const std::string& step) {
  std::istringstream words(step);
  std::string call;
  std::array<std::string, 3> args;
  words >> call >> args[0] >> args[1] >> args[2];
  for (std::string& arg : args)
    if (arg == "-") arg.clear();
  const char* const a = args[0].c_str();
  const char* const b = args[1].c_str();
  const size_t at = call.find('@');
  TestString text(at != std::string::npos ? std::stoi(call.substr(at + 1)) : 600);
  call = call.substr(0, at);
  TestString xdict(600);
  const TestString xbuf(400, args[1]);
  int32_t flag = 0;
  const IntByReference eof(&flag);
  int32_t code = -99;
  if (call == "Xbuf") code = dict_XbufFilterInit(a, xbuf, eof);
  if (call == "Add") code = dict_XbufFilterAdd(a, xbuf);
  if (call == "List") code = dict_ListFilterInit(a, b, eof);
  if (call == "One") code = dict_VarFilterInit(a, b, args[2].c_str(), eof);
  if (call == "Init") code = dict_FilterInit(a);
  if (call == "Next") code = dict_FilterNext(xdict, text, eof);
  if (call == "Set") code = dict_FilterSetValue(a);
  if (call == "To") code = dict_FilterToXbuf(text);
  if (call == "Free") code = dict_FilterFree();
  if (call == "Open") code = OpenText("Auftrag", std::stoi(args[0]), ORDERS);
  if (call == "Refuse") code = OpenText("Andere", std::stoi(args[0]), "[bad]\nPATH=b\nFTYP=T\n");
  if (call == "Close") code = dict_Close(std::stoi(args[0]));
  if (call == "Update") code = dict_Update(a, xbuf);
  EXPECT_TRUE(text.GuardsIntact()) << step;
  std::string shown = std::to_string(code) + (flag != 0 ? " end" : "");
  if (call == "To") shown += " " + Items(text.View());
  if (call == "Next" && code == 0 && flag == 0) shown += " " + Items(xdict.View()) + "=" + std::string(text.View());
  return shown;
}

void Play(const Steps& steps) {
  for (const std::string& step : steps) {
    const size_t end = step.find(" => ");
    EXPECT_EQ(Outcome(step.substr(0, end)), step.substr(end + 4)) << step;
  }
}

class FilterSets : public testing::Test {
 protected:
  FilterSets() { Play({"Open 1 => 0"}); }
  ~FilterSets() override {
    while (VarFree() == VAR_OK) continue;
    dict_CloseAll();
  }
};

// clang-format off
TEST_F(FilterSets, OpenWithAList) {
  const std::string n79(79, 'n');
  const std::string refused = "19 D1: VarInitLIST(): ";
  const std::string nothing = "0 end D2: VarInitLIST() warning: no variable added";
  const struct { std::string list, outcome; } ROWS[] = {  // the set, or what was traced
      {"*", "0 name= sum/2= x="},     {"x,NAME", "0 x= name="}, {",name,,x,", "0 name= x="}, {"name$,x$", "0 name= x="},
      {"x,sum,menge,x", "0 x= x="},   {"sum__2", "0 sum/2="},   {"x," + n79 + "$", "0 x="},
      {"", nothing},                  {"**", nothing},          {"name x", nothing},         {n79, nothing},
      {n79 + "n", refused + "field name too long, offset=79"},  {"ab$c", refused + "buffer corrupt, offset=3"},
      {"x," + n79 + "n", refused + "field name too long, offset=81"}, {"x$$", refused + "buffer corrupt, offset=2"},
  };
  for (const auto& [list, outcome] : ROWS) {
    const TraceCapture trace("D2");
    int32_t eof = 0;
    std::string shown = std::to_string(dict_ListFilterInit("D01KOPF", list.c_str(), IntByReference(&eof)));
    if (eof != 0) shown += " end";
    for (const std::string& line : trace.Lines()) shown += " " + line;
    EXPECT_EQ(shown == "0" ? Outcome("To") : shown, outcome) << list;
    EXPECT_EQ(VarFree(), shown == "0" ? VAR_OK : VAR_REFUSED) << list;
  }
}

TEST_F(FilterSets, OpenWithAllFieldsOnlyWhereTheirNamesFit) {
  const DictPtr dict = FindDict("Auftrag", DICT_ORIGINAL);
  AddSection(*dict, "ko." + std::string(79, 'f'));
  Play({"List D01KOPF * => 0", "Free => 0"});
  AddSection(*dict, "ko." + std::string(80, 'f'));
  Play({"List D01KOPF * => 19", "List D01POS * => 0", "Free => 0", "Free => 19"});
}

TEST_F(FilterSets, OpenWithAnXbufOrOneField) {
  Play({"Xbuf D01KOPF XSUM~2~1~5Xmenge~0~1~1Xname~0~2~ab$ => 0", "To => 0 sum/2=5 name=ab", "To@20 => 18 sum/2=5",
        "Free => 0", "Xbuf D01KOPF Xmenge~0~1~1$ => 0 end", "Xbuf D01KOPF Xname~0~2~a$ => 204", "Xbuf D01 $ => 19",
        "One d01kopf Name ab => 0", "To => 0 name=ab", "Free => 0", "One D01KOPF sum__2 - => 0",
        "To => 0 sum/2=", "Free => 0", "One D01KOPF sum 1 => 0 end", "One D01 name 1 => 19",
        "One D01KOPF " + std::string(79, 'n') + " 1 => 0 end", "One D01KOPF " + std::string(80, 'n') + " 1 => 19",
        "Free => 19"});
}

TEST_F(FilterSets, NestTenDeep) {
  Play({"Add D01POS Xmenge~0~1~0$ => 0", "Init - => 0"});
  for (int i = 1; i <= 10; ++i)
    Play({"Next => 0 " + std::string(i == 1 ? "menge=0" : "name=a"), "Xbuf D01KOPF Xname~0~1~aXx~0~1~b$ => 0",
          "Next => 19", "Init - => 0"});
  Play({"Xbuf D01KOPF $ => 2", "Xbuf D01 $ => 2", "List D01KOPF x => 2", "List D01 x => 19", "One D01KOPF x y => 2",
        "One D01 x y => 19", "Next => 0 name=a", "Free => 0"});
  // The walks below go on where they stood.
  for (int i = 9; i >= 1; --i) Play({"Next => 0 x=b", "Next => 0 end", "Free => 0"});
  Play({"Next => 0 end", "To => 0 menge=0", "Free => 19", "To => 0 ", "Free => 19"});
}

TEST_F(FilterSets, AreWalkedThrough) {
  Play({"Init - => 0", "Next => 19", "Set a => 19", "List D01KOPF name,x => 0", "Next => 19", "Set a => 19",
        // The walk begins at the first variable, before that has been delivered.
        "Init - => 0", "Set one => 0", "Next => 0 name=one", "Set two => 0", "Next => 0 x=", "Set three => 0",
        // What comes next was decided when the walk moved.
        "Add D01KOPF Nsum~2~1~7Xx~0~1~3$ => 0", "Next => 0 end", "Next => 19", "Set four => 19",
        "To => 0 name=two x=3 sum/2=7", "Init - => 0", "Next@2 => 18", "Next => 0 x=3", "Next@1 => 0 sum__2=7",
        "Init nosuch => 19", "Next => 19", "To => 0 name=two x=3 sum/2=7"});
}

TEST_F(FilterSets, AreFiltered) {
  const std::string before = "name=abcd sum/2=7 x=y";
  const struct { std::string filter; Steps delivered; std::string left; } ROWS[] = {
      {"-", {"name=abcd", "sum__2=7", "x=y"}, before},
      {"FORMAT", {"name=abc", "sum__2=  7", "x=y"}, "name=abc sum/2=  7 x=y"},
      {"def_hook", {"name=$USER"}, "name=$USER sum/2=abc x="},
      {"Fmt_Hook", {"x=y"}, before}, {"out_hook", {"name=abcd"}, before},
      {"load_hook", {"sum__2=7", "x=y"}, before}, {"init_hook", {"x=y"}, before},
  };
  for (const auto& [filter, delivered, left] : ROWS) {
    SCOPED_TRACE(filter);
    Play({"Xbuf D01KOPF Xname~0~4~abcdNsum~2~1~7Xx~0~1~y$ => 0", "Init " + filter + " => 0"});
    for (const std::string& field : delivered) Play({"Next => 0 " + field});
    Play({"Next => 0 end", "Next => 19", "To => 0 " + left, "Free => 0"});
  }
  for (const char* name : {"forma", "format ", "_hook"}) EXPECT_EQ(VarInitAccess(name), VAR_REFUSED) << name;
}
// clang-format on

TEST_F(FilterSets, StayWhateverComesOfTheirDictionary) {
  const std::string change = "Update D02KOPF XDict_fld~0~4~nameXDict_len~0~1~2XDict_defval~0~2~$n$ => 0";
  Play({"Open 2 => 0", "Xbuf D02KOPF Xname~0~4~abcdXx~0~1~y$ => 0", "Init - => 0", "Next => 0 name=abcd",
        // The level moves to a copy, whose fields are others than those of the set.
        change, "Add D02KOPF Xname~0~3~new$ => 0", "To => 0 name=abcd x=y name=new", "Init format => 0",
        "Next => 0 name=abc", "Next => 0 x=y", "Next => 0 name=ne", "Init - => 0",
        // An open that is refused closes the level, and the copy with it.
        "Refuse 2 => 1", "Next => 0 name=abc", "Close 2 => 0", "Next => 0 x=y", "Add D02KOPF $ => 19", "Close 1 => 0",
        "Next => 0 name=ne", "Next => 0 end", "Open 1 => 0", "Add D01KOPF Xx~0~1~z$ => 0", "Init def_hook => 0",
        "Next => 0 name=$USER", "Next => 0 name=$n", "Next => 0 end", "To => 0 name=$USER x= name=$n x="});
}

TEST_F(FilterSets, FailWithoutMemory) {
  const struct {
    const char* filter;
    int32_t (*call)();
    const char* left;  // what is current after a failure
  } ROWS[] = {
      {"-", [] { return VarInitXBUF("D01KOPF", "Xname~0~1~aXx~0~1~b$"); }, "name=old"},
      {"-", [] { return VarInitLIST("D01KOPF", "*"); }, "name=old"},
      {"-", [] { return VarInitLIST("D01KOPF", "name,x"); }, "name=old"},
      {"-", [] { return VarInitONE("D01KOPF", "name", "a"); }, "name=old"},
      {"-", [] { return VarSetCurrValue("new"); }, "name="},
      {"format", VarGetNext, "menge=b"},
      {"def_hook", VarGetNext, "menge=b"},
  };
  for (const auto& row : ROWS) {
    const auto& [filter, call, left] = row;
    bool hit = true;
    for (int nth = 0; hit; ++nth) {
      SCOPED_TRACE(std::to_string(&row - ROWS) + " " + std::to_string(nth));
      while (VarFree() == VAR_OK) continue;
      Play({"Add D01POS Xmenge~0~1~b$ => 0", "One D01KOPF name old => 0", std::string("Init ") + filter + " => 0"});
      int32_t result;
      {
        const FailAllocation one(nth);
        result = call();
        hit = one.Hit();
      }
      EXPECT_EQ(result, hit ? VAR_NO_MEMORY : VAR_OK);
      if (hit) Play({std::string("To => 0 ") + left});
      EXPECT_TRUE(hit || nth > 0);
    }
  }
}

}  // namespace
}  // namespace vorlix::test
