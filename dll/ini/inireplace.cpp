// The temporary file has an unguessable name and is created exclusively, so nobody can have put a file or a link there.
// Only permission bits are taken over: whoever may change the directory could else have a file marked to run as its
// owner rewritten into one that runs as the server's user.
#include "dll/ini/inireplace.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

#include "dll/base/syscall.h"

namespace vorlix {
namespace {

constexpr int LINK_LIMIT = 40;  // as many as the system follows
constexpr int CREATE_LIMIT = 100;
constexpr size_t RANDOM_BYTES = 16;

// With its slash; empty for a name in the working directory.
std::string Directory(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

// Writes two hexadecimal digits a byte. False when the system has no random bytes to give.
bool RandomHex(char* to) {
  std::array<unsigned char, RANDOM_BYTES> bytes;
  if (Retry([&] { return getrandom(bytes.data(), bytes.size(), 0); }) != ssize_t{RANDOM_BYTES}) return false;
  for (const unsigned char byte : bytes) {
    *to++ = "0123456789abcdef"[byte >> 4];
    *to++ = "0123456789abcdef"[byte & 15];
  }
  return true;
}

}  // namespace

bool FollowLinks(std::string& path) {
  std::array<char, PATH_MAX> target;
  for (int i = 0; i <= LINK_LIMIT; ++i) {
    const ssize_t size = Retry([&] { return readlink(path.c_str(), target.data(), target.size()); });
    if (size < 0) return errno == EINVAL || errno == ENOENT;  // no link, or nothing there
    const std::string_view next(target.data(), static_cast<size_t>(size));
    path = next.starts_with('/') ? std::string(next) : Directory(path).append(next);
  }
  return false;
}

HoldSignals::HoldSignals() {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_SETMASK, &all, &before_);
}

HoldSignals::~HoldSignals() {
  sigset_t size_limit;
  sigemptyset(&size_limit);
  sigaddset(&size_limit, SIGXFSZ);
  constexpr timespec AT_ONCE = {0, 0};
  // The write that went over the limit has failed already; taken off here, the signal cannot end the process.
  if (sigismember(&before_, SIGXFSZ) == 0) sigtimedwait(&size_limit, nullptr, &AT_ONCE);
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

FileReplacement::FileReplacement(std::string path, int old)
    : path_(std::move(path)), temporary_(Directory(path_) + ".ini-" + std::string(2 * RANDOM_BYTES, '0')), old_(old) {
  Create();
}

FileReplacement::~FileReplacement() {
  if (fd_ >= 0) close(fd_);
  if (exists_) unlink(temporary_.c_str());
}

void FileReplacement::Create() {
  struct stat info = {};
  failed_ = old_ >= 0 && fstat(old_, &info) != 0;
  // A new file gets what the process's mask leaves; contents that exist are nobody else's until their owner is known.
  const mode_t mode = old_ >= 0 ? 0600 : 0666;
  for (int i = 0; !failed_ && !exists_ && i < CREATE_LIMIT; ++i) {
    failed_ = !RandomHex(&temporary_[temporary_.size() - 2 * RANDOM_BYTES]);
    if (failed_) break;
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    fd_ = Retry([&] { return open(temporary_.c_str(), FLAGS, mode); });
    exists_ = fd_ >= 0;
    failed_ = !exists_ && errno != EEXIST;
  }
  failed_ = failed_ || !exists_;
  if (!failed_ && old_ >= 0) TakeOver(info.st_mode & 0777, info.st_uid, info.st_gid);
}

void FileReplacement::TakeOver(mode_t permissions, uid_t owner, gid_t group) {
  // Where the owner is not ours to give, the group may be; where neither is, the server's own remain.
  [[maybe_unused]] const bool given = fchown(fd_, owner, group) == 0 || fchown(fd_, static_cast<uid_t>(-1), group) == 0;
  if (fchmod(fd_, permissions) != 0) failed_ = true;
}

void FileReplacement::Write(std::string_view bytes) {
  while (!failed_ && !bytes.empty()) {
    const size_t count = std::min(bytes.size(), BUFFER_SIZE - used_);
    std::memcpy(buffer_ + used_, bytes.data(), count);
    used_ += count;
    last_ = bytes[count - 1];
    bytes.remove_prefix(count);
    if (used_ == BUFFER_SIZE) Flush();
  }
}

void FileReplacement::Copy(off_t begin, off_t end) {
  while (!failed_ && begin < end) {
    const size_t wanted = static_cast<size_t>(std::min<off_t>(end - begin, static_cast<off_t>(BUFFER_SIZE - used_)));
    const ssize_t count = Retry([&] { return pread(old_, buffer_ + used_, wanted, begin); });
    failed_ = count < 0 || (count == 0 && end != END_OF_FILE);
    if (count <= 0) return;
    begin += count;
    used_ += static_cast<size_t>(count);
    last_ = buffer_[used_ - 1];
    if (used_ == BUFFER_SIZE) Flush();
  }
}

void FileReplacement::EndLine() {
  if (last_ != '\n') Write("\n");
}

void FileReplacement::Flush() {
  const char* at = buffer_;
  while (!failed_ && used_ > 0) {
    const ssize_t count = Retry([&] { return write(fd_, at, used_); });
    failed_ = count <= 0;
    if (failed_) return;
    at += count;
    used_ -= static_cast<size_t>(count);
  }
}

bool FileReplacement::Commit() {
  Flush();
  if (failed_ || Retry([this] { return fsync(fd_); }) != 0) return false;
  // An interrupted close has closed the descriptor all the same.
  const bool closed = close(std::exchange(fd_, -1)) == 0 || errno == EINTR;
  if (!closed || std::rename(temporary_.c_str(), path_.c_str()) != 0) return false;
  exists_ = false;
  return true;
}

}  // namespace vorlix
