// Messages of the Language Server Protocol as they come and go: a header with the length, an empty line, the content.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vorlix::tool {

/// What was sent has no header, or one that cannot be: nobody knows where the next message begins.
class FramingLost : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

class FrameReader {
 public:
  /// Takes bytes as they come, in pieces of any size.
  void Feed(std::string_view bytes) { pending_ += bytes; }

  /// The content of the next message; none while it is not complete. Throws FramingLost.
  std::optional<std::string> Next();

 private:
  std::string pending_;
  size_t taken_ = 0;  // bytes of it
};

/// A message as it is sent.
std::string Frame(std::string_view content);

}  // namespace vorlix::tool
