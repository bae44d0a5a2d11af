// What a call script cannot see of filter sets: names that no dictionary file has, and what they hold when there was no
// memory.
#include "dll/shared/varcontext.h"

#include <gtest/gtest.h>

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
    OpenText("O", 1, "[catalog]\nKO=KOPF\n[ko.name]\nPATH=n\nFTYP=T\nFLEN=3\nDEFAULT=$U\n[ko.x]\nPATH=x\nFTYP=X1\n");
  }
  ~FilterSets() override {
    while (VarFree() == VAR_OK) continue;
    dict_CloseAll();
  }
};

TEST_F(FilterSets, OpenWithAllFieldsOnlyWhereTheirNamesFit) {
  const DictPtr dict = FindDict("O", DICT_ORIGINAL);
  AddSection(*dict, "ko." + std::string(79, 'f'));
  EXPECT_EQ(VarInitLIST("D01KOPF", "*"), VAR_OK);
  EXPECT_EQ(VarFree(), VAR_OK);
  AddSection(*dict, "ko." + std::string(80, 'f'));
  EXPECT_EQ(VarInitLIST("D01KOPF", "*"), VAR_REFUSED);
  EXPECT_EQ(VarFree(), VAR_REFUSED);
}

// A variable that gets no value is there and empty; one for which there is no room is not there.
TEST_F(FilterSets, KeepWhatThereWasMemoryFor) {
  const std::string outcomes[] = {"D1: AddVar(name) failed: heap overflow (2)XName~0~0~$",
                                  "D1: AddVar(x) failed: heap overflow (1)XName~0~1~b$",
                                  "D1: AddVar(x) failed: heap overflow (2)XName~0~1~bXX~0~0~$", "XName~0~1~bXX~0~1~1$"};
  for (int nth = 0, expected = 0; expected < 3; ++nth) {
    CurrVarContext() = {};
    ASSERT_EQ(VarXBUF("D01KOPF", "Xname~0~1~a$", VarMode::Append), VAR_OK);
    const TraceCapture trace("D1");
    {
      const FailAllocation fail(nth);
      static_cast<void>(VarXBUF("D01KOPF", "Xname~0~1~bXx~0~1~1$", VarMode::Replace));
    }
    TestString shown(99);
    dict_FilterToXbuf(shown);
    const std::string outcome = Messages(trace) + std::string(shown.View());
    if (outcome != outcomes[expected]) ++expected;  // there may be several allocations for one outcome
    ASSERT_EQ(outcome, outcomes[expected]) << nth;
  }
}

// The filters that set values give the set up when they cannot.
TEST_F(FilterSets, EndWhenAFilterHasNoMemory) {
  for (const char* filter : {"format", "def_hook"}) {
    ASSERT_EQ(VarInitONE("D01KOPF", "x", "below"), VAR_OK);
    ASSERT_EQ(VarInitONE("D01KOPF", "name", "abcd"), VAR_OK);
    ASSERT_EQ(VarInitAccess(filter), VAR_OK);
    const TraceCapture trace("D1");
    {
      const FailAllocation fail(0);  // of the value
      EXPECT_EQ(VarGetNext(), VAR_NO_MEMORY) << filter;
    }
    EXPECT_EQ(Messages(trace), "D1: VarSetCurrValue(ko.name) failed: heap overflow") << filter;
    EXPECT_EQ(VarFree(), VAR_OK) << filter << ": the set below is in use";
    EXPECT_EQ(VarFree(), VAR_REFUSED) << filter;
  }
}

}  // namespace
}  // namespace vorlix::test
