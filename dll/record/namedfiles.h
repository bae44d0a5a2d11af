// The files that calls name, as they were when a call named them: a recording is played where they are not.
#pragma once

#include <sys/stat.h>

#include <map>
#include <string>
#include <string_view>

namespace vorlix {

/// Of each file that was named, what it was like at that time.
class NamedFiles {
 public:
  /// Appends the line of a script that makes the file what it is now, unless an earlier one does: `file PATH "..."`, or
  /// with a keyword such as `absent` in the place of its text; or a comment that says why it cannot be had. Of a file
  /// that is only written no text is taken. Throws std::bad_alloc.
  void AppendLine(std::string& out, const std::string& path, bool is_only_written);

  /// What the file is now is what the server has made of it.
  void NoteChange(const std::string& path);

 private:
  struct Stamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};
    bool operator==(const Stamp& other) const;
  };
  static Stamp StampOf(const std::string& path);

  std::map<std::string, Stamp, std::less<>> seen_;
};

}  // namespace vorlix
