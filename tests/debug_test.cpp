#include "dll/base/debug.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace vorlix {
namespace {

// clang-format off
TEST(Debug, FlagTextSetsLevels) {
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
  SetDebugFlags("", "");
}
// clang-format on

TEST(Debug, LinesGoToStandardErrorWhileNoFileIsOpen) {
  testing::internal::CaptureStderr();
  SetDebugFlags("D3", "/nowhere/trace");
  DebugPrint('D', 1, "one %d%%", 1);
  DebugPrint('D', 4, "never");
  DebugPrint('F', 0, "always");
  DebugEntry('D', "OpenDict", 7);
  SetDebugFlags("D2", "");
  DebugEntry('D', "OpenDict", 7);
  DebugPrint('D', 2, "%s", std::string(5000, 'x').c_str());
  SetDebugFlags("", "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "/nowhere/trace: No such file or directory\nD1: one 1%\nF0: always\n"
            "D3: OpenDict(): file dll/server/dict.cpp, line 7\nD2: " +
                std::string(1023, 'x') + "\n");
}

// Callers report the error of what failed before the line.
TEST(Debug, LinesLeaveTheErrorNumberAlone) {
  SetDebugFlags("D1", "/dev/full");
  errno = EDOM;
  DebugPrint('D', 1, "lost");
  EXPECT_EQ(errno, EDOM);
  SetDebugFlags("", "");
}

}  // namespace
}  // namespace vorlix
