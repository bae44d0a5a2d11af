// A call is done when the result word no longer holds NO_RESULT. The wait is for the word itself, which the server
// wakes; the signal that it sends as well tells nothing new.
#include "host/server.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <string>

namespace vorlix::host {
namespace {

size_t SegmentSize(const ServerOptions& options) {
  constexpr size_t LEAST = 4096;  // the system gives whole pages
  if (options.segment_size < LEAST)
    throw std::invalid_argument("segment_size is " + std::to_string(options.segment_size) + "; the least is " +
                                std::to_string(LEAST));
  return options.segment_size;
}

Block WholeBlock(const Segment& segment) {
  return {segment.Memory(), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(segment.Memory().data()))};
}

// The server checks the header once, when it starts.
Process StartServer(const Segment& segment, Block& block, const ServerOptions& options) {
  BlockHeader header = block.MakeHeader(0);
  header.result_code = 0;  // no answer is to come
  block.Store(0, header);
  return Process(options.program.empty() ? FindServerProgram() : options.program, {std::to_string(segment.Id())},
                 options.environment, options.standard_error);
}

}  // namespace

class Server::Turn {
 public:
  explicit Turn(Server& server) : in_use_(server.in_use_) {
    server.RequireOwner();
    if (in_use_.test_and_set(std::memory_order_acquire))
      throw ServerError(Failure::Busy, "the server is in use by another thread, or by what a signal has interrupted");
  }
  ~Turn() { in_use_.clear(std::memory_order_release); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  std::atomic_flag& in_use_;
};

Server::Server(const ServerOptions& options)
    : segment_(SegmentSize(options)),
      block_(WholeBlock(segment_)),
      process_(StartServer(segment_, block_, options)),
      timeout_(options.timeout),
      is_interrupted_(options.is_interrupted) {}

void Server::RequireOwner() {
  Owner& owner = process_.OwnerOf();
  switch (owner.Look()) {
    case Owner::Hold::Ours: return;
    case Owner::Hold::OfAnother:
      throw ServerError(Failure::Busy, "the server belongs to process " + std::to_string(owner.Pid()) +
                                           ", from which this one was forked, as long as that lives");
    case Owner::Hold::TakenOver: break;
  }
  in_use_.clear();    // other threads were left behind
  under_way_ = true;  // a call can have been made since the fork, and its answer is to come
}

Result Server::Call(std::string_view function, const std::vector<Arg>& args) {
  const Turn turn(*this);
  const Wait wait(timeout_);
  AwaitAnswer(wait);
  PlaceCall(block_, function, args);
  SendCall();
  AwaitAnswer(wait);
  return ReadBack(block_);
}

uint64_t Server::Place(std::string_view function, const std::vector<Arg>& args, Patience patience) {
  const Turn turn(*this);
  AwaitAnswer(Wait(patience.value_or(timeout_)));
  PlaceCall(block_, function, args);
  SendCall();
  return placed_;
}

Result Server::Await(uint64_t number, Patience patience) {
  const Turn turn(*this);
  if (number != placed_) throw std::logic_error("another call has been placed since");
  AwaitAnswer(Wait(patience.value_or(timeout_)));
  return ReadBack(block_);
}

void Server::AwaitIdle() {
  const Turn turn(*this);
  AwaitAnswer(Wait(timeout_));
}

void Server::SetTimeout(std::chrono::milliseconds timeout) {
  const Turn turn(*this);
  timeout_ = timeout;
}

std::string Server::TakeStandardError() {
  const Turn turn(*this);
  return process_.TakeStandardError();
}

Ending Server::End() {
  const Turn turn(*this);
  return process_.End();
}

int32_t Server::Ring() {
  const Turn turn(*this);
  const Wait wait(timeout_);
  AwaitAnswer(wait);
  SendCall();
  AwaitAnswer(wait);
  return block_.LoadResult();
}

void Server::SendCall() {
  block_.StoreResult(NO_RESULT);
  under_way_ = true;
  ++placed_;
  process_.Signal(SIGUSR2);
}

// A year stands for every longer time, for which the clock has no numbers.
Server::Wait::Wait(std::chrono::milliseconds time) : patience(time) {
  constexpr std::chrono::milliseconds YEAR = std::chrono::hours(24 * 365);
  deadline = Clock::now() + std::min(patience, YEAR);
}

void Server::AwaitAnswer(const Wait& wait) {
  while (under_way_ && block_.LoadResult() == NO_RESULT) {
    if (is_interrupted_ && is_interrupted_())
      throw ServerError(Failure::Interrupted, "the wait for the server was interrupted");
    const Clock::time_point now = Clock::now();
    const Clock::time_point next_look = process_.Watch(now);
    if (process_.HowEnded().has_value()) throw ServerError(*process_.HowEnded(), process_.PendingStandardError());
    if (now >= wait.deadline)
      throw ServerError(Failure::Timeout,
                        "the server has not answered within " + std::to_string(wait.patience.count()) + " ms");
    block_.AwaitResult(std::min(wait.deadline, next_look));
  }
  under_way_ = false;
}

}  // namespace vorlix::host
