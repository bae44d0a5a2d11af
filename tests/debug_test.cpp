#include "dll/shared/debug.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tools/files.h"

namespace vorlix {
namespace {

class Debug : public testing::Test {
 protected:
  ~Debug() override {
    SetDebugFlags("", "");
    unlink(path_.c_str());
  }
  std::string Contents() const { return tool::ReadFile(path_); }
  const std::string path_ = "/tmp/vorlix_debug_test_" + std::to_string(getpid());
};

// clang-format off
TEST_F(Debug, FlagTextSetsLevels) {
  const struct { const char* flags; int d, f, z; } rows[] = {
      {"", 0, 0, 0},       {"D3F1", 3, 1, 0},   {"*2Z0", 2, 2, 0},   {"DF", 1, 1, 0},
      {"d3", 0, 0, 0},     {"D12", 12, 0, 0},   {"D128", 127, 0, 0}, {"D99999999999999999999F", 127, 1, 0},
      {",7D", 1, 0, 0},    {"D1D2", 2, 0, 0},   {"*", 1, 1, 1},      {"\xc4" "5Z2", 0, 0, 2},
      {"Z3*", 1, 1, 1},    {"3D", 1, 0, 0},     {"D2,F3 Z4", 2, 3, 4},
  };
  for (const auto& row : rows) {
    SetDebugFlags(row.flags, "");
    for (int level = 0; level <= 128; ++level) {
      const bool good = DebugCheck('D', level) == (row.d >= level) && DebugCheck('F', level) == (row.f >= level) &&
                        DebugCheck('Z', level) == (row.z >= level);
      EXPECT_TRUE(good) << row.flags << " at level " << level;
    }
    for (const char category : {'d', '@', '[', '\xc4', '\0'}) EXPECT_FALSE(DebugCheck(category, 0)) << row.flags;
  }
}
// clang-format on

TEST_F(Debug, FileIsTruncatedFirstAndAppendedToWhileOneIsOpen) {
  tool::WriteFile(path_, "old\n");
  SetDebugFlags("D", path_.c_str());
  DebugPrint('D', 1, "one %d%%", 1);
  DebugPrint('D', 2, "never");
  DebugPrint('F', 0, "always");
  const std::string text = Contents();
  EXPECT_TRUE(text.starts_with("\n** ")) << text;
  EXPECT_NE(text.find("\n   Flags = [D]\n\nD1: one 1%\nF0: always\n"), std::string::npos) << text;
  SetDebugFlags("D", path_.c_str());
  EXPECT_TRUE(Contents().starts_with(text + "\n** ")) << "appended";
  SetDebugFlags("D", "");
  SetDebugFlags("D", path_.c_str());
  EXPECT_EQ(Contents().find("\n** ", 1), std::string::npos) << "no file was open before";
}

TEST_F(Debug, FileThatCannotBeOpenedIsReported) {
  SetDebugFlags("", path_.c_str());
  testing::internal::CaptureStderr();
  SetDebugFlags("D", "/nowhere/trace");
  DebugPrint('D', 1, "on standard error");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "/nowhere/trace: No such file or directory\nD1: on standard error\n");
  SetDebugFlags("D", path_.c_str());
  EXPECT_EQ(Contents().find("Flags = []"), std::string::npos) << "truncated, for no file was open";
}

TEST_F(Debug, LongMessagesAreCut) {
  SetDebugFlags("D", path_.c_str());
  DebugPrint('D', 1, "%s", std::string(5000, 'x').c_str());
  DebugEntry('D', "OpenIt");
  SetDebugFlags("D3", path_.c_str());
  DebugEntry('D', "OpenIt");
  const std::string text = Contents();
  EXPECT_NE(text.find("\n\nD1: " + std::string(1023, 'x') + "\n\n**"), std::string::npos);
  EXPECT_NE(text.find("D3: OpenIt(): file tests/debug_test.cpp, line "), std::string::npos);
}

}  // namespace
}  // namespace vorlix
