#include "dll/shared/dictattr.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

constexpr char SECTION[] = "kd.name";
constexpr char ALL_UNSET[] =
    "PATH=|OBJTYPE=ET|FTYP=|FVTYP=|FFMT=|FREQ=0|FLEN=0|FPREC=0|FMIN=0|FMAX=0|DEFAULT=|FEMPTY=|VALID=|FSEARCH=|FCHECK=|"
    "NOTIFY=|OUTPUT=|LOAD=|INIT=";
using Lines = std::vector<std::string>;

int32_t Set(Object& object, const std::string& item, const std::string& text) {
  OwnedText value = CopyText(text);
  const int32_t result = ObSet(object, item, value, SECTION);
  EXPECT_EQ(result == ATTR_KEPT, value == nullptr) << item << "=" << text;
  return result;
}

/// An object from lines parted by "|", such as "PATH=a|FTYP=N".
Object Make(const std::string& lines) {
  Object object;
  for (size_t at = 0; at < lines.size();) {
    const size_t end = std::min(lines.find('|', at), lines.size());
    const size_t equals = lines.find('=', at);
    EXPECT_GE(Set(object, lines.substr(at, equals - at), lines.substr(equals + 1, end - equals - 1)), 0) << lines;
    at = end + 1;
  }
  return object;
}

std::string Get(const Object& object, std::string_view item) {
  AttrText attr;
  for (int32_t row = ObGetIdx(object, 0, attr); row >= 0; row = ObGetIdx(object, row + 1, attr)) {
    EXPECT_EQ(attr.value.data()[attr.value.size()], '\0') << attr.item;
    if (EqualNoCase(attr.item, item)) return std::string(attr.value);
  }
  return "(unreadable)";
}

/// What has been set, as Make takes it.
std::string Show(const Object& object) {
  std::string lines;
  AttrText attr;
  for (int32_t row = ObGetIdx(object, 0, attr); row >= 0; row = ObGetIdx(object, row + 1, attr))
    if ((object.mask >> row & 1) != 0)
      lines.append(lines.empty() ? "" : "|").append(attr.item).append("=").append(attr.value);
  return lines;
}

/// The traced lines, each without the section's name that it must end in.
std::string Messages(const TraceCapture& trace) {
  const std::string ending = std::string(", section '") + SECTION + "'";
  std::string text;
  for (std::string line : trace.Lines()) {
    EXPECT_TRUE(line.ends_with(ending)) << line;
    text += (text.empty() ? "" : "\n") + line.substr(0, line.size() - ending.size());
  }
  return text;
}

