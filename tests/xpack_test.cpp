#include "dll/shared/xpack.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "dll/shared/dictattr.h"
#include "dll/shared/dictkrnl.h"
#include "tests/support/callables.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

// Each item as "Xname.index=value;", then what is corrupt and where.
std::string Read(std::string_view xbuf) {
  const std::vector<char> copy(xbuf.begin(), xbuf.end());  // nothing readable behind it
  XbufReader reader({copy.data(), copy.size()});
  XbufItem item;
  std::string shown;
  XbufReader::Step step = reader.Next(item);
  for (; step == XbufReader::Step::Item; step = reader.Next(item))
    (shown += LetterOf(item.type)).append(item.name.data()) +=
        "." + std::to_string(item.index) + "=" + std::string(item.value) + ";";
  if (step == XbufReader::Step::End) return shown;
  return shown + "corrupt (" + std::to_string(reader.Fault()) + ") at " + std::to_string(reader.Offset());
}

// clang-format off
TEST(Xpack, ReadsItems) {
  const std::string n79(79, 'n');
  const std::pair<std::string, std::vector<std::string>> ROWS[] = {
      {"", {"$", "$behind"}}, {"Xdict_fld.0=~$;Na1_.2147483647=;", {"XDict_Fld~0~2~~$nA1_~2147483647~0~$"}},
      {"Xab.0=a\0b;Nab.1=;"s, {"Xab~~003~a\0bNAB~01~~$"s}}, {"X" + n79 + ".3=;", {"x" + n79 + "~3~0~$"}},
      {"corrupt (1) at 0", {"Yabc~0~0~$", "X9abc~0~0~$", "X_~0~0~$", "X~0~0~$", "Xa.b~0~0~$", "X\xE4~0~0~$",
                            "Xn" + n79 + "~3~0~$", "Xa~-1~0~$", "Xa~1$", "Xa~2147483648~0~$"}},
      {"corrupt (2) at 0", {""}}, {"corrupt (2) at 1", {"X"}}, {"corrupt (2) at 6", {"Xab~12"}},
      {"Xa.0=b;corrupt (2) at 8", {"Xa~0~1~b"}}, {"corrupt (4) at 6", {"Xa~0~3"}},
      {"corrupt (3) at 5", {"Xa~0~x~$", "Xa~0~3$", "Xa~0~-1~a$", "Xa~0~+1~a$", "Xa~0~4294967296~a$"}},
      {"Xa.0=b;corrupt (3) at 13", {"Xa~0~1~bXa~0~" + std::string(300, '1') + "~a$"}},
      {"corrupt (4) at 10", {"Xa~0~3~ab"}}, {"corrupt (4) at 4294967311", {"Xa~0~4294967295~a$"}},
  };
  for (const auto& [read, xbufs] : ROWS)
    for (const std::string& xbuf : xbufs) EXPECT_EQ(Read(xbuf), read) << xbuf;
}
// clang-format on

TEST(Xpack, PacksSectionsWhereTheyFit) {
  Section section;
  section.name = CopyText("kd.n.b");
  std::array<char, 8> field;
  ASSERT_EQ(XbufObSet(section.object, field, "Xfld~0~7~ignoredNDict_len~0~2~30Xpath~0~4~a~$b$"), AttrResult::Ok);
  TestString whole(1000);
  ASSERT_EQ(xpack_dict(section, whole), 0);
  EXPECT_TRUE(whole.View().starts_with("XDict_fld~0~3~n.bXDict_path~0~4~a~$bX")) << whole.View();
  const auto size = static_cast<int32_t>(whole.View().size());
  for (int32_t room = -1; room <= size; ++room) {
    TestString packed(room);
    EXPECT_EQ(xpack_dict(section, packed), room < size ? RESULT_TOO_SHORT : 0) << room;
    EXPECT_EQ(packed.View(), room < size ? "" : whole.View());
    EXPECT_TRUE(packed.GuardsIntact()) << room;
  }
}

TEST(Xpack, KeepsHeadersShort) {
  std::array<char, 300> memory;
  const XbufWriter writer{memory.data(), memory.size()};
  EXPECT_TRUE(XbufWriter(writer).Put("Dict_", std::string(245, 'a'), 'N', "", 12));
  EXPECT_FALSE(XbufWriter(writer).Put("Dict_", std::string(246, 'a'), 'N', "", 12));
  const PieceLength length = xpack_item(memory.data(), 13, "Dict_", "len", 'N');
  EXPECT_EQ(std::string_view(memory.data(), static_cast<size_t>(length.value())), "NDict_len~0~");
}

}  // namespace
}  // namespace vorlix::test
