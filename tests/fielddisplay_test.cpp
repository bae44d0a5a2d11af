// What fields show of their values. The clock of the tests stands at 14:30 on Sunday, 2 January 2005.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "dll/shared/datefmt.h"
#include "dll/shared/fielddisplay.h"
#include "tests/support/dictstate.h"

namespace vorlix::test {
namespace {

std::tm TestClock() {
  std::tm now{};
  FromValue(now, 20050102, false);
  now.tm_hour = 14;
  now.tm_min = 30;
  return now;
}

// What a field with these attributes, "FTYP=N|FLEN=3", shows.
std::string Shown(const std::string& attributes, const std::string& value) {
  Object field;
  EXPECT_TRUE(SetObject(field, attributes)) << attributes;
  FieldBuffer out;
  return FmtDisplay(out, field, value.c_str(), TestClock) ? std::string(out.View()) : "(nothing)";
}

// clang-format off
TEST(FieldDisplay, GoesByTheFieldType) {
  const std::string a300(300, 'a');
  const std::string a255(255, 'a');
  const struct { const char* attributes; std::vector<std::pair<std::string, std::string>> shown; } ROWS[] = {
      {"FTYP=N|FLEN=8|FPREC=2|FFMT=RT", {{"1234.5x", " 1234.50"}, {"123456789", "????????"}, {"1e999", "????????"}}},
      {"FTYP=N|FLEN=3|FFMT=P", {{"", "0"}, {"x", "0"}}},
      {"FTYP=D|FVTYP=GREG|FLEN=10|FFMT=%d.%m.%Y", {{"10227", "31.12.1999"}, {"0", ""}}},
      {"FTYP=D|FVTYP=YMD|FLEN=10|FFMT=%d.%m.%Y", {{"19991231", "31.12.1999"}, {"$Date", "02.01.2005"}, {"$TIME", ""}}},
      {"FTYP=Z|FVTYP=hm60|FLEN=5|FFMT=%H:%M", {{"$time", "14:30"}, {"1250", "12:30"}, {"2400", "00:00"}, {"$DATE", ""},
                                               {"59652323", "03:14"}, {"59652324", "?????"}, {"-99999999", "?????"}}},
      {"FTYP=Z|FVTYP=HM100|FLEN=6|FPREC=2|FFMT=RT", {{"$TIME", " 14.50"}, {"-125", " -1.25"}}},
      {"FTYP=M|FLEN=7|FFMT=%m/%Y", {{"200512", "12/2005"}, {"$DATE", ""}}},
      {"FTYP=K|FVTYP=kw", {{"$DATE", "53/04"}, {"200453", "53/04"}}},
      {"FTYP=K|FVTYP=KW|FLEN=4", {{"$date", "????"}}},
      {"FTYP=K|FVTYP=KW|FLEN=15|FFMT=%d.%m.%Y(%W)", {{"$DATE", "02.01.2004(53)"}}},
      {"FTYP=K", {{"$DATE", "02.01.05"}, {"20050102", "02.01.05"}}},
      {"FTYP=K|FFMT=%W", {{"$DATE", ""}}},
      {"FTYP=T|FLEN=3", {{" abcd", "abc"}, {"", ""}}},
      {"FTYP=U|FLEN=4|FFMT=RUO", {{"ab", "  AB"}, {"abcde", "????"}}},
      {"FTYP=T|FLEN=255", {{a300, a255}}},
      {"FTYP=T|FLEN=300", {{a300, std::string(255, '?')}}},
      {"FTYP=CB", {{"", "0"}, {" 2x", "2"}, {"99999999999999999999", "2147483647"}}},
      {"FTYP=RB|FMIN=1|FMAX=3", {{"7", "3"}, {"-2", "1"}, {"2", "2"}}},
      {"FTYP=RB|FMIN=-1.9|FMAX=2.9", {{"-3", "-1"}, {"3", "2"}}}, {"FTYP=RB|FMIN=-9|FMAX=-2", {{"0", "-2"}}},
      {"FTYP=RB|FMIN=1", {{"7", "7"}}}, {"FTYP=RB|FMAX=0.5", {{"7", "0"}}}, {"FTYP=RB|FMIN=9|FMAX=3", {{"1", "3"}}},
      {"FTYP=RB|FMIN=1e300", {{"7", "2147483647"}}},
      {"FTYP=LB|FMIN=5", {{"7", "3"}, {"2", "1"}}},
      {"FTYP=LB|FMIN=5.9|FMAX=2.9", {{"9", "2"}, {"5", "1"}}},
      {"FTYP=LB|FMIN=-1e300", {{"2147483647", "4294967296"}}},
      {"FTYP=XB|FLEN=2", {{"$DATE 12 ", "(nothing)"}}}, {"FTYP=MT", {{"abc", "(nothing)"}}}, {"FTYP=X1", {{"abc", "(nothing)"}}}, {"", {{"abc", "(nothing)"}}},
  };
  for (const auto& [attributes, values] : ROWS)
    for (const auto& [value, shown] : values) EXPECT_EQ(Shown(attributes, value), shown) << attributes << " " << value;
}
// clang-format on

TEST(FieldDisplay, HasALocalClock) {
  std::tm now = LocalTimeNow();
  EXPECT_NEAR(std::difftime(std::time(nullptr), std::mktime(&now)), 0, 60);
}

}  // namespace
}  // namespace vorlix::test
