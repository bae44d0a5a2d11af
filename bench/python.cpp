// A call from Python beside the same call from C++, and beside what a query of sqlite3 costs there.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "host/server.h"

namespace {

using namespace vorlix;
using bench::Expect;

constexpr int CALLS = 5'000;
constexpr int TURNS = 7;
constexpr double GOAL = 5;

// Nanoseconds in Python: of a call, of a query.
std::array<double, 2> AskPython() {
  const std::string command = std::string("PYTHONPATH=" BENCH_PYTHON " VORLIX_LIBRARY=" BENCH_LIBRARY
                                          " " BENCH_INTERPRETER " " BENCH_SCRIPT " ") +
                              std::to_string(CALLS) + " " VORLIX_SERVER;
  std::FILE* const output = popen(command.c_str(), "r");
  std::array<double, 2> times{};
  Expect(output != nullptr && std::fscanf(output, "%lf %lf", times.data(), &times[1]) == 2, "Python does not answer");
  pclose(output);
  return times;
}

double Median(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
}

}  // namespace

int main() {
  bench::PinToOneCore();
  host::Server server({.program = VORLIX_SERVER, .environment = {{"LANG", "C"}}});
  const bench::Contender own = {"", [&] {
                                  const auto result = server.Call("v_Get", {host::Text("Name"), host::OutText(32'000)});
                                  Expect(result.code == 0, "v_Get fails");
                                }};
  std::vector<double> cpp;
  std::vector<double> python;
  std::vector<double> query;
  for (int turn = 0; turn < TURNS; ++turn) {
    cpp.push_back(bench::NanosecondsPerRound(own, CALLS));
    const auto [call, select] = AskPython();
    python.push_back(call);
    query.push_back(select);
  }
  bench::PrintRow("a call from Python", Median(python), "the same from C++", Median(cpp), GOAL);
  bench::PrintRow("a call from Python", Median(python), "sqlite3, select ?", Median(query));
  return 0;
}
