// Dictionaries as a whole: in the trace, and packed for transfer.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "dll/shared/csdx.h"
#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

constexpr char CUSTOMERS[] =
    "[catalog]\nKD=KUNDE\n[kd.name]\nPATH=%s%n\nFTYP=T\nFFMT=LrcZtuvo\nFLEN=30\nFMIN=0.5\nNOTIFY=valid,empty\n"
    "[KD.Name]\nPATH=second\nFTYP=T\n";

class WholeDicts : public testing::Test {
 protected:
  WholeDicts() {
    EXPECT_EQ(OpenText("Muster", -1, "[betrag]\nFTYP=N\n"), 0);
    EXPECT_EQ(OpenText("Leer", 1, "[catalog]\nLE=LEER\n"), 0);
    EXPECT_EQ(OpenText("Kunden", 1, CUSTOMERS), 0);
  }
  ~WholeDicts() override {
    dict_CloseAll();
    CSDX_Reset();
  }
};

/// The dumped lines, each behind a "|"; of the attributes only paths, and "..." for the others.
std::string Dump(const char* dlgID, const std::string& field) {
  const TraceCapture trace("");
  EXPECT_EQ(dict_Dump(dlgID, field.c_str()), 0);
  std::string lines;
  int others = 0;
  for (const std::string& line : trace.Lines()) {
    EXPECT_EQ(line.substr(0, 4), "D0: ");
    const bool is_other = line.substr(4, 2) == "  " && line.substr(6, 4) != "PATH";
    if (!is_other) lines += "|" + line.substr(4);
    if (is_other && ++others % 18 == 0) lines += "...";
  }
  return lines;
}

TEST_F(WholeDicts, AreDumped) {
  EXPECT_EQ(OpenText("leer", 2, ""), 0);
  EXPECT_EQ(dict_Update("D01KUNDE", TestString(80, "XDict_fld~0~4~nameNDict_len~0~2~40$")), 0);
  const std::string first = "|  PATH             [%s%n]...";
  const std::string second = "|  PATH             [second]...";
  const std::string kunden = "||Dump of dict=Kunden, all sections:|instance_cnt=1 (derived)| section [kd.name]" +
                             first + "| section [kd.name]" + second;
  const std::string leer =
      "||Dump of dict=Leer, all sections:|instance_cnt=2| this dictionary does not contain any sections";
  const std::string muster =
      "||Dump of dict=Muster, all sections:|instance_cnt=1 (model dictionary)| section [betrag]"
      "|  PATH             []...";
  const auto missing = [](const std::string& field) {
    return "||Dump of dict=Leer, section [LE." + field + "]:|instance_cnt=2| section [LE." + field + "] not found|";
  };
  const std::string too_long(90, 'x');
  const struct {
    const char* dlgID;
    std::string field;
    std::string lines;
  } ROWS[] = {
      {"D01KUNDE", "", kunden + "|"},
      {"D01KUNDE", "name", "||Dump of dict=Kunden, section [KD.name]:|instance_cnt=1 (derived)" + first + second + "|"},
      {"D02LEER", "", leer + "|"},
      {"D02LEER", "%s", missing("%s")},
      {"D02LEER", too_long, missing(too_long)},
      {"", "", kunden + leer + muster + "|"},
      {"", "name", "|DumpDict() failed: missing dlgID, cannot resolve field name"},
      {"D%s", "", "|DumpDict() failed: unknown dlgID 'D%s'"},
  };
  for (const auto& [dlgID, field, lines] : ROWS) EXPECT_EQ(Dump(dlgID, field), lines) << dlgID << " " << field;
  dict_CloseAll();
  EXPECT_EQ(Dump("", "name"), "|DumpDict(): no dictionaries available");
}

/// The buffer that is ready to be sent.
std::string Packed() { return std::string(CSDX_Contents().value_or("none")); }

/// A buffer with this payload.
std::string Buffer(const std::string& payload) {
  return "R1~" + std::to_string(1'000'010 + payload.size()).substr(1) + "~" + payload;
}

TEST_F(WholeDicts, ArePacked) {
  EXPECT_EQ(dict_PackDX("d01kunde", 1), 0);
  EXPECT_EQ(Packed(), Buffer("D6~Kunden1~1~C2~KD5~KUNDES7~kd.nameI4~PATH4~%s%nI7~OBJTYPE2~ETI4~FTYP1~T"
                             "I4~FFMT8~LrcZtuvoI4~FLEN2~30I4~FMIN3~0.5I6~NOTIFY11~valid,empty"
                             "S7~kd.nameI4~PATH6~secondI7~OBJTYPE2~ETI4~FTYP1~TI4~FFMT8~LrcZtuvo"));
  EXPECT_EQ(dict_PackDX("D01LEER", -2147483647), 0);
  EXPECT_EQ(Packed(), Buffer("D4~Leer1~-2147483647~C2~LE4~LEER"));
  EXPECT_EQ(OpenText("leer", 2, ""), 0);
  EXPECT_EQ(dict_PackDX("D02LEER", 7), 0);
  EXPECT_EQ(Packed(), Buffer("D4~Leer2~7~"));
  EXPECT_EQ(dict_PackDX("D03LEER", 7), 19);
  EXPECT_EQ(Packed(), "none");
  EXPECT_EQ(dict_PackBufDX(TestString(5, "~$\0a"s)), 0);
  EXPECT_EQ(Packed(), Buffer("~$\0a"s));
  const TestString text(5, "hello");
  const FailAllocation all(0, true);
  EXPECT_EQ(dict_PackBufDX(text), 2);
  EXPECT_EQ(dict_PackDX("D01KUNDE", 1), 2);
  EXPECT_FALSE(CSDX_Contents().has_value());
}

}  // namespace
}  // namespace vorlix::test
