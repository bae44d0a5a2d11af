// What mdf_Get reports about what it passes over.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "dll/server/functions.h"
#include "hostif/dllif.h"
#include "tests/support/callables.h"

namespace vorlix::test {
namespace {

// clang-format off
TEST(ModelDefinitions, ReportWhatTheyPassOver) {
  const std::string ignored = "mdf_Get: do_filter: ignored: ";
  const struct { std::string section, filter, report; } ROWS[] = {
      {"all", "mod,x,,Mdf_a,%s", ignored + "x\n" + ignored + "\n" + ignored + "a\n" + ignored + "%s\n"
                                 "mdf_Get: do_read: ignored: TITLE (no)\n"},
      {"all", "mod,Mdf_,x", ""},  // kept since
      {"sum", "mod,", "mdf_Get: GRUPPE exceeds limit of 18 (len = 19)\nmdf_Get: do_read: ignored: X (%d)\n"},
  };
  std::string path = "/tmp/vorlix_mdf_XXXXXX";
  close(mkstemp(path.data()));
  std::ofstream(path) << "[all]\nTitle=no\nTEXT=x\nREV=1\n[sum]\nGRUPPE=123456789\nGRUPPE=123456789\nx=%d\n";
  for (const auto& [section, filter, report] : ROWS) {
    for (const int32_t level : {1, 0}) {
      TestString xbuf(300);
      int32_t rc;
      testing::internal::CaptureStderr();
      SetCallTraceLevel(level);
      mdf_Get(path.c_str(), section.c_str(), filter.c_str(), xbuf, IntByReference(&rc));
      const std::string whole = "mdf_Get: section = " + section + "\n" + report;
      EXPECT_EQ(testing::internal::GetCapturedStderr(), level != 0 ? whole : "") << section << " " << filter;
    }
  }
  std::remove(path.c_str());
}
// clang-format on

}  // namespace
}  // namespace vorlix::test
