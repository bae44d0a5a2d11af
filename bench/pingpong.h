// Two signals and the work between them: what a call cannot do without.
//
// Both sides wait with sigtimedwait: that is the least that two signals cost.
#pragma once

#include <unistd.h>

#include <csignal>
#include <string>

#include "bench/measure.h"
#include "host/process.h"

namespace vorlix::bench {

/// The peer: does the work at each SIGUSR2 and sends one back.
template <class Work>
[[noreturn]] void AnswerSignals(Work work) {
  sigset_t calls;
  sigemptyset(&calls);
  sigaddset(&calls, SIGUSR2);
  for (int signal = 0;;) {
    if (sigwait(&calls, &signal) != 0) continue;
    work();
    kill(getppid(), SIGUSR2);
  }
}

/// This side, which starts this program again as the peer and keeps SIGUSR2 blocked.
class Peer {
 public:
  explicit Peer(const std::string& argument) : process_("/proc/self/exe", {argument}) {
    sigemptyset(&answers_);
    sigaddset(&answers_, SIGUSR2);
    sigprocmask(SIG_BLOCK, &answers_, nullptr);
  }

  /// One signal there and one back.
  void PingPong() {
    constexpr timespec LONG = {10, 0};
    process_.Signal(SIGUSR2);
    Expect(sigtimedwait(&answers_, nullptr, &LONG) == SIGUSR2, "the peer does not answer");
  }

 private:
  host::Process process_;
  sigset_t answers_;
};

}  // namespace vorlix::bench
