// File descriptors that somebody owns.
#pragma once

#include <unistd.h>

#include <utility>

namespace vorlix::host {

/// A file descriptor that is closed with its owner; -1 for none.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }

  int Get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace vorlix::host
