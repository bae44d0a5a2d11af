#include "host/segment.h"

#include <sched.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>

namespace vorlix::host {
namespace {

// What shmat reports failure with.
void* const NOWHERE = reinterpret_cast<void*>(-1);

// A segment that is to be made, and what came of it.
struct Making {
  size_t size;
  int id = -1;
  void* address = NOWHERE;
  int error = 0;  // the errno of the call that failed
};

int Make(void* argument) {
  Making& making = *static_cast<Making*>(argument);
  making.id = shmget(IPC_PRIVATE, making.size, 0600);
  if (making.id >= 0) making.address = shmat(making.id, nullptr, 0);
  making.error = errno;
  if (making.id >= 0) shmctl(making.id, IPC_RMID, nullptr);
  return 0;
}

// Makes the segment in a short-lived process that shares this one's memory, so that it is attached here all the same.
// Whoever kills this process at that instant does not kill the other one, which goes on to mark the segment. It is
// waited for apart from other children, and no SIGCHLD tells of it. Signals are blocked, for handlers of this program
// would run in it.
void MakeApart(Making& making) {
  alignas(16) std::array<std::byte, 16384> stack;
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const pid_t maker = clone(Make, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK, &making);
  if (maker >= 0) waitpid(maker, nullptr, __WALL);
  // Better in this process than not at all: where no such process may be made, or where one gets a copy of the memory.
  if (making.id < 0) Make(&making);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// What could not be done, with the limit that is in the way.
std::string FailureOf(const Making& making) {
  const std::string size = std::to_string(making.size) + " bytes";
  if (making.id >= 0) return "a segment of " + size + " cannot be attached";
  std::string what = "no segment of " + size;
  if (making.error == ENOSPC)
    return what + ": sysctl kernel.shmmni bounds their number, kernel.shmall their size in all; ipcs -m lists them";
  if (making.error == EINVAL)
    return what + ": sysctl kernel.shmmax is the most that one can have; ask for less, or raise it";
  return what;
}

}  // namespace

Segment::Segment(size_t size) {
  Making making{size};
  MakeApart(making);
  if (making.address == NOWHERE) throw std::system_error(making.error, std::generic_category(), FailureOf(making));
  id_ = making.id;
  memory_ = {static_cast<std::byte*>(making.address), size};
}

Segment::~Segment() { shmdt(memory_.data()); }

}  // namespace vorlix::host
