// A long life: the calls of all scripts over and over, with everything given back after each round. The server may not
// grow with the number of calls.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "host/server.h"
#include "tests/support/scripts.h"
#include "tests/support/server.h"

namespace vorlix::test {
namespace {

// Calls after which the server has grown to its size.
constexpr long SETTLED = 100'000;

#ifdef __SANITIZE_ADDRESS__
constexpr long KIB_TO_GROW = 1'000'000;  // memory that was given back is kept from being used again
constexpr long CALLS = 150'000;
#else
constexpr long KIB_TO_GROW = 256;
constexpr long CALLS = 250'000;
#endif

struct Size {
  long resident_kib = 0;
  long descriptors = 0;
};

Size Measure(const host::Server& server) {
  const std::string process = "/proc/" + std::to_string(server.Pid());
  const std::string status = tool::ReadFile(process + "/status");
  const std::filesystem::directory_iterator descriptors(process + "/fd");
  return {std::atol(status.c_str() + status.find("VmRSS:") + std::size("VmRSS:")),
          std::distance(begin(descriptors), end(descriptors))};
}

TEST(LongLife, DoesNotMakeTheServerGrow) {
  host::Server server(TestServer());
  std::vector<std::pair<std::string, std::vector<host::Arg>>> calls;
  const auto players = PlayScripts([&](std::string_view name, const std::vector<host::Arg>& args) {
    calls.emplace_back(name, args);
    return server.Call(name, args);
  });
  const char* const wanted = std::getenv("VORLIX_CALLS_TO_MAKE");
  const long count = wanted != nullptr ? std::atol(wanted) : CALLS;
  Size settled;
  long made = 0;
  while (made < count) {
    for (const auto& [name, args] : calls) server.Call(name, args);
    made += static_cast<long>(calls.size());
    server.TakeStandardError();
    if (settled.resident_kib == 0 && made >= SETTLED) settled = Measure(server);
  }
  const Size in_the_end = Measure(server);
  RecordProperty("calls", std::to_string(made));
  RecordProperty("settled_kib", std::to_string(settled.resident_kib));
  RecordProperty("end_kib", std::to_string(in_the_end.resident_kib));
  EXPECT_LE(in_the_end.resident_kib, settled.resident_kib + KIB_TO_GROW) << "after " << made << " calls";
  EXPECT_EQ(in_the_end.descriptors, settled.descriptors);
}

}  // namespace
}  // namespace vorlix::test
