// Which process a server belongs to, where a host forks.
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace vorlix::host {

/// The process that something belongs to: at first the one that made it. A child made by fork has it as well, and may
/// go on with it when the owner has ended; it becomes the owner then.
class Owner {
 public:
  Owner();

  enum class Hold {
    Ours,       // of this process
    TakenOver,  // of this process from now on
    OfAnother,  // of one that still lives
  };
  /// Costs no system call in the owner.
  Hold Look();
  /// The owner's id.
  pid_t Pid() const { return pid_; }

 private:
  pid_t pid_;
  uint32_t forks_;  // how many lay between the program's start and the owner
};

}  // namespace vorlix::host
