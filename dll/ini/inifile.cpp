// Lines are found by memchr in blocks that pread brings, and a search for headers leaps from '[' to '['. Between calls
// everything before pos_ is done with; what a refill carries over to the front of the block is less than one line.
#include "dll/ini/inifile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "dll/base/syscall.h"
#include "dll/base/text.h"
#include "dll/ini/inisyntax.h"

namespace vorlix {
int IniFile::Open(const char* path) {
  Close();
  Rewind();
  fd_ = OpenRegular(path);
  return IsOpen() ? 0 : errno;
}

void IniFile::Close() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

void IniFile::Rewind() {
  error_ = 0;
  at_end_ = false;
  block_offset_ = 0;
  pos_ = end_ = block_;
}

bool IniFile::Fill() {
  if (at_end_) return false;
  const auto rest = static_cast<size_t>(end_ - pos_);
  std::memmove(block_, pos_, rest);
  pos_ = block_;
  end_ = block_ + rest;
  const ssize_t count = Retry([&] { return pread(fd_, end_, BLOCK_SIZE - rest, block_offset_); });
  if (count <= 0) {
    at_end_ = true;
    error_ = count < 0 ? errno : 0;
    return false;
  }
  end_ += count;
  block_offset_ += count;
  return true;
}

// Reads on until the end of the line is in the block. False when there is no line.
bool IniFile::BringLine(size_t& size) {
  while (size == 0 && Fill()) size = LineInBlock();
  if (size == 0 && error_ == 0) size = static_cast<size_t>(end_ - pos_);  // the last line need not end in a line feed
  return size > 0;
}

bool IniFile::NextBracketLine(std::string_view& line) {
  while (!SeekBracket())
    if (!Fill()) {
      pos_ = end_;  // a last line without a line feed has been passed over as well
      return false;
    }
  return NextLine(line);
}

// Moves to the next '[' that begins a line, or else to the start of the last line of the block.
bool IniFile::SeekBracket() {
  const char* at = pos_;
  while ((at = static_cast<const char*>(std::memchr(at, '[', static_cast<size_t>(end_ - at)))) != nullptr) {
    pos_ = LineStart(at);
    if (pos_ == at) return true;
    ++at;
  }
  pos_ = LineStart(end_);
  return false;
}

// The start of the line, or piece of a long one, that holds `at`; pos_ is where some line before it starts.
const char* IniFile::LineStart(const char* at) const {
  const void* feed = memrchr(pos_, '\n', static_cast<size_t>(at - pos_));
  const char* start = feed != nullptr ? static_cast<const char*>(feed) + 1 : pos_;
  return at - (at - start) % LINE_LIMIT;
}

bool SeekSection(IniFile& file, std::string_view section) {
  if (section.empty()) return true;
  std::string_view line;
  std::string_view name;
  while (file.NextBracketLine(line))
    if (ParseHeader(line, name) && EqualNoCase(name, section)) return true;
  return false;
}

}  // namespace vorlix
