// What a call script cannot see of filter sets: why they are refused, and what a walk without memory leaves.
#include "dll/shared/varcontext.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "dll/server/functions.h"
#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/dictstate.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

class FilterSets : public testing::Test {
 protected:
  FilterSets() {
    OpenText("Orders", 1,
             "[catalog]\nKO=KOPF\n[ko.name]\nPATH=n\nFTYP=T\nFLEN=3\nDEFAULT=$U\n[ko.x]\nPATH=x\nFTYP=X1\n");
  }
  ~FilterSets() override {
    while (VarFree() == VAR_OK) continue;
    dict_CloseAll();
  }
};

/// The current set.
std::string Shown() {
  std::array<char, 200> text;
  int64_t length = 0;
  EXPECT_EQ(VarWriteXBUF(text.data(), text.size(), length), VAR_OK);
  return {text.data(), static_cast<size_t>(length)};
}

// clang-format off
TEST_F(FilterSets, OpenWithAList) {
  const std::string n79(79, 'n');
  const std::string refused = "D1: VarInitLIST(): ";
  const std::string nothing = "D2: VarInitLIST() warning: no variable added";
  const struct { std::string list; int32_t result; std::string shown; } ROWS[] = {  // the set, or what is traced
      {"*", VAR_OK, "XName~0~0~XX~0~0~$"},           {"x,NAME", VAR_OK, "XX~0~0~XName~0~0~$"},
      {",name,,x,", VAR_OK, "XName~0~0~XX~0~0~$"},   {"name$,x$", VAR_OK, "XName~0~0~XX~0~0~$"},
      {"x,sum,x", VAR_OK, "XX~0~0~XX~0~0~$"},        {"x," + n79 + "$", VAR_OK, "XX~0~0~$"},
      {"", VAR_NONE, nothing}, {"**", VAR_NONE, nothing}, {"name x", VAR_NONE, nothing}, {n79, VAR_NONE, nothing},
      {n79 + "n", VAR_REFUSED, refused + "field name too long, offset=79"},
      {"x," + n79 + "n", VAR_REFUSED, refused + "field name too long, offset=81"},
      {"ab$c", VAR_REFUSED, refused + "buffer corrupt, offset=3"},
      {"x$$", VAR_REFUSED, refused + "buffer corrupt, offset=2"},
  };
  for (const auto& [list, result, shown] : ROWS) {
    const TraceCapture trace("D2");
    EXPECT_EQ(VarInitLIST("D01KOPF", list.c_str()), result) << list;
    EXPECT_EQ(Messages(trace) + (result == VAR_OK ? Shown() : ""), shown) << list;
    EXPECT_EQ(VarFree(), result == VAR_OK ? VAR_OK : VAR_REFUSED) << list;
  }
}
// clang-format on

TEST_F(FilterSets, OpenWithAllFieldsOnlyWhereTheirNamesFit) {
  const DictPtr dict = FindDict("Orders", DICT_ORIGINAL);
  AddSection(*dict, "ko." + std::string(79, 'f'));
  EXPECT_EQ(VarInitLIST("D01KOPF", "*"), VAR_OK);
  VarFree();
  AddSection(*dict, "ko." + std::string(80, 'f'));
  EXPECT_EQ(VarInitLIST("D01KOPF", "*"), VAR_REFUSED);
  EXPECT_EQ(VarFree(), VAR_REFUSED);
}

// The filters that set values give the set up when they cannot.
TEST_F(FilterSets, EndWhenAFilterHasNoMemory) {
  for (const char* filter : {"format", "def_hook"})
    for (const int nth : {0, 1}) {  // the value is the only allocation
      VarInitONE("D01KOPF", "x", "below");
      VarInitONE("D01KOPF", "name", "abcd");
      VarInitAccess(filter);
      const TraceCapture trace("D2");
      int32_t result;
      {
        const FailAllocation fail(nth);
        result = VarGetNext();
      }
      EXPECT_EQ(result, nth == 0 ? VAR_NO_MEMORY : VAR_OK) << filter;
      EXPECT_EQ(Messages(trace), nth == 0 ? "D1: VarSetCurrValue(ko.name) failed: heap overflow" : "") << filter;
      EXPECT_EQ(VarCurrValue().has_value(), nth != 0) << filter;
    }
}

}  // namespace
}  // namespace vorlix::test
