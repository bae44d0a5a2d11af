#include "dll/shared/xpack.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "dll/shared/dictattr.h"
#include "dll/shared/dictkrnl.h"
#include "tests/support/callables.h"
#include "tests/support/dictstate.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

// clang-format off
TEST(Xpack, WritesPieces) {
  const std::string a245(245, 'a');
  const struct { char piece; std::string text; int32_t room; std::string written; } ROWS[] = {  // or ""
      {'P', "FELD", 9, "NFeld~0~"}, {'P', "FELD", 8, ""}, {'E', "TYP", 40, "NDict_typ~12~"}, {'E', "TYP", -1, ""},
      {'E', a245, 400, "NDict_" + a245 + "~12~"}, {'E', a245 + "a", 400, ""},
      {'V', "abc", 6, "3~abc"}, {'V', "abc", 5, ""}, {'V', "", 3, "0~"}, {'V', "", -5, ""},
  };
  for (const auto& [piece, text, room, written] : ROWS) {
    const TestString memory(room);
    char* const dst = memory.Get().buf;
    const int64_t length = piece == 'P'   ? xpack_item(dst, room, nullptr, text, 'N')
                           : piece == 'V' ? xpack_value(dst, room, text)
                                          : xpack_elem(dst, room, "Dict_", text, 'N', 12);
    EXPECT_EQ(length, written.empty() ? -1 : static_cast<int64_t>(written.size())) << text;
    EXPECT_EQ(std::string(dst, written.size()), written) << text;
    EXPECT_TRUE(memory.GuardsIntact()) << text;
  }
}

TEST(Xpack, ReadsPieces) {
  const std::string n79(79, 'n');
  const struct { char piece; std::vector<std::string> sources; int64_t consumed; std::string read; } ROWS[] = {
      {'H', {"XDict_Fld~0~4~name", "xdict_FLD~0~"}, 12, "dict_fld 1 0"},
      {'H', {"nA1_~2147483647~"}, 16, "a1_ 2 2147483647"}, {'H', {"X" + n79 + "~3~"}, 83, n79 + " 1 3"},
      {'V', {"3~abcd", "3~abc"}, 5, "abc"}, {'V', {"02~~$", "02~~$x"}, 5, "~$"}, {'V', {"~", "~3"}, 1, ""},
      {'H', {"Yabc~0~", "X9abc~0~", "X_~0~", "X~0~", "Xa.b~0~", "X\xE4~0~", "X" + n79 + "n~3~"}, -1, ""},
      {'H', {"Xab~-1~", "Xab~1$", "Xab~2147483648~"}, -1, ""},
      {'V', {"4294967296~a", "x~", "3$", "-1~a", "+1~a"}, -1, ""}, {'V', {"4294967295~a"}, 4294967306, ""},
      {'H', {""}, 1, ""}, {'H', {"X"}, 2, ""}, {'H', {"Xab~12"}, 7, ""}, {'V', {"3", "3~ab"}, 5, ""},
  };
  for (const auto& [piece, sources, consumed, read] : ROWS)
    for (const std::string& source : sources) {
      const std::vector<char> copy(source.begin(), source.end());  // nothing readable behind it
      const std::string_view src(copy.data(), copy.size());
      XbufItem item;
      EXPECT_EQ(piece == 'H' ? xunpack_item(src, item) : xunpack_value(src, item), consumed) << source;
      if (read.empty()) continue;
      EXPECT_EQ(piece == 'H' ? item.name.data() + (" " + std::to_string(item.type)) + " " + std::to_string(item.index)
                             : std::string(item.value), read);
    }
}

const std::string PACKED =
    "XDict_fld~0~4~nameXDict_path~0~4~a~$bXDict_objtype~0~2~ETXDict_typ~0~1~NXDict_vtyp~0~0~XDict_fmt~0~0~"
    "NDict_req~0~1~0NDict_len~0~1~0NDict_prec~0~1~0NDict_min~0~4~-0.5NDict_max~0~1~0XDict_defval~0~0~"
    "XDict_empty~0~0~XDict_valid~0~0~XDict_search~0~0~XDict_check~0~0~XDict_notify~0~5~emptyXDict_output~0~0~"
    "XDict_load~0~0~XDict_init~0~0~$";

/// Sets an object from a copy with nothing readable behind it: the field name on success, else the message.
std::string Take(Object& object, std::string_view xbuf) {
  const std::vector<char> copy(xbuf.begin(), xbuf.end());
  std::vector<char> field(8, 'f');
  const TraceCapture trace("D1");
  return XbufObSet(object, field, {copy.data(), copy.size()}) == 0 ? field.data() : Messages(trace);
}

TEST(Xpack, SetsObjects) {
  const std::string failed = "D1: XbufObSet() failed: ", corrupt = failed + "buffer corrupt ";
  const struct { std::string xbuf; const char* path; std::string answer; } ROWS[] = {  // null when it is not set
      {PACKED, "a~$b", "name"}, {"xDICT_PATH~7~1~pXfld~~1~f$ignored", "p", "f"},
      {"XA_path~0~1~pXB_fld~0~1~fXpath~0~1~q$", "q", "f"}, {"Xfld~0~9~f\0longestXpath~~4~p\0xx$"s, "p", "f"},
      {"Xfld~0~7~fieldnaXlen~0~1~3$", nullptr, "fieldna"},
      {"$", nullptr, failed + "field name not specified"}, {"Xpath~0~1~p$", "p", failed + "field name not specified"},
      {"Xfld~0~1~f$", nullptr, failed + "XBUF seems to be empty"},
      {"XDict_ftyp~0~1~N$", nullptr, failed + "unknown item 'ftyp'"},
      {"XDict_dict_typ~0~1~N$", nullptr, failed + "unknown item 'dict_typ'"},
      {"Xpath~0~1~pXfld~0~1~fXtyp~0~3~ABC$", "p",
       "D1: ObSetIdx(FTYP=ABC) failed: maximum length exceeded, section 'f'"},
      {"Xpath~0~1~pX9~0~1~q$", "p", corrupt + "(1), offset=11"}, {"Xpath~0~1~p", "p", corrupt + "(2), offset=12"},
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
// clang-format on

TEST(Xpack, PacksSectionsWhereTheyFit) {
  Section section;
  Take(section.object, PACKED);
  const std::pair<const char*, std::string> ROWS[] = {
      {"kd.name", PACKED}, {"name", PACKED}, {"kd.n.b", "XDict_fld~0~3~n.b" + PACKED.substr(18)}};
  for (const auto& [name, xbuf] : ROWS) {
    section.section = CopyText(name);
    const auto size = static_cast<int32_t>(xbuf.size());
    for (const int32_t room : {size, size - 1, 3}) {
      TestString packed(room, "old");
      EXPECT_EQ(xpack_dict(section, packed), room < size ? RESULT_TOO_SHORT : 0) << name << " " << room;
      EXPECT_EQ(packed.Get().len, room < size ? 3 : size) << name << " " << room;
      EXPECT_TRUE(room < size || packed.View() == xbuf) << packed.View();
      EXPECT_TRUE(packed.GuardsIntact()) << name << " " << room;
    }
  }
}

}  // namespace
}  // namespace vorlix::test
