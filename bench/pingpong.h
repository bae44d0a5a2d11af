// Two signals and the work between them: what a call cannot do without.
//
// The peer waits in sigwait as the server does, and this side with the client library as for any call.
#pragma once

#include <unistd.h>

#include <chrono>
#include <csignal>

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

/// This side: one signal there and one back.
inline void PingPong(host::Process& peer) {
  peer.Signal(SIGUSR2);
  const auto event = peer.Wait(host::Clock::now() + std::chrono::seconds(10));
  Expect(event == host::Process::Event::Answer, "the peer does not answer");
}

}  // namespace vorlix::bench