TEST(DictAttr, SetsAndReadsTexts) {
  const std::string long_80(80, 'x'), long_81(81, 'x');
  const std::string invalid = ") failed: invalid value", too_long = ") failed: maximum length exceeded";
  const struct {
    const char* before;
    const char* item;
    std::string value;
    int32_t result;
    std::string text;  // read back
    std::string message;
  } ROWS[] = {
      {"", "PATH", long_80, 1, long_80, ""},
      {"PATH=old", "PATH", long_81, -2, "old", "D1: ObSetIdx(PATH=" + long_81 + too_long},
      {"PATH=old", "PATH", "", 0, "", "D2: ObSet(PATH) warning: empty value"},
      {"", "TYP", "N", -2, "(unreadable)", "D1: ObSet(TYP) failed: unknown item"},
      {"", "%s%n", "N", -2, "(unreadable)", "D1: ObSet(%s%n) failed: unknown item"},
      {"", "MODEL", "m", 1, "(unreadable)", ""},
      {"VALID=a", "erlaubt", "b", 1, "b", "D2: ObSetIdx(ERLAUBT) warning: old item name, replace with 'VALID'"},
      {"", "ObjType", "cb", 0, "CB", ""},
      {"", "OBJTYPE", "", 0, "??", "D2: ObSet(OBJTYPE) warning: empty value"},
      {"OBJTYPE=XB", "OBJTYPE", "N", -2, "??", "D1: ObSetIdx(OBJTYPE=N" + invalid},
      {"FTYP=N", "FTYP", "x1", 1, "x1", ""},
      {"FTYP=X1", "FTYP", "Xb", 0, "XB", ""},
      {"FTYP=X1", "FTYP", "", 0, "", "D2: ObSet(FTYP) warning: empty value"},
      {"FTYP=N", "FTYP", "ABC", -2, "N", "D1: ObSetIdx(FTYP=ABC" + too_long},
      {"NOTIFY=valid|FREQ=0", "FREQ", "1", 0, "1", ""},
      {"FREQ=1", "FREQ", "", 0, "0", "D2: ObSet(FREQ) warning: empty value"},
      {"FREQ=1", "FREQ", "01", -2, "0", "D1: ObSetIdx(FREQ=01" + invalid},
      {"FLEN=7", "FLEN", "abc", 0, "0", ""},
      {"", "FLEN", " +12abc", 0, "12", ""},
      {"", "FLEN", "99999999999999999999", 0, "2147483647", ""},
      {"", "FPREC", "-2147483649", 0, "-2147483648", ""},
      {"", "FMIN", " -1.5e2x", 0, "-150", ""},
      {"FMAX=7", "FMAX", "nan", 0, "0", ""},
      {"", "FMAX", "+0x10", 0, "0", ""},
      {"", "FMAX", "1e999", 0, "1.79769313486e+308", ""},
      {"", "NOTIFY", "valid, empty", 0, "valid,empty", ""},
      {"", "NOTIFY", " 1;FSEARCH;Always,", 0, "always,fsearch", ""},
      {"NOTIFY=always", "NOTIFY", "valid, ", -2, "", "D1: ObSetIdx(NOTIFY=valid" + invalid},
      {"", "NOTIFY", "valid,foo", -2, "", "D1: ObSetIdx(NOTIFY=valid" + invalid},
      {"", "NOTIFY", ",", -2, "", "D1: ObSetIdx(NOTIFY=," + invalid},
      {"FREQ=1|NOTIFY=valid", "NOTIFY", "", 0, "", "D2: ObSet(NOTIFY) warning: empty value"},
  };
  for (const auto& [before, item, value, result, text, message] : ROWS) {
    SCOPED_TRACE(item + ("=" + value));
    Object object = Make(before);
    const uint32_t mask = object.mask;
    const TraceCapture trace("D2");
    EXPECT_EQ(Set(object, item, value), result);
    EXPECT_EQ(Get(object, EqualNoCase(item, "ERLAUBT") ? "VALID" : item), text);
    EXPECT_EQ(Messages(trace), message);
    EXPECT_TRUE(result != ATTR_FAILED || object.mask == mask);
  }
  EXPECT_STREQ(Make("MODEL=m").model.get(), "m");
  EXPECT_EQ(Make("MODEL=m").mask, 0U);
  EXPECT_EQ(Get(Make("NOTIFY=valid|FREQ=1"), "NOTIFY"), "valid") << "FREQ and NOTIFY share a word";
}

TEST(DictAttr, RowsHaveBitsAndNames) {
  AttrText attr;
  for (int32_t row = 0; ObGetIdx(Object(), row, attr) == row; ++row) {
    EXPECT_EQ(Make(std::string(attr.item) + "=").mask, 1U << row) << attr.item;
    EXPECT_EQ(ObFindAlias(ObGetAlias(row)), row) << attr.item;
  }
  for (const char* const name : {"FTYP", "ERLAUBT", "MODEL", ""}) EXPECT_EQ(ObFindAlias(name), -1) << name;
  const TraceCapture trace("D1");
  for (const int32_t row : {-1, ATTRIBUTE_COUNT}) {
    EXPECT_EQ(ObGetIdx(Object(), row, attr), -1) << row;
    EXPECT_EQ(ObGetAlias(row), nullptr) << row;
  }
  EXPECT_EQ(trace.Lines(), Lines(2, "D1: ObGetAlias() failed: invalid index"));
}

TEST(DictAttr, FreeClearsAndInitStartsAfresh) {
  Object object = Make("PATH=p|FTYP=X1|FREQ=1|NOTIFY=valid|FLEN=3|FMIN=2|INIT=i|MODEL=m");
  OwnedText none;
  EXPECT_EQ(ObSetIdx(object, 0, none, SECTION), ATTR_FAILED);
  ObFree(object);
  EXPECT_EQ(object.mask, 0U);
  EXPECT_EQ(object.model, nullptr);
  EXPECT_EQ(Get(object, "OBJTYPE"), "??");
  ASSERT_EQ(Set(object, "OBJTYPE", "ET"), 0);
  object.mask = (1U << ATTRIBUTE_COUNT) - 1;
  EXPECT_EQ(Show(object), ALL_UNSET);
  ObInit(object);
  EXPECT_EQ(Show(object), "");
  EXPECT_EQ(Get(object, "OBJTYPE"), "ET");
}

