// New contents for a file, written beside it and put in its place in one step: whatever happens, the file's name stands
// for its old contents or for all of the new.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <limits>
#include <string>
#include <string_view>

namespace vorlix {

/// Replaces the path of a symbolic link by what the chain of links ends at, whether or not a file is there. False when
/// the chain cannot be followed.
bool FollowLinks(std::string& path);

/// Holds all signals back until the end of its scope, so that none ends the process in between. A file size limit then
/// shows as a failed write and no longer as a signal.
class HoldSignals {
 public:
  HoldSignals();
  ~HoldSignals();
  HoldSignals(const HoldSignals&) = delete;
  HoldSignals& operator=(const HoldSignals&) = delete;

 private:
  sigset_t before_;
};

/// A failure of any step is remembered and makes the later ones do nothing; Commit tells. Unless Commit succeeds, the
/// destructor removes what was written and the file stands as it was.
class FileReplacement {
 public:
  static constexpr off_t END_OF_FILE = std::numeric_limits<off_t>::max();

  /// Makes the temporary file in the directory of `path`, which is no link. `old` is the file that is replaced, open
  /// for reading, and gives permissions and, where allowed, owner; -1 when the file is new.
  FileReplacement(std::string path, int old);
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  void Write(std::string_view bytes);

  /// Writes what the old file holds from `begin` up to `end`, or all the rest for END_OF_FILE. A file that ends before
  /// `end` has been shortened meanwhile: a failure, so that what is left of it never passes for the whole.
  void Copy(off_t begin, off_t end);

  /// Writes a line feed unless a line is complete or none has begun.
  void EndLine();

  /// Flushes to the disk and takes the place of the file. True when the new contents are there.
  bool Commit();

 private:
  static constexpr size_t BUFFER_SIZE = 65536;

  void Create();
  void TakeOver(mode_t permissions, uid_t owner, gid_t group);
  void Flush();

  HoldSignals hold_;  // first in, last out: no signal comes while the temporary file exists
  std::string path_;
  std::string temporary_;
  int old_;
  int fd_ = -1;
  bool exists_ = false;  // the temporary file
  bool failed_ = false;
  char last_ = '\n';
  size_t used_ = 0;
  char buffer_[BUFFER_SIZE];
};

}  // namespace vorlix
