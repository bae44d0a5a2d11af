#include "host/segment.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cerrno>
#include <system_error>

namespace vorlix::host {

Segment::Segment(size_t size) : id_(shmget(IPC_PRIVATE, size, 0600)) {
  if (id_ < 0) throw std::system_error(errno, std::generic_category(), "shmget");
  void* address = shmat(id_, nullptr, 0);
  const int attach_error = errno;
  shmctl(id_, IPC_RMID, nullptr);
  // shmat reports failure with the address -1.
  if (address == reinterpret_cast<void*>(-1)) throw std::system_error(attach_error, std::generic_category(), "shmat");
  memory_ = {static_cast<std::byte*>(address), size};
}

Segment::~Segment() { shmdt(memory_.data()); }

}  // namespace vorlix::host
