// The shared-memory segment that host and server exchange calls through.
#pragma once

#include <cstddef>
#include <span>

namespace vorlix::host {

/// A private System V segment, readable and writable by this user alone, attached to this process and filled with
/// zeros.
///
/// It is marked for removal as soon as it is attached here. The kernel still lets the server attach it by its
/// identifier, and frees it when the last of the two has detached or died, so no crash at any instant leaves a segment
/// behind. (A SIGKILL to this program's whole process group could, in the microseconds of its making.) A server must be
/// started while the object lives.
class Segment {
 public:
  /// Throws std::system_error when the system gives no segment of `size` bytes.
  explicit Segment(size_t size);
  ~Segment();
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;

  /// The identifier that the server is given on its command line.
  int Id() const { return id_; }

  /// The bytes, borrowed until the end of the object.
  std::span<std::byte> Memory() const { return memory_; }

 private:
  int id_ = -1;
  std::span<std::byte> memory_;
};

}  // namespace vorlix::host
