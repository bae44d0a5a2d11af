// What every measurement does: contenders side by side in one run, in turn, on one core, the median of the runs, and a
// line of the table for each pair.
#pragma once

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlix::bench {

/// A way of doing the work that is measured.
struct Contender {
  const char* name;
  std::function<void()> round;        // does the work once
  double goal = 0;                    // our time over this one's is to be at most this; 0: no goal
  std::function<void()> before = {};  // what comes before each round, outside of its time
};

/// Ends the program when what is measured does not do what it should.
inline void Expect(bool holds, std::string_view what) {
  if (holds) return;
  std::fprintf(stderr, "bench: %.*s\n", static_cast<int>(what.size()), what.data());
  std::exit(1);
}

/// Keeps this process and all that it starts from now on to the core it is on, so that none moves while it is measured.
inline void PinToOneCore() {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(static_cast<unsigned>(std::max(sched_getcpu(), 0)), &one);
  if (sched_setaffinity(0, sizeof one, &one) != 0) std::perror("sched_setaffinity");
}

inline double NanosecondsPerRound(const Contender& contender, int rounds) {
  using Clock = std::chrono::steady_clock;
  std::chrono::duration<double, std::nano> taken{};
  const int at_once = contender.before ? 1 : rounds;
  for (int done = 0; done < rounds; done += at_once) {
    if (contender.before) contender.before();
    const auto start = Clock::now();
    for (int i = 0; i < at_once; ++i) contender.round();
    taken += Clock::now() - start;
  }
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

/// "12.3 us": three digits or more of a time in nanoseconds.
inline std::string TimeText(double nanoseconds) {
  const struct {
    const char* unit;
    double size;
  } UNITS[] = {{"ms", 1e6}, {"us", 1e3}, {"ns", 1}};
  const auto* unit = std::find_if(std::begin(UNITS), std::end(UNITS) - 1,
                                  [&](const auto& candidate) { return nanoseconds >= candidate.size; });
  char text[40];
  std::snprintf(text, sizeof text, "%.*f %s", nanoseconds < 100 * unit->size ? 2 : 1, nanoseconds / unit->size,
                unit->unit);
  return text;
}

/// "123.4 KiB" of a size in bytes.
inline std::string SizeText(double bytes) {
  char text[40];
  std::snprintf(text, sizeof text, "%.1f KiB", bytes / 1024);
  return text;
}

/// A line of the table: what is measured, our figure, what stands beside it, its figure, the ratio of ours to it, the
/// goal.
inline void PrintRow(const std::string& what, double ours, const std::string& name, double theirs, double goal = 0,
                     std::string (*figure)(double) = TimeText) {
  std::printf("%-42s %10s  %-28s %10s %7.2f", what.c_str(), figure(ours).c_str(), name.c_str(), figure(theirs).c_str(),
              ours / theirs);
  if (goal > 0) std::printf("  <= %.2f%s", goal, ours / theirs <= goal ? "" : "  missed");
  std::putchar('\n');
  std::fflush(stdout);
}

/// Measures, and prints a line for each contender beside the first one, which is ours. A round handles `items` of what
/// the times are for.
inline void Compare(const std::string& what, const std::vector<Contender>& contenders, int items, int rounds,
                    int runs) {
  const std::vector<double> medians = MeasureInterleaved(contenders, rounds, runs);
  for (size_t i = 1; i < medians.size(); ++i)
    PrintRow(what, medians[0] / items, contenders[i].name, medians[i] / items, contenders[i].goal);
}

}  // namespace vorlix::bench
