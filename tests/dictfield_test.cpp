// The calls on dialogs and their fields, over dictionaries that are open at two levels.
#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "dll/shared/xpack.h"
#include "tests/support/callables.h"
#include "tests/support/dictionary.h"

namespace vorlix::test {
namespace {

const std::string LONG(77, 'f');
const std::string CUSTOMERS =
    "[catalog]\nKD=KUNDE\nBE=Best\nLEER=\n[list]\nTITEL=Kun\n[kd.name]\nPATH=k.name\nFTYP=T\n[LIST]\nTitel=den\n"
    "[be.datum]\nPATH=b\nFTYP=M\n[kd.]\nPATH=k\nFTYP=T\n[KD.Umsatz]\nPATH=k\nFTYP=N\n[kd.x.y]\nPATH=K.name\nFTYP=K\n"
    "[kd." +
    LONG + "]\nPATH=k\nFTYP=U\n";
const std::string OTHERS = "[catalog]\nKD=Auch\n" + LONG + "=lang\n[kd.plz]\nPATH=k.plz\nFTYP=T\n";

/// What a String shows: the field of an XBUF, or the ID of a dialog, or the text itself; "-" when empty.
std::string Shown(const DllString& text) {
  XbufReader reader(text.View());
  XbufItem item;
  std::string shown(text.len != 0 ? text.View() : "-");
  while (reader.Next(item) == XbufReader::Step::Item)
    if (item.name.data() == std::string("dict_fld") || item.name.data() == std::string("dlg_id")) shown = item.value;
  return shown;
}

class Dialogs : public testing::Test {
 protected:
  Dialogs() {
    EXPECT_EQ(OpenText("Kunden", 1, CUSTOMERS), 0);
    EXPECT_EQ(OpenText("kunden", 2, ""), 0);
    EXPECT_EQ(OpenText("andere", 2, OTHERS), 0);
  }
  ~Dialogs() override { dict_CloseAll(); }

  /// Each step is a call without its "dict_", the room of its String behind "@" when that matters, and its arguments,
  /// "-" for an empty one. Behind "=" comes what it should bring about: the result code, the String, which is "old"
  /// before, and the integer, when it is set.
  static void Run(const std::vector<std::string>& steps) {
    for (const std::string& step : steps) {
      const size_t end = step.find(" = ");
      EXPECT_EQ(Outcome(step.substr(0, end)), step.substr(end + 3)) << step;
    }
  }

