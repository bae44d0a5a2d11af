#include "dll/shared/dictattr.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/callables.h"
#include "tests/support/dictstate.h"

namespace vorlix::test {
namespace {

// What has been set, as "|PATH=p|FTYP=N".
std::string Show(const Object& object) {
  std::string lines;
  AttrText attr;
  for (int32_t row = 0; ObGetIdx(object, row, attr); ++row) {
    EXPECT_EQ(std::strlen(attr.value.CStr()), attr.value.View().size()) << attr.item.CStr();
    if ((object.mask >> row & 1) != 0) lines.append("|").append(attr.item.View()).append("=").append(attr.value.View());
  }
  return lines;
}

// clang-format off
TEST(DictAttr, AreSetAndRead) {
  const std::string x80(80, 'x'), x81(81, 'x');
  const struct { std::string lines, shown, message; } ROWS[] = {  // a message behind its level
      {"PATH=" + x80, "|PATH=" + x80, ""},
      {"PATH=old|PATH=" + x81, "|PATH=old", "1: ObSetIdx(PATH=" + x81 + ") failed: maximum length exceeded"},
      {"PATH=old|path=", "|PATH=", "2: ObSet(PATH) warning: empty value"},
      {"%s%n=N", "", "1: ObSet(%s%n) failed: unknown item"},
      {"VALID=a|erlaubt=b", "|VALID=b", "2: ObSetIdx(ERLAUBT) warning: old item name, replace with 'VALID'"},
      {"ObjType=cb|FTYP=N|FTYP=x1", "|OBJTYPE=CB|FTYP=x1", ""},
      {"OBJTYPE=XB|OBJTYPE=N", "|OBJTYPE=??", "1: ObSetIdx(OBJTYPE=N) failed: invalid value"},
      {"FTYP=X1|FTYP=Xb", "|FTYP=XB", ""},
      {"FTYP=N|FTYP=ABC", "|FTYP=N", "1: ObSetIdx(FTYP=ABC) failed: maximum length exceeded"},
      {"FTYP=X1|FREQ=1|FTYP=", "|FTYP=|FREQ=1", "2: ObSet(FTYP) warning: empty value"},
      {"FREQ=1|NOTIFY=valid|FREQ=", "|FREQ=0|NOTIFY=valid", "2: ObSet(FREQ) warning: empty value"},
      {"FREQ=1|FREQ=01", "|FREQ=0", "1: ObSetIdx(FREQ=01) failed: invalid value"},
      {"FLEN=7|FLEN=abc|FPREC= +12abc|FMAX=7|FMAX=nan", "|FLEN=0|FPREC=12|FMAX=0", ""},
      {"FLEN=99999999999999999999|FPREC=-2147483649", "|FLEN=2147483647|FPREC=-2147483648", ""},
      {"FMIN= -1.5e2x|FMAX=1e999", "|FMIN=-150|FMAX=1.79769313486e+308", ""},
      {"FMIN=+0x10|FREQ=1|NOTIFY= 1;FSEARCH;Always,", "|FREQ=1|FMIN=0|NOTIFY=always,fsearch", ""},
      {"NOTIFY=valid, empty|FREQ=0", "|FREQ=0|NOTIFY=valid,empty", ""},
      {"NOTIFY=always|NOTIFY=valid, ", "|NOTIFY=", "1: ObSetIdx(NOTIFY=valid) failed: invalid value"},
      {"NOTIFY=valid,foo", "", "1: ObSetIdx(NOTIFY=valid) failed: invalid value"},
      {"NOTIFY=,", "", "1: ObSetIdx(NOTIFY=,) failed: invalid value"},
  };
  for (const auto& [lines, shown, message] : ROWS) {
    const TraceCapture trace("D2");
    Object object;
    EXPECT_EQ(SetObject(object, lines), message.find("failed") == std::string::npos) << lines;
    EXPECT_EQ(Show(object), shown) << lines;
    EXPECT_EQ(Messages(trace), message.empty() ? "" : "D" + message + ", section 'kd.name'") << lines;
  }
}
// clang-format on

TEST(DictAttr, AreReadByNumbersAndNamesThatExist) {
  for (const char* const name : {"FTYP", "ERLAUBT", "MODEL", ""}) EXPECT_FALSE(ObFindAlias(name)) << name;
  for (const int32_t row : {-1, ATTRIBUTE_COUNT}) {
    const TraceCapture trace("D1");
    AttrText attr;
    EXPECT_FALSE(ObGetIdx(Object(), row, attr)) << row;
    EXPECT_EQ(ObGetAlias(row), nullptr) << row;
    EXPECT_EQ(Messages(trace), "D1: ObGetAlias() failed: invalid index");
  }
}

TEST(DictAttr, FreeClearsInitStartsAfreshAndACopyOfAllClears) {
  Object object;
  SetObject(object, "PATH=p|OBJTYPE=CB|FTYP=X1|FREQ=1|NOTIFY=valid|FLEN=3|FMIN=2|INIT=i|MODEL=m");
  ObFree(object);
  EXPECT_EQ(object.model, nullptr);
  EXPECT_EQ(Show(object) + ShowObject(object), " OBJTYPE=??");
  ObInit(object);
  EXPECT_EQ(Show(object) + ShowObject(object), " OBJTYPE=ET");
  SetObject(object, "VALID=x|FTYP=X1|FMAX=1");
  EXPECT_EQ(ObCopy(object, Object(), CopyMode::All, "kd.name"), AttrResult::Ok);
  EXPECT_EQ(object.mask, (1U << ATTRIBUTE_COUNT) - 1);
  EXPECT_EQ(ShowObject(object), " OBJTYPE=ET");
}

}  // namespace
}  // namespace vorlix::test
