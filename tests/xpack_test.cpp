#include "dll/shared/xpack.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "dll/shared/dictattr.h"
#include "dll/shared/dictkrnl.h"
#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

TEST(Xpack, WritesPieces) {
  const std::string long_name(246, 'a');
  const struct {
    const char* prefix;  // "value" for a value, null for the header of a plain one
    std::string text;
    int32_t room;
    std::string written;  // "" when it does not fit
  } ROWS[] = {
      {nullptr, "FELD", 9, "NFeld~0~"},
      {nullptr, "FELD", 8, ""},
      {"Dict_", "TYP", 40, "NDict_typ~12~"},
      {"Dict_", "TYP", -1, ""},
      {"Dict_", long_name.substr(1), 400, "NDict_" + long_name.substr(1) + "~12~"},
      {"Dict_", long_name, 400, ""},
      {"value", "abc", 6, "3~abc"},
      {"value", "abc", 5, ""},
      {"value", "", 3, "0~"},
      {"value", "", -5, ""},
  };
  for (const auto& [prefix, text, room, written] : ROWS) {
    const TestString memory(room);
    char* const dst = memory.Get().buf;
    const int64_t length = prefix == nullptr    ? xpack_item(dst, room, nullptr, text, 'N')
                           : prefix == "value"s ? xpack_value(dst, room, text)
                                                : xpack_elem(dst, room, prefix, text, 'N', 12);
    EXPECT_EQ(length, written.empty() ? -1 : static_cast<int64_t>(written.size())) << text;
    EXPECT_EQ(std::string(dst, written.size()), written) << text;
    EXPECT_TRUE(memory.GuardsIntact()) << text;
  }
}

TEST(Xpack, ReadsPieces) {
  const std::string name_79(79, 'N');
  const struct {
    char piece;  // 'H' header, 'V' value
    std::vector<std::string> sources;
    int64_t consumed;
    std::string read;  // name, type and index, or the value
  } ROWS[] = {
      {'H', {"XDict_Fld~0~4~name", "xdict_FLD~0~"}, 12, "dict_fld 1 0"},
      {'H', {"nA1_~2147483647~"}, 16, "a1_ 2 2147483647"},
      {'H', {"X" + name_79 + "~3~"}, 83, std::string(79, 'n') + " 1 3"},
      {'V', {"3~abcd", "3~abc"}, 5, "abc"},
      {'V', {"02~~$", "02~~$x"}, 5, "~$"},
      {'V', {"~", "~3"}, 1, ""},
      {'H', {"Yabc~0~", "X9abc~0~", "X_~0~", "X~0~", "Xa.b~0~", "X\xE4~0~", "X" + name_79 + "N~3~"}, -1, ""},
      {'H', {"Xab~-1~", "Xab~1$", "Xab~2147483648~"}, -1, ""},
      {'V', {"4294967296~a", "x~", "3$", "-1~a", "+1~a"}, -1, ""},
      {'H', {""}, 1, ""},
      {'H', {"X"}, 2, ""},
      {'H', {"Xab~12"}, 7, ""},
      {'V', {"3", "3~ab"}, 5, ""},
      {'V', {"4294967295~a"}, 4294967306, ""},
  };
  for (const auto& [piece, sources, consumed, read] : ROWS)
    for (const std::string& source : sources) {
      const std::vector<char> copy(source.begin(), source.end());  // nothing readable behind it
      const std::string_view src(copy.data(), copy.size());
      XbufItem item;
      EXPECT_EQ(piece == 'H' ? xunpack_item(src, item) : xunpack_value(src, item), consumed) << source;
      if (read.empty()) continue;
      EXPECT_EQ(piece == 'H' ? item.name.data() + (" " + std::to_string(item.type)) + " " + std::to_string(item.index)
                             : std::string(item.value),
                read);
    }
}

const std::string PACKED =
    "XDict_fld~0~4~nameXDict_path~0~4~a~$bXDict_objtype~0~2~ETXDict_typ~0~1~NXDict_vtyp~0~0~XDict_fmt~0~0~"
    "NDict_req~0~1~0NDict_len~0~1~0NDict_prec~0~1~0NDict_min~0~4~-0.5NDict_max~0~1~0XDict_defval~0~0~"
    "XDict_empty~0~0~XDict_valid~0~0~XDict_search~0~0~XDict_check~0~0~XDict_notify~0~5~emptyXDict_output~0~0~"
    "XDict_load~0~0~XDict_init~0~0~$";

