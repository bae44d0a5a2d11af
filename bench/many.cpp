// One, a hundred and a thousand servers at once: how much memory each takes, how long it takes from its start to its
// first answer, a call when they take turns, and the end.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "host/server.h"

namespace {

using namespace vorlix;
using bench::Expect;
using Servers = std::vector<std::unique_ptr<host::Server>>;

constexpr size_t COUNTS[] = {1, 100, 1'000};
constexpr size_t TURNS = 1'000;  // at least so many of everything that is timed, whatever the number of servers
constexpr double MOST_MEMORY = 300 * 1024.0;
constexpr double NO_LONGER = 2;

// What one of so many servers costs: bytes, nanoseconds.
struct Cost {
  double memory;
  double start;
  double call;
  double end;
};

// A part of the memory that processes share counts for each of them, divided by their number (Pss).
double MemoryOf(pid_t process) {
  std::ifstream map("/proc/" + std::to_string(process) + "/smaps_rollup");
  for (std::string line; std::getline(map, line);)
    if (line.starts_with("Pss:")) return std::stod(line.substr(4)) * 1024;
  Expect(false, "the memory of a server is not to be read");
  return 0;
}

void Call(host::Server& server) {
  Expect(server.Call("dll_Revision", {host::OutText(20)}).code == 0, "dll_Revision fails");
}

double Median(std::vector<double> times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::ranges::nth_element(times, middle);
  return *middle;
}

double Nanoseconds(const std::function<void()>& work) {
  const auto start = host::Clock::now();
  work();
  return std::chrono::duration<double, std::nano>(host::Clock::now() - start).count();
}

Cost Measure(size_t count) {
  std::vector<double> starts;
  std::vector<double> calls;
  std::vector<double> ends;
  Cost cost{};
  while (starts.size() < TURNS) {
    Servers servers(count);
    for (auto& server : servers)
      starts.push_back(Nanoseconds([&] {
        server = std::make_unique<host::Server>(host::ServerOptions{.program = VORLIX_SERVER});
        Call(*server);
      }));
    for (const auto& server : servers) calls.push_back(Nanoseconds([&] { Call(*server); }));
    cost.memory = 0;
    for (const auto& server : servers) cost.memory += MemoryOf(server->Pid()) / static_cast<double>(count);
    for (auto& server : servers) ends.push_back(Nanoseconds([&] { server->End(); }));
  }
  cost.start = Median(starts);
  cost.call = Median(calls);
  cost.end = Median(ends);
  return cost;
}

}  // namespace

int main() {
  bench::PinToOneCore();
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);  // each server takes a descriptor
  Cost one{};
  for (const size_t count : COUNTS) {
    const Cost cost = Measure(count);
    if (count == 1) one = cost;
    const std::string of = ", one of " + std::to_string(count) + " servers";
    bench::PrintRow("memory" + of, cost.memory, "the most that is allowed", MOST_MEMORY, count > 1 ? 1 : 0,
                    bench::SizeText);
    bench::PrintRow("first answer" + of, cost.start, "of a single one", one.start, count > 1 ? NO_LONGER : 0);
    bench::PrintRow("a call" + of, cost.call, "of a single one", one.call);
    bench::PrintRow("the end" + of, cost.end, "of a single one", one.end);
  }
  return 0;
}
