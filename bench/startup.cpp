// From starting the server to its first answer, with as many allowed descriptors as this user may have, up to
// 1,048,576, and with 1,024: the server closes what it inherits, and that must not depend on how much it could have
// inherited.
#include <sys/resource.h>

#include <algorithm>
#include <memory>
#include <string>

#include "bench/measure.h"
#include "host/server.h"

namespace {

using namespace vorlix;
using bench::Expect;

constexpr rlim_t MANY = 1'048'576;
constexpr rlim_t FEW = 1'024;
constexpr int RUNS = 101;
constexpr double LONGEST = 20e6;  // nanoseconds
constexpr double NO_SLOWER = 1.05;

std::unique_ptr<host::Server> server;

bench::Contender Start(const char* name, rlim_t descriptors) {
  const auto allow = [descriptors] {
    server.reset();
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = descriptors;
    Expect(setrlimit(RLIMIT_NOFILE, &limit) == 0, "the limit of descriptors cannot be set");
  };
  const auto start = [] {
    server = std::make_unique<host::Server>(host::ServerOptions{.program = VORLIX_SERVER});
    Expect(server->Call("dll_Revision", {host::OutText(20)}).code == 0, "dll_Revision fails");
  };
  return {name, start, NO_SLOWER, allow};
}

}  // namespace

int main() {
  bench::PinToOneCore();
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_max = std::max(limit.rlim_max, MANY);
  if (setrlimit(RLIMIT_NOFILE, &limit) != 0) getrlimit(RLIMIT_NOFILE, &limit);
  const rlim_t many = std::min(limit.rlim_max, MANY);
  const std::string what = "start-up, of " + std::to_string(many) + " descriptors";
  const std::vector<bench::Contender> contenders = {Start("", many), Start("of 1024 descriptors", FEW)};
  const std::vector<double> medians = bench::MeasureInterleaved(contenders, 1, RUNS);
  bench::PrintRow(what, medians[0], contenders[1].name, medians[1], NO_SLOWER);
  bench::PrintRow(what, medians[0], "the longest that is allowed", LONGEST, 1);
  server.reset();
  return 0;
}
