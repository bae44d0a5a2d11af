// What a call script cannot see of the list of variables: every room, and every allocation.
#include "dll/shared/dictvar.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/dictstate.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

class DictVars : public testing::Test {
 protected:
  DictVars() {
    EXPECT_EQ(OpenText("O", 1, "[catalog]\nKO=KOPF\n[ko.name]\nPATH=n\nFTYP=T\n[ko.sum__2]\nPATH=s\nFTYP=N\n"), 0);
  }
  ~DictVars() override {
    CurrVarContext() = {};
    dict_CloseAll();
  }
};

/// The list as an XBUF; when that fails, the result and what was written whole.
std::string Written(int32_t room) {
  const TestString xbuf(room);
  int64_t length = -1;
  const int32_t result = VarWriteXBUF(xbuf.Get().buf, room, length);
  EXPECT_TRUE(xbuf.GuardsIntact()) << room;
  const std::string written(xbuf.Get().buf, static_cast<size_t>(length));
  return result == VAR_OK ? written : std::to_string(result) + " " + written;
}

TEST_F(DictVars, FillAnXbufAsFarAsTheyFit) {
  EXPECT_EQ(Written(0), "-3 ");
  const std::string first = "XName~0~1~a", both = first + "NSum~2~0~";
  ASSERT_EQ(VarXBUF("D01KOPF", both + "$", VarMode::Append), VAR_OK);
  for (size_t room = 0; room <= both.size() + 1; ++room) {
    const std::string whole = room <= first.size() ? "" : room <= both.size() ? first : both;
    EXPECT_EQ(Written(static_cast<int32_t>(room)), room <= both.size() ? "-3 " + whole : whole + "$") << room;
  }
}

TEST_F(DictVars, SayWhatTheyHadNoMemoryFor) {
  // A variable that gets no value is there and empty; one for which there is no room is not there.
  const std::string outcomes[] = {
      "D1: AddVar(name) failed: heap overflow (2)XName~0~0~$", "D1: AddVar(sum) failed: heap overflow (1)XName~0~1~b$",
      "D1: AddVar(sum) failed: heap overflow (2)XName~0~1~bNSum~2~0~$", "XName~0~1~bNSum~2~1~1$"};
  for (int nth = 0, expected = 0; expected < 3; ++nth) {
    CurrVarContext() = {};
    VarXBUF("D01KOPF", "Xname~0~1~a$", VarMode::Append);
    const TraceCapture trace("D1");
    {
      const FailAllocation fail(nth);
      VarXBUF("D01KOPF", "Xname~0~1~bNsum~2~1~1$", VarMode::Replace);
    }
    const std::string outcome = Messages(trace) + Written(99);
    if (outcome != outcomes[expected]) ++expected;  // there may be several allocations for one outcome
    ASSERT_EQ(outcome, outcomes[expected]) << nth;
  }
}

}  // namespace
}  // namespace vorlix::test
