// A call is done when the result word no longer holds NO_RESULT; a signal only says when to look. So stale, merged and
// foreign signals do no harm.
#include "host/server.h"

#include <algorithm>
#include <csignal>
#include <string>

namespace vorlix::host {
namespace {

// With servers in several threads, one thread can take the signal that was meant for another; the word is looked at
// again after this time.
constexpr std::chrono::milliseconds LOOK_AGAIN{20};

Block WholeBlock(const Segment& segment) {
  return {segment.Memory(), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(segment.Memory().data()))};
}

// The server checks the header once, when it starts.
Process StartServer(const Segment& segment, Block& block, const ServerOptions& options) {
  block.Store(0, block.MakeHeader(0));
  return Process(options.program.empty() ? FindServerProgram() : options.program, {std::to_string(segment.Id())},
                 options.environment, options.standard_error);
}

}  // namespace

Server::Server(const ServerOptions& options)
    : segment_(options.segment_size),
      block_(WholeBlock(segment_)),
      process_(StartServer(segment_, block_, options)),
      timeout_(options.timeout) {}

Result Server::Call(std::string_view function, const std::vector<Arg>& args) {
  const Clock::time_point deadline = Deadline();
  AwaitAnswer(deadline);
  PlaceCall(block_, function, args);
  Ring(deadline);
  return ReadBack(block_);
}

void Server::AwaitIdle() { AwaitAnswer(Deadline()); }

int32_t Server::Ring() {
  const Clock::time_point deadline = Deadline();
  AwaitAnswer(deadline);
  return Ring(deadline);
}

int32_t Server::Ring(Clock::time_point deadline) {
  block_.StoreResult(NO_RESULT);
  under_way_ = true;
  process_.Signal(SIGUSR2);
  AwaitAnswer(deadline);
  return block_.LoadResult();
}

// A year stands for every longer time, for which the clock has no numbers.
Clock::time_point Server::Deadline() const {
  constexpr std::chrono::milliseconds YEAR = std::chrono::hours(24 * 365);
  return Clock::now() + std::min(timeout_, YEAR);
}

void Server::AwaitAnswer(Clock::time_point deadline) {
  while (under_way_ && block_.LoadResult() == NO_RESULT) {
    if (process_.HowEnded().has_value()) throw ServerError(*process_.HowEnded(), process_.PendingStandardError());
    const Clock::time_point now = Clock::now();
    if (now >= deadline)
      throw ServerError(Failure::Timeout,
                        "the server has not answered within " + std::to_string(timeout_.count()) + " ms");
    process_.Wait(std::min(deadline, now + LOOK_AGAIN));
  }
  under_way_ = false;
}

}  // namespace vorlix::host
