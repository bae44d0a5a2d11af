#include "host/owner.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace vorlix::host {
namespace {

// Counts in each child, so that a process knows itself without asking the system.
std::atomic<uint32_t> forks = 0;
[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, [] { ++forks; });

}  // namespace

Owner::Owner() : pid_(getpid()), forks_(forks) {}

Owner::Hold Owner::Look() {
  if (forks_ == forks.load(std::memory_order_relaxed)) return Hold::Ours;
  if (kill(pid_, 0) == 0 || errno != ESRCH) return Hold::OfAnother;
  *this = Owner();
  return Hold::TakenOver;
}

}  // namespace vorlix::host
