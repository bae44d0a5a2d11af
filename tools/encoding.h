// Texts between the encoding of the terminal and that of the server's language.
#pragma once

#include <iconv.h>

#include <memory>
#include <string>
#include <string_view>

namespace vorlix::tool {

/// The encoding of a locale, as "UTF-8" or "ISO-8859-1"; of the environment's when the name is empty. Empty when the
/// system has no such locale.
std::string EncodingOf(const std::string& locale);

/// Converts both ways. One between two names of the same encoding leaves texts as they are.
class Encoding {
 public:
  Encoding() = default;
  /// Throws ToolError (Usage) when the system cannot convert between the two.
  Encoding(const std::string& outside, const std::string& of_server);

  /// What was typed, for the server. Throws ToolError (Usage) at a character that the server's encoding does not have.
  std::string ToServer(std::string_view text) const;
  /// What the server gave. A text that is none in its encoding stays as it is.
  std::string ToOutside(std::string_view text) const;

 private:
  struct Close {
    void operator()(iconv_t converter) const { iconv_close(converter); }
  };
  using Converter = std::unique_ptr<void, Close>;

  std::string of_server_;
  Converter to_server_;  // null for both: there is nothing to convert
  Converter to_outside_;
};

}  // namespace vorlix::tool
