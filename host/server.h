// A running server and the calls to it: what a host program works with.
//
//   vorlix::host::Server server({.environment = {{"LANG", "de_DE"}}});
//   Result r = server.Call("dll_Revision", {OutText(20)});
//
// Several servers can live side by side, each used from any thread, by one thread at a time. See process.h for what
// happens to SIGUSR2. A child made by fork may go on with its parent's server when the parent has ended; until then the
// server is the parent's, and the child only lets go of it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/block.h"
#include "host/call.h"
#include "host/process.h"
#include "host/segment.h"

namespace vorlix::host {

struct ServerOptions {
  std::string program = {};               // the path of vorlix.dll; empty: FindServerProgram()
  EnvironmentChanges environment = {};    // the server reads its language from ZENDLANG, LANG, LC_COLLATE and LC_CTYPE
  size_t segment_size = size_t{1} << 20;  // bytes for header, descriptors and all values of one call; 4096 or more
  std::chrono::milliseconds timeout{10'000};  // for each call
  StandardError standard_error = StandardError::Inherit;
  /// Asked during the wait for an answer, now and then and when a signal has come: true gives the wait up
  /// (Interrupted).
  std::function<bool()> is_interrupted = {};
};

class Server {
 public:
  /// Makes the segment and starts the server. Throws ServerError (NoServer), std::system_error, or
  /// std::invalid_argument for a segment that is too small. A server that cannot
  /// set itself up ends; the first call reports that.
  explicit Server(const ServerOptions& options = {});

  /// Places one call and waits for its answer. Throws ServerError (Timeout, Interrupted, Died) and std::length_error
  /// (the segment is too small). An answer that was not waited for holds the block until it comes: the next call first
  /// waits for it, within its own timeout. After Died every call throws Died. While another thread uses the server,
  /// or it belongs to the process that this one was forked from, this and all that follows but Pid() and SegmentId()
  /// throws ServerError (Busy) and does nothing.
  Result Call(std::string_view function, const std::vector<Arg>& args = {});

  /// Call in two steps, for who has something else to do while it waits. Place waits at most `patience` (none: the
  /// time-out) for the late answer of an earlier call, places this one and gives a number for it. Await waits at most
  /// `patience` for the answer; after Timeout it may be asked again. Both throw like Call, and Await throws
  /// std::logic_error when another call has been placed since.
  using Patience = std::optional<std::chrono::milliseconds>;
  uint64_t Place(std::string_view function, const std::vector<Arg>& args, Patience patience = {});
  Result Await(uint64_t number, Patience patience = {});

  /// The lower layer: waits until no call is under way, so that the block may be written. Throws like Call.
  void AwaitIdle();
  /// The lower layer: has the server take the call that the block holds, whatever it is, and gives its result code.
  /// Throws like Call.
  int32_t Ring();
  /// The block as this process has it mapped; a copy of it is how to write there. Borrows the memory.
  const Block& GetBlock() const { return block_; }
  /// The segment's bytes, borrowed, for a block with a host base of one's own.
  std::span<std::byte> Memory() const { return segment_.Memory(); }

  void SetTimeout(std::chrono::milliseconds timeout);
  pid_t Pid() const { return process_.Pid(); }
  int SegmentId() const { return segment_.Id(); }

  /// Captured standard error that has come since the last call of this; complete for all calls that were answered.
  std::string TakeStandardError();

  /// Ends the server (see Process::End). The destructor does the same.
  Ending End();

 private:
  // Holds the server for the thread that made it.
  class Turn;

  // How long to wait, and until when that is.
  struct Wait {
    explicit Wait(std::chrono::milliseconds time);
    std::chrono::milliseconds patience;
    Clock::time_point deadline;
  };

  // Throws ServerError (Busy) in a child made by fork whose parent lives.
  void RequireOwner();
  void SendCall();
  void AwaitAnswer(const Wait& wait);

  Segment segment_;
  Block block_;
  Process process_;
  std::chrono::milliseconds timeout_;
  std::function<bool()> is_interrupted_;
  bool under_way_ = false;  // a call was placed and its answer has not been seen
  uint64_t placed_ = 0;     // calls so far
  std::atomic_flag in_use_;
};

}  // namespace vorlix::host
