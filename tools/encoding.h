// Texts between the encoding of the terminal and that of the server's language.
#pragma once

#include <iconv.h>

#include <clocale>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vorlix::tool {

/// The process's locale while this lives; the one of before is back at its end. setlocale, not newlocale, which does
/// not give back all of its memory where LOCPATH is set. For one thread at a time.
class LocaleScope {
 public:
  /// Leaves the locale as it is, for what may change it meanwhile.
  LocaleScope() : before_(std::setlocale(LC_ALL, nullptr)) {}
  /// Empty: that of the environment.
  LocaleScope(int category, const std::string& locale) : LocaleScope() {
    installed_ = std::setlocale(category, locale.c_str()) != nullptr;
  }
  ~LocaleScope() { std::setlocale(LC_ALL, before_.c_str()); }
  LocaleScope(const LocaleScope&) = delete;
  LocaleScope& operator=(const LocaleScope&) = delete;

  /// False: the system does not have the locale, and the one of before is in force.
  bool IsInstalled() const { return installed_; }

 private:
  std::string before_;
  bool installed_ = true;
};

/// The encoding of a locale, as "UTF-8" or "ISO-8859-1"; of the environment's when the name is empty. Empty when the
/// system has no such locale.
std::string EncodingOf(const std::string& locale);

/// From the encoding of the server's language to that of the terminal, or another.
using Conversion = std::function<std::string(std::string_view text)>;

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

  std::string outside_;
  std::string of_server_;
  Converter to_server_;  // null for both: there is nothing to convert
  Converter to_outside_;
};

}  // namespace vorlix::tool
