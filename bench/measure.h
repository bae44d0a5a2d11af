// What every measurement does: contenders side by side in one run, in turn, on one core, and the median of the runs.
#pragma once

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace vorlix::bench {

/// A way of doing the work that is measured.
struct Contender {
  const char* name;
  std::function<void()> round;  // does the work once
};

/// Keeps this process and all that it starts from now on to the core it is on, so that none moves while it is measured.
inline void PinToOneCore() {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(static_cast<unsigned>(std::max(sched_getcpu(), 0)), &one);
  if (sched_setaffinity(0, sizeof one, &one) != 0) std::perror("sched_setaffinity");
}

inline double NanosecondsPerRound(const Contender& contender, int rounds) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < rounds; ++i) contender.round();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
  return taken.count() / rounds;
}

/// Runs the contenders in turn, `runs` times `rounds` rounds each after a run to warm up, and gives the median of each
/// in nanoseconds a round.
inline std::vector<double> MeasureInterleaved(const std::vector<Contender>& contenders, int rounds, int runs = 9) {
  std::vector<std::vector<double>> samples(contenders.size());
  for (int run = -1; run < runs; ++run) {
    for (size_t i = 0; i < contenders.size(); ++i) {
      const double sample = NanosecondsPerRound(contenders[i], rounds);
      if (run >= 0) samples[i].push_back(sample);
    }
  }
  std::vector<double> medians;
  for (std::vector<double>& of_one : samples) {
    const auto middle = of_one.begin() + static_cast<std::ptrdiff_t>(of_one.size() / 2);
    std::nth_element(of_one.begin(), middle, of_one.end());
    medians.push_back(*middle);
  }
  return medians;
}

}  // namespace vorlix::bench
