#include "dll/record/namedfiles.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "dll/base/quote.h"
#include "dll/base/syscall.h"

namespace vorlix {
namespace {

// Appends what is in the file. 0, or the error number of what is in the way.
int ReadText(const std::string& path, std::string& text) {
  const int fd = OpenRegular(path.c_str());
  if (fd < 0) return errno;
  int error = 0;
  std::array<char, 65536> piece;
  for (ssize_t count = 1; error == 0 && count > 0;) {
    count = Retry([&] { return read(fd, piece.data(), piece.size()); });
    if (count < 0) error = errno;
    if (count > 0) text.append(piece.data(), static_cast<size_t>(count));
  }
  close(fd);
  return error;
}

bool HasDirectory(const std::string& path) {
  const size_t slash = path.rfind('/');
  struct stat status {};
  return slash == std::string::npos || slash == 0 || stat(path.substr(0, slash).c_str(), &status) == 0;
}

// What a script says of a file that cannot be read; null for what it cannot make.
const char* KeywordFor(const std::string& path, int error) {
  switch (error) {
    case ENOENT: return HasDirectory(path) ? "absent" : "nowhere";
    case EISDIR: return "directory";
    case EACCES: return "locked";
    case ENOTDIR: return "misplaced";
    case ENODEV:
    case ENXIO: return "device";
    default: return nullptr;
  }
}

}  // namespace

bool NamedFiles::Stamp::operator==(const Stamp& other) const {
  const auto same = [](const timespec& a, const timespec& b) { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; };
  return device == other.device && inode == other.inode && size == other.size && same(modified, other.modified) &&
         same(changed, other.changed);
}

NamedFiles::Stamp NamedFiles::StampOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return {};
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
}

void NamedFiles::AppendLine(std::string& out, const std::string& path, bool is_only_written) {
  if (path.empty()) return;
  const auto [known, is_new] = seen_.try_emplace(path);
  if (is_only_written && !is_new) return;
  const Stamp now = StampOf(path);
  if (!is_new && known->second == now) return;
  known->second = now;
  std::string text;
  const int error = is_only_written ? ENOENT : ReadText(path, text);
  const char* const keyword = KeywordFor(path, error);
  out += error == 0 || keyword != nullptr ? "file " : "# no copy of ";
  AppendQuoted(out, path);
  if (error == 0) AppendQuoted(out += ' ', text);
  if (error != 0) (out += ' ') += keyword != nullptr ? keyword : std::strerror(error);
  out += '\n';
}

void NamedFiles::NoteChange(const std::string& path) {
  if (const auto known = seen_.find(path); known != seen_.end()) known->second = StampOf(path);
}

}  // namespace vorlix