TEST(Xpack, PacksSections) {
  const auto size = static_cast<int32_t>(PACKED.size());
  const struct {
    const char* name;
    int32_t max;
    std::string xbuf;
  } ROWS[] = {{"kd.name", size, PACKED},
              {"kd.name", size - 1, "old"},
              {"name", size, PACKED},
              {"kd.name", 3, "old"},
              {"kd.n.b", size, "XDict_fld~0~3~n.b" + PACKED.substr(18)}};
  for (const auto& [name, max, expected] : ROWS) {
    Section section;
    section.section = CopyText(name);
    for (const auto& [item, text] : {std::pair("PATH", "a~$b"), {"FTYP", "N"}, {"FMIN", "-0.5"}, {"NOTIFY", "empty"}}) {
      OwnedText value = CopyText(text);
      EXPECT_GE(ObSet(section.object, item, value, name), 0);
    }
    TestString xbuf(max, "old");
    EXPECT_EQ(xpack_dict(section, xbuf), expected == "old" ? RESULT_TOO_SHORT : 0) << name << " " << max;
    EXPECT_EQ(xbuf.Get().len, expected.size()) << name << " " << max;
    EXPECT_TRUE(expected == "old" || xbuf.View() == expected) << xbuf.View();
    EXPECT_TRUE(xbuf.GuardsIntact()) << name << " " << max;
  }
}

/// Sets an object from a copy with nothing readable behind it: the field name on success, else the message.
std::string Take(Object& object, std::string_view xbuf) {
  const std::vector<char> copy(xbuf.begin(), xbuf.end());
  std::vector<char> field(8, 'f');
  const TraceCapture trace("D1");
  if (XbufObSet(object, field, {copy.data(), copy.size()}) == 0) return field.data();
  return trace.Lines().size() == 1 ? trace.Lines()[0] : "(not one message)";
}

TEST(Xpack, SetsObjects) {
  const std::string failed = "D1: XbufObSet() failed: ", corrupt = failed + "buffer corrupt ";
  const struct {
    std::string xbuf;
    const char* path;  // null when it is not set
    std::string answer;
  } ROWS[] = {
      {PACKED, "a~$b", "name"},
      {"xDICT_PATH~7~1~pXfld~~1~f$ignored", "p", "f"},
      {"XA_path~0~1~pXB_fld~0~1~fXpath~0~1~q$", "q", "f"},
      {"Xfld~0~9~f\0longestXpath~~4~p\0xx$"s, "p", "f"},
      {"Xfld~0~7~fieldnaXlen~0~1~3$", nullptr, "fieldna"},
      {"$", nullptr, failed + "field name not specified"},
      {"Xpath~0~1~p$", "p", failed + "field name not specified"},
      {"Xfld~0~1~f$", nullptr, failed + "XBUF seems to be empty"},
      {"XDict_ftyp~0~1~N$", nullptr, failed + "unknown item 'ftyp'"},
      {"XDict_dict_typ~0~1~N$", nullptr, failed + "unknown item 'dict_typ'"},
      {"Xpath~0~1~pXfld~0~1~fXtyp~0~3~ABC$", "p",
       "D1: ObSetIdx(FTYP=ABC) failed: maximum length exceeded, section 'f'"},
      {"Xpath~0~1~pX9~0~1~q$", "p", corrupt + "(1), offset=11"},
      {"Xpath~0~1~p", "p", corrupt + "(2), offset=12"},
      {"Xpath~0~x~p$", nullptr, corrupt + "(3), offset=8"},
      {"Xpath~0~" + std::string(300, '1') + "~p$", nullptr, corrupt + "(3), offset=8"},
      {"Xpath~0~4294967295~p$", nullptr, corrupt + "(4), offset=4294967314"},
      {"Xfld~0~8~fieldnamXlen~0~1~3$", nullptr, corrupt + "(4), offset=17"},
  };
  for (const auto& [xbuf, path, answer] : ROWS) {
    Object object;
    EXPECT_EQ(Take(object, xbuf), answer) << xbuf;
    EXPECT_STREQ(object.path.get(), path) << xbuf;
  }
  const std::string_view good = "Xfld~0~1~fNDict_len~12~2~30Xpath~0~4~a~$b$";
  for (size_t length = 0; length < good.size(); ++length) {
    Object object;
    EXPECT_NE(Take(object, good.substr(0, length)).find(corrupt), std::string::npos) << length;
  }
}

TEST(Xpack, WithoutMemoryKeepsWhatCameBefore) {
  std::array<char, 8> field;
  const TraceCapture trace("D1");
  Object object;
  {
    const FailAllocation fail(1);
    EXPECT_EQ(XbufObSet(object, field, "Xfld~0~1~fXpath~0~1~pXvalid~0~1~v$"), -2);
  }
  EXPECT_STREQ(object.path.get(), "p");
  EXPECT_EQ(trace.Lines(), std::vector<std::string>{"D1: XbufObSet() failed: heap overflow (item=VALID)"});
}

}  // namespace
}  // namespace vorlix::test
