// System calls that are interrupted or fail.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace vorlix {

/// Makes a system call again for as long as signals interrupt it.
template <class Call>
auto Retry(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// Opens a regular file for reading, and does not wait at whatever else has the name. The descriptor, or -1 with errno
/// set: EISDIR for a directory, ENODEV for a device or a pipe.
inline int OpenRegular(const char* path) {
  // O_NONBLOCK: a pipe without a writer must not stop the server before it can be refused.
  const int fd = Retry([path] { return open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); });
  if (fd < 0) return fd;
  struct stat info;
  int error = 0;
  if (fstat(fd, &info) != 0)
    error = errno;
  else if (!S_ISREG(info.st_mode))
    error = S_ISDIR(info.st_mode) ? EISDIR : ENODEV;
  if (error == 0) return fd;
  close(fd);
  errno = error;
  return -1;
}

/// How the host is told what came of a file (`rc_p`): one of these, or the negative error number of the system.
enum [[nodiscard]] FileCode : int32_t{
    FILE_FAILED = -1,  // for a reason that the system has not said
    FILE_OK = 0,
    FILE_REFUSED = 1,  // it could be read, and its content is wrong
};

/// The negative error number, or FILE_FAILED where there is none.
inline FileCode MinusErrno() { return errno != 0 ? FileCode{-errno} : FILE_FAILED; }

}  // namespace vorlix