 private:
  static std::string Outcome(const std::string& step) {
    std::istringstream words(step);
    std::string call;
    std::array<std::string, 3> args;
    words >> call >> args[0] >> args[1] >> args[2];
    for (std::string& arg : args)
      if (arg == "-") arg.clear();
    const size_t at = call.find('@');
    TestString text(at != std::string::npos ? std::stoi(call.substr(at + 1)) : 600, "old");
    int32_t flag = -7;
    const int32_t code = Call(call.substr(0, at), args, text, IntByReference(&flag));
    EXPECT_TRUE(text.GuardsIntact()) << step;
    return std::to_string(code) + " " + Shown(text) + (flag != -7 ? " " + std::to_string(flag) : "");
  }
  static int32_t Call(const std::string& call, const std::array<std::string, 3>& args, String text,
                      IntByReference flag) {
    const char* const a = args[0].c_str();
    const char* const b = args[1].c_str();
    if (call == "DlgID") return dict_DlgID(a, std::stoi(args[1]), std::stoi(args[2]), text, flag);
    if (call == "MapID") return dict_MapID(a, text);
    if (call == "NewAlias") return dict_NewAlias(a, text);
    if (call == "GetAlias") return dict_GetAlias(a, std::stoi(args[1]), text, flag);
    if (call == "DelAlias") return dict_DelAlias(a);
    if (call == "List") return dict_List(a, b, text);
    if (call == "First") return dict_First(a);
    if (call == "Next") return dict_Next(a, text, flag);
    if (call == "Get") return dict_Get(a, b, text);
    if (call == "GetByKey") return dict_GetByKey(a, b, args[2].c_str(), text);
    return call == "Close" ? dict_Close(std::stoi(args[0])) : -99;
  }
};

TEST_F(Dialogs, AreListedAndMapped) {
  Run({"DlgID - 2 0 = 0 D02lang 0", "DlgID KUNDEN 1 2 = 0 D02KUNDE 0", "DlgID KUNDEN 1 5 = 0 D01KUNDE 0",
       "DlgID KUNDEN 1 6 = 0 - 1", "DlgID - 3 0 = 0 - 1", "DlgID@40 - 1 4 = 0 D02KUNDE 0", "DlgID@39 - 1 4 = 18 XDl",
       "DlgID@12 - 1 4 = 18 old", "MapID kd = 0 D02Auch", "MapID@6 be = 18 old", "MapID k = 19 old", "Close 2 = 0 old",
       "MapID kd = 0 D01KUNDE"});
}

TEST_F(Dialogs, HaveAliases) {
  Run({"GetAlias D01KUNDE 1 = 0 - 1", "NewAlias d01Kunde = 0 d01Kunde_1", "NewAlias@9 D01KUNDE = 18 old",
       "GetAlias D01KUNDE 2 = 0 D01KUNDE_2 0", "GetAlias@9 D01KUNDE 2 = 18 old 0", "GetAlias D01KUNDE 0 = 0 - 1",
       "GetAlias D01KUNDE_2 1 = 19 old 0", "NewAlias D01KUNDE_2 = 19 old", "Get D01KUNDE_2 name = 0 name",
       "DelAlias D01KUNDE_1 = 0 old", "DelAlias D01KUNDE_1 = 19 old", "DelAlias D01KUNDE = 19 old",
       "NewAlias D01KUNDE = 0 D01KUNDE_2", "Close 1 = 0 old", "Get D01KUNDE_2 name = 19 -"});
}

TEST_F(Dialogs, FieldsAreFoundByNameAndByKey) {
  Run({"List d01kunde titel = 0 Kunden",
       "List@6 D02Best TITEL = 0 Kunden",
       "List@5 D01KUNDE TITEL = 18 -",
       "List D01KUNDE TITE = 0 -",
       "List D02Auch TITEL = 0 -",
       "List D03KUNDE TITEL = 19 old",
       "Get D01KUNDE NAME = 0 name",
       "Get D01KUNDE x.y = 0 x.y",
       "Get D01KUNDE " + LONG + " = 0 " + LONG,
       "Get D01KUNDE " + LONG + "f = 0 -",
       "Get D01KUNDE " + LONG + LONG + " = 0 -",
       "Get D02lang name = 0 -",
       "Get D01KUNDE datum = 0 -",
       "Get D01KUNDE nam = 0 -",
       "Get@99 D01KUNDE name = 18 -",
       "Get D01KUND name = 19 -",
       "GetByKey D01KUNDE ftyp n = 0 umsatz",
       "GetByKey D01KUNDE PATH K.NAME = 0 name",
       "GetByKey D01KUNDE FTYP M = 0 -",
       "GetByKey@99 D01KUNDE FTYP N = 18 -",
       "GetByKey D01KUNDE TYP N = 19 -",
       "GetByKey D01KUNDE MODEL - = 19 -",
       "GetByKey D02lang NOSUCH - = 0 -",
       "GetByKey D01 NOSUCH - = 0 -",
       "GetByKey D0 FTYP N = 19 -"});
}

TEST_F(Dialogs, OfOneDictionaryShareTheWalk) {
  Run({"Next D01KUNDE = 0 name 0", "Next D02Best = 0 datum 0", "Next D02Auch = 0 plz 0", "Next@99 D02KUNDE = 18 - 0",
       "Next d02kunde = 0 umsatz 0", "Next KUNDE = 19 - 0", "Next D01KUNDE = 0 x.y 0", "First D02 = 0 old",
       "Next D01Best = 0 datum 0", "Next D01Best = 0 - 1", "Next D01Best = 0 datum 0", "Next D01 = 0 - 1",
       "Next D01 = 0 - 1", "Next D02Auch = 0 - 1", "First D = 19 old"});
}

}  // namespace
}  // namespace vorlix::test
