#include "dll/shared/dictvar.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

constexpr char ORDERS[] =
    "[catalog]\nKO=KOPF\n[ko.name]\nPATH=n\nFTYP=T\n[ko.betrag__2]\nPATH=b\nFTYP=N\n[ko.betrag]\nPATH=b\nFTYP=N\n";
constexpr VarMode ADD = VarMode::Append;
constexpr VarMode SET = VarMode::Replace;
const std::string NAME_A = "XName~0~1~a";

class DictVars : public testing::Test {
 protected:
  DictVars() { EXPECT_EQ(OpenText("Auftrag", 1, ORDERS), 0); }
  ~DictVars() override {
    CurrVarContext() = {};
    dict_CloseAll();
  }
};

/// The list as an XBUF; when that fails, the result and what was written whole.
std::string Written(int32_t room = 400) {
  const TestString xbuf(room);
  int64_t length = -1;
  const int32_t result = VarWriteXBUF(xbuf.Get().buf, room, length);
  EXPECT_TRUE(xbuf.GuardsIntact()) << room;
  const std::string written(xbuf.Get().buf, static_cast<size_t>(length));
  return result == VAR_OK ? written : std::to_string(result) + " " + written;
}

/// Adds an XBUF: the result, the list that is left, and the lines traced up to level 2.
std::string Read(const std::string& xbuf, VarMode mode, const char* dlgID = "D01KOPF") {
  const TraceCapture trace("D2");
  const std::vector<char> copy(xbuf.begin(), xbuf.end());  // nothing readable behind it
  const int32_t result = VarXBUF(dlgID, {copy.data(), copy.size()}, mode);
  std::string shown = std::to_string(result) + " " + Written();
  for (const std::string& line : trace.Lines()) shown += " " + line;
  return shown;
}

TEST_F(DictVars, ComeFromXbufs) {
  const struct {
    std::string xbuf;
    VarMode mode;
    std::string shown;  // with what the rows above have left
  } ROWS[] = {
      {"$", ADD, "-1 $ D2: VarXBUF() warning: no variable added"},
      {"XNAMEN~0~1~aNbetrag~3~1~1Xko~0~0~$", SET, "-1 $ D2: VarXBUF() warning: no variable added"},
      {NAME_A + "$behind", ADD, "0 " + NAME_A + "$"},
      {"$", ADD, "0 " + NAME_A + "$"},
      {"xNAME~~1~b$", SET, "0 XName~0~1~b$"},
      {"nBETRAG~002~4~1~$2Xname~0~0~$", ADD, "0 XName~0~1~bNBetrag~2~4~1~$2XName~0~0~$"},
      {"Xname~0~3~a\0bNbetrag__2~0~1~5$"s, SET, "0 " + NAME_A + "NBetrag~2~1~5XName~0~0~$"},
      {"Xname~0~0~Nbetrag~0~1~\0Xname~1~1~x$"s, SET, "0 XName~0~0~NBetrag~2~1~5XName~0~0~NBetrag~0~0~$"},
  };
  for (const auto& [xbuf, mode, shown] : ROWS) EXPECT_EQ(Read(xbuf, mode), shown) << xbuf;
  CurrVarContext() = {};
  EXPECT_EQ(Read(NAME_A + "$", ADD, "D01"), "-2 $ D1: VarXBUF(): unknown dlgID [D01]");
}

TEST_F(DictVars, AreKeptUpToTheFaultOfAnXbuf) {
  for (const std::string row :
       {"Yname~0~0~$ (1), offset=11", "X1~0~0~$ (1), offset=11", " (2), offset=12", "Xname~0 (2), offset=19",
        "Xname~0~x~$ (3), offset=19", "Xname~0~4294967296~$ (3), offset=19", "Xname~0~3~ab (4), offset=24",
        "Xname~0~4294967295~$ (4), offset=4294967325"}) {
    CurrVarContext() = {};
    const size_t end = row.find(' ');
    EXPECT_EQ(Read(NAME_A + row.substr(0, end), ADD),
              "-5 " + NAME_A + "$ D1: VarXBUF(): buffer corrupt" + row.substr(end))
        << row;
  }
}

