#include "host/owner.h"

#include <poll.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "host/descriptor.h"

namespace vorlix::host {
namespace {

// Counts in each child, so that a process knows itself without asking the system.
std::atomic<uint32_t> forks = 0;
[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, [] { ++forks; });

// Also when nobody has waited for it. One whose id is in use again counts as living.
bool HasEnded(pid_t process) {
  const Descriptor pidfd(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
  pollfd end = {pidfd.Get(), POLLIN, 0};
  return pidfd.Get() < 0 ? errno == ESRCH : poll(&end, 1, 0) > 0;
}

}  // namespace

Owner::Owner() : pid_(getpid()), forks_(forks) {}

Owner::Hold Owner::Look() {
  if (forks_ == forks.load(std::memory_order_relaxed)) return Hold::Ours;
  if (!HasEnded(pid_)) return Hold::OfAnother;
  *this = Owner();
  return Hold::TakenOver;
}

}  // namespace vorlix::host