TEST(DictAttr, CopiesByMode) {
  const struct {
    const char* src;
    const char* dst;
    CopyMode mode;
    int32_t result;
    const char* copied;
  } ROWS[] = {
      {"PATH=a|FLEN=3|NOTIFY=valid,always", "PATH=b|FREQ=1", CopyMode::Set, 0,
       "PATH=a|FREQ=1|FLEN=3|NOTIFY=valid,always"},
      {"PATH=a|FLEN=3|MODEL=m", "PATH=b", CopyMode::Missing, 0, "PATH=b|FLEN=3"},
      {"PATH=a|FFMT=B", "PATH=|FTYP=N", CopyMode::Missing, 0, "PATH=|FTYP=N|FFMT=B"},
      {"", "VALID=x|FTYP=X1|FMAX=1", CopyMode::All, 0, ALL_UNSET},
      {"PATH=a|OBJTYPE=|FTYP=N", "FTYP=D", CopyMode::Set, -2, "PATH=a|FTYP=D"},
  };
  for (const auto& row : ROWS) {
    Object dst = Make(row.dst);
    EXPECT_EQ(ObCopy(dst, Make(row.src), row.mode, SECTION), row.result) << row.src;
    EXPECT_EQ(Show(dst), row.copied) << row.src;
    EXPECT_EQ(dst.model, nullptr) << row.src;
  }
}

TEST(DictAttr, WithoutMemoryWhatCameBeforeStays) {
  const Object src = Make("PATH=a|FTYP=T|FLEN=3");
  const TraceCapture trace("D1");
  Object dst;
  {
    const FailAllocation fail(2);
    EXPECT_EQ(ObCopy(dst, src, CopyMode::Set, SECTION), ATTR_FAILED);
  }
  {
    const FailAllocation fail(0);
    EXPECT_EQ(ObCheck(dst, SECTION), ATTR_FAILED);
  }
  EXPECT_EQ(Show(dst), "PATH=a|FTYP=T");
  EXPECT_EQ(trace.Lines(), (Lines{"D1: ObCopy() failed: heap overflow (section=kd.name, item=FLEN, value=3)",
                                  "D1: ObCheck() failed: heap overflow, section 'kd.name'"}));
}

