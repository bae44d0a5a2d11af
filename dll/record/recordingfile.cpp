#include "dll/record/recordingfile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "dll/base/syscall.h"

namespace vorlix {

std::string RecordingPath(std::string_view pattern) {
  std::string path;
  for (size_t at = 0; at < pattern.size(); ++at) {
    const std::string_view two = pattern.substr(at, 2);
    if (two == "%p") path += std::to_string(getpid());
    if (two == "%%") path += '%';
    if (two == "%p" || two == "%%") {
      ++at;
    } else {
      path += pattern[at];
    }
  }
  return path;
}

int OpenRecording(const std::string& path) {
  const int fd = Retry(
      [&] { return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600); });
  if (fd < 0) return -1;
  struct stat status {};
  // The lock keeps out a server that comes to the same empty file before this one has written.
  const bool is_file = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
  const bool is_ours = is_file && flock(fd, LOCK_EX | LOCK_NB) == 0 && fstat(fd, &status) == 0 &&
                       status.st_uid == geteuid() && status.st_nlink == 1 && status.st_size == 0 &&
                       fchmod(fd, 0600) == 0;
  if (is_ours) return fd;
  close(fd);
  errno = is_file ? EEXIST : EINVAL;
  return -1;
}

}  // namespace vorlix
