// A text as a file, for operations that open one by its path.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "tools/failure.h"

namespace vorlix::tool {

/// A text that is nowhere on the disk, as a file that can be opened by its path.
class TextFile {
 public:
  explicit TextFile(const std::string& text) : descriptor_(memfd_create("dictionary", MFD_CLOEXEC)) {
    if (descriptor_ < 0 || write(descriptor_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
      throw ToolError(Status::OtherCode, "there is no memory for the text of a file");
  }
  ~TextFile() { close(descriptor_); }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace vorlix::tool