TEST(DictAttr, ChecksAndCompletes) {
  const UseLocale locale;
  const std::string no_length = "D2: ObCheck() warning: LEN is zero or undefined";
  const struct {
    std::string lines;
    int32_t result;
    std::string shown;  // what follows "PATH=p|", "" for no change
    std::string messages;
  } ROWS[] = {
      {"FTYP=N", -2, "", "D1: ObCheck() failed: missing PATH"},
      {"PATH=p|OBJTYPE=", -2, "OBJTYPE=??", "D1: ObCheck() failed: missing OBJTYPE"},
      {"PATH=p", -2, "", "D1: ObCheck() failed: missing FTYP"},
      {"PATH=p|FTYP=X1|FLEN=3", 0, "", ""},
      {"PATH=p|OBJTYPE=CB|FTYP=N", 0, "OBJTYPE=CB|FTYP=CB", ""},
      {"PATH=p|OBJTYPE=XB|FFMT=B", 0, "OBJTYPE=XB|FTYP=XB|FFMT=B", ""},
      {"PATH=p|OBJTYPE=OF|FTYP=MT", 0, "", no_length},
      {"PATH=p|FTYP=N|FVTYP=l|FLEN=3", 0, "FTYP=N|FVTYP=l|FFMT=lRbzTPg|FLEN=3", ""},
      {"PATH=p|FTYP=N|FVTYP=X", -2, "", "D1: ObCheck() failed: FT_N has invalid FVTYP[X]"},
      {"PATH=p|FTYP=N|FFMT=lb|FLEN=3", 0, "FTYP=N|FFMT=LrBzTPg|FLEN=3",
       "D2: ObCheck() warning: old-style FFMT[lb], replace with 'LrBzTPg'"},
      {"PATH=p|FTYP=N|FFMT=B|FLEN=3|FPREC=-2", 0, "FTYP=N|FFMT=lRBztPg|FLEN=3|FPREC=2",
       "D2: ObCheck() warning: negative precision, set to '2' and change FFMT to 'lRBztPg'"},
      {"PATH=p|FTYP=N|FLEN=3|FPREC=-2147483648", 0, "FTYP=N|FFMT=lRbztPg|FLEN=3|FPREC=2147483647",
       "D2: ObCheck() warning: negative precision, set to '2147483647' and change FFMT to 'lRbztPg'"},
      {"PATH=p|FTYP=N|FFMT=lRbzTPg|FLEN=3|FPREC=-2", -2, "", "D1: ObCheck() failed: negative PREC"},
      {"PATH=p|FTYP=D", -2, "", "D1: ObCheck() failed: FT_D has invalid FVTYP[]"},
      {"PATH=p|FTYP=D|FVTYP=greg", 0, "FTYP=D|FVTYP=greg|FFMT=%d.%m.%y|FLEN=8", ""},
      {"PATH=p|FTYP=D|FVTYP=jmt|FLEN=6", 0, "FTYP=D|FVTYP=YMD|FFMT=%d.%m.%y|FLEN=6",
       "D2: ObCheck() warning: old-style FVTYP[jmt], replace with 'YMD'"},
      {"PATH=p|FTYP=D|FVTYP=JJMT", 0, "FTYP=D|FVTYP=CYMD|FFMT=%d.%m.%y|FLEN=10",
       "D2: ObCheck() warning: old-style FVTYP[JJMT], replace with 'CYMD'"},
      {"PATH=p|FTYP=D|FVTYP=YMD|FFMT=%x", 0, "", no_length},
      {"PATH=p|FTYP=T|FVTYP=JMT|FFMT=L|FLEN=1", 0, "", ""},
      {"PATH=p|FTYP=Z", -2, "", "D1: ObCheck() failed: FT_Z has invalid FVTYP[]"},
      {"PATH=p|FTYP=Z|FVTYP=HM60", 0, "FTYP=Z|FVTYP=HM60|FFMT=%H:%M|FLEN=5", ""},
      {"PATH=p|FTYP=Z|FVTYP=HM100", 0, "FTYP=Z|FVTYP=HM100|FFMT=lRBzTPg|FLEN=5|FPREC=2", ""},
      {"PATH=p|FTYP=M|FVTYP=any", 0, "FTYP=M|FVTYP=any|FFMT=%m/%y|FLEN=5", ""},
      {"PATH=p|FTYP=K", 0, "", ""},
      {"PATH=p|FTYP=K|FVTYP=YMD", -2, "", "D1: ObCheck() failed: FT_K has invalid FVTYP[YMD]"},
      {"PATH=p|FTYP=T|FLEN=1", 0, "FTYP=T|FFMT=LrcZtuvo|FLEN=1", ""},
      {"PATH=p|FTYP=U|FLEN=1", 0, "FTYP=U|FFMT=LrcZtUvo|FLEN=1", ""},
      {"PATH=p|FTYP=K|VALID=[0-9]*", 0, "", ""},
      {"PATH=p|FTYP=K|FLEN=-1|VALID=[0-9]", -2, "", "D1: ObCheck() failed: syntax error in VALID '[0-9]'"},
      {"PATH=p|FTYP=K|FLEN=-1|FPREC=-1", -2, "", "D1: ObCheck() failed: negative LEN"},
      {"PATH=p|OBJTYPE=ST|FTYP=X1|FPREC=-1", -2, "", no_length + "\nD1: ObCheck() failed: negative PREC"},
  };
  for (const auto& [lines, result, shown, messages] : ROWS) {
    SCOPED_TRACE(lines);
    Object object = Make(lines);
    const TraceCapture trace("D2");
    EXPECT_EQ(ObCheck(object, SECTION), result);
    EXPECT_EQ(Show(object), shown.empty() ? lines : "PATH=p|" + shown);
    EXPECT_EQ(Messages(trace), messages);
  }
}

}  // namespace
}  // namespace vorlix::test
