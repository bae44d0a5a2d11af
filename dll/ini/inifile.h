// An open INI file as a sequence of lines, read in large blocks. No line costs an allocation or a system call.
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace vorlix {

class IniFile {
 public:
  IniFile() = default;
  ~IniFile() { Close(); }
  IniFile(const IniFile&) = delete;
  IniFile& operator=(const IniFile&) = delete;

  /// Opens a regular file at its start. Returns 0 or the error number: EISDIR for a directory, ENODEV for whatever else
  /// is not a regular file.
  [[nodiscard]] int Open(const char* path);
  void Close();
  bool IsOpen() const { return fd_ >= 0; }
  int Descriptor() const { return fd_; }

  void Rewind();

  /// The next line with its line feed, never empty; a line beyond 1023 bytes comes in pieces of 1023, each of which
  /// counts as a line. The view borrows from the block and holds until the next line is read. False at the end of the
  /// file and when reading failed, see Error.
  bool NextLine(std::string_view& line) {
    size_t size = LineInBlock();
    if (size == 0 && !BringLine(size)) return false;
    line = {pos_, size};
    pos_ += size;
    return true;
  }

  /// The next line that begins with '['. What lies before it is not split into lines.
  bool NextBracketLine(std::string_view& line);

  /// Makes the end of the line that was read last, or all of it, the next line.
  void Unread(std::string_view tail) { pos_ -= tail.size(); }

  /// Where the next line starts, in bytes from the start of the file.
  off_t Offset() const { return block_offset_ - (end_ - pos_); }

  /// The error number of the read that failed, 0 when none has; it stays until Rewind.
  int Error() const { return error_; }

 private:
  static constexpr size_t BLOCK_SIZE = 65536;
  static constexpr ptrdiff_t LINE_LIMIT = 1023;

  // The size of the next line, 0 while its end is not in the block.
  size_t LineInBlock() const {
    const auto searched = static_cast<size_t>(std::min(end_ - pos_, LINE_LIMIT));
    const void* feed = std::memchr(pos_, '\n', searched);
    if (feed != nullptr) return static_cast<size_t>(static_cast<const char*>(feed) - pos_) + 1;
    return searched == LINE_LIMIT ? searched : 0;
  }

  bool BringLine(size_t& size);
  bool Fill();
  bool SeekBracket();
  const char* LineStart(const char* at) const;

  int fd_ = -1;
  int error_ = 0;
  bool at_end_ = false;
  off_t block_offset_ = 0;  // of end_
  const char* pos_ = block_;
  char* end_ = block_;
  char block_[BLOCK_SIZE];  // not cleared: a file on the stack costs nothing
};

/// Goes from the start of the file to the first line of `section`; the empty name is that of the start. False when
/// there is no such section or reading failed.
bool SeekSection(IniFile& file, std::string_view section);

}  // namespace vorlix
