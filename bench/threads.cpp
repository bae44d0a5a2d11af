// Four threads with a server each, beside four processes with a server each, on all cores: what it costs that the
// threads are one process, to which all four servers send their signals.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <new>
#include <thread>
#include <vector>

#include "bench/measure.h"
#include "host/server.h"

namespace {

using namespace vorlix;
using bench::Expect;
using Clock = std::chrono::steady_clock;

constexpr int HOSTS = 4;
constexpr int CALLS = 10'000;  // of each host in a turn
constexpr int TURNS = 7;
constexpr double GOAL = 1.3;

// What the hosts of a turn share, threads and processes alike.
struct Turn {
  std::atomic<int> starting = HOSTS;
  std::array<double, HOSTS> mean{};  // nanoseconds a call
  std::array<double, HOSTS> slow{};  // of the slowest call in a thousand
};

void RunHost(Turn& turn, size_t number) {
  host::Server server({.program = VORLIX_SERVER, .environment = {{"LANG", "C"}}});
  Expect(server.Call("dll_Revision", {host::OutText(20)}).code == 0, "dll_Revision fails");
  std::vector<double> times(CALLS);
  for (--turn.starting; turn.starting > 0;) std::this_thread::yield();
  const auto start = Clock::now();
  auto before = start;
  for (double& time : times) {
    server.Ring();
    const auto now = Clock::now();
    time = std::chrono::duration<double, std::nano>(now - before).count();
    before = now;
  }
  turn.mean[number] = std::chrono::duration<double, std::nano>(before - start).count() / CALLS;
  std::ranges::sort(times);
  turn.slow[number] = times[CALLS - CALLS / 1000];
}

void RunThreads(Turn& turn) {
  std::vector<std::jthread> threads;
  for (size_t i = 0; i < HOSTS; ++i) threads.emplace_back([&turn, i] { RunHost(turn, i); });
}

void RunProcesses(Turn& turn) {
  for (size_t i = 0; i < HOSTS; ++i)
    if (fork() == 0) {
      RunHost(turn, i);
      _exit(0);
    }
  while (wait(nullptr) > 0) continue;
}

struct Times {
  std::vector<double> mean;
  std::vector<double> slow;
};

void Measure(const std::function<void(Turn&)>& run, Times& times) {
  void* memory = mmap(nullptr, sizeof(Turn), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  Expect(memory != MAP_FAILED, "no memory");
  auto& turn = *new (memory) Turn;
  run(turn);
  times.mean.push_back(*std::ranges::max_element(turn.mean));
  times.slow.push_back(*std::ranges::max_element(turn.slow));
  munmap(memory, sizeof(Turn));
}

double Median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

}  // namespace

int main() {
  Times threads;
  Times processes;
  for (int turn = 0; turn < TURNS; ++turn) {
    Measure(RunThreads, threads);
    Measure(RunProcesses, processes);
  }
  bench::PrintRow("a call, in four threads", Median(threads.mean), "in four processes", Median(processes.mean), GOAL);
  bench::PrintRow("the slowest in a thousand, four threads", Median(threads.slow), "in four processes",
                  Median(processes.slow), GOAL);
  return 0;
}