TEST_F(DictVars, FillAnXbufAsFarAsTheyFit) {
  const std::string both = NAME_A + "NBetrag~2~0~";
  ASSERT_EQ(Read(both + "$", ADD), "0 " + both + "$");
  for (size_t room = 0; room <= both.size() + 1; ++room) {
    const std::string whole = room <= NAME_A.size() ? "" : room <= both.size() ? NAME_A : both;
    EXPECT_EQ(Written(static_cast<int32_t>(room)), room <= both.size() ? "-3 " + whole : whole + "$") << room;
  }
}

TEST(VarRealName, TakesIndexAndType) {
  Section section;
  const auto name_of = [&section] {
    VarName real;
    if (VarRealName(section, real) != VAR_OK) return "refused"s;
    return std::string(real.name) + " " + real.type + " " + std::to_string(real.index);
  };
  for (const std::string row :
       {"ko.betrag__3=betrag X 3", "ko.b__12=b X 12", "ko.b__0012=b X 12", "a.b.c__1=b.c X 1", "ko.a___3=a_ X 3",
        "ko.b__2147483647=b X 2147483647", "ko.b__2147483648=b__2147483648 X 0", "ko.__3=__3 X 0",
        "ko.betrag_3=betrag_3 X 0", "ko.betrag3=betrag3 X 0", "ko.3=3 X 0", "ko.b__=b__ X 0", "ko.= X 0", ".a=a X 0",
        "ko_betrag__3=refused"}) {
    section.section = CopyText(row.substr(0, row.find('=')));
    EXPECT_EQ(name_of(), row.substr(row.find('=') + 1)) << row;
  }
  section.section = CopyText("ko.");
  for (int32_t ftyp = FT_NONE; ftyp <= FT_XB; ++ftyp) {
    section.object.ftyp = ftyp;
    EXPECT_EQ(name_of()[1], "XNNNNNXXNNNXX"[ftyp]) << ftyp;
  }
}

TEST_F(DictVars, ReportEachAllocationThatFails) {
  // A variable that gets no value is there and empty; one for which there is no room is not there.
  const std::vector<std::string> outcomes = {"-4 XName~0~0~$D1: AddVar(name) failed: heap overflow (2)",
                                             "-4 XName~0~1~b$D1: AddVar(betrag) failed: heap overflow (1)",
                                             "-4 XName~0~1~bNBetrag~0~0~$D1: AddVar(betrag) failed: heap overflow (2)",
                                             "0 XName~0~1~bNBetrag~0~1~1$"};
  size_t expected = 0;
  for (int nth = 0; expected + 1 < outcomes.size(); ++nth) {
    CurrVarContext() = {};
    ASSERT_EQ(Read(NAME_A + "$", ADD), "0 " + NAME_A + "$");
    const TraceCapture trace("D1");
    std::string outcome;
    {
      const FailAllocation one(nth);
      outcome = std::to_string(VarXBUF("D01KOPF", "Xname~0~1~bNbetrag~0~1~1$", SET)) + " ";
    }
    outcome += Written() + (trace.Lines().empty() ? "" : trace.Lines()[0]);
    if (outcome != outcomes[expected]) ++expected;  // there may be several allocations for one outcome
    ASSERT_EQ(outcome, outcomes[expected]) << nth;
  }
}

TEST_F(DictVars, OutliveTheirDictionary) {
  ASSERT_EQ(Read(NAME_A + "$", ADD), "0 " + NAME_A + "$");
  dict_CloseAll();
  EXPECT_EQ(OpenText("Auftrag", 1, ORDERS), 0);
  EXPECT_EQ(Read("Xname~0~1~b$", SET), "0 " + NAME_A + "XName~0~1~b$");  // a field of another dictionary
  VarContext saved = std::exchange(CurrVarContext(), {});
  EXPECT_EQ(Written(), "$");
  dict_CloseAll();
  CurrVarContext() = std::move(saved);
  EXPECT_EQ(Written(), NAME_A + "XName~0~1~b$");
}

}  // namespace
}  // namespace vorlix::test
