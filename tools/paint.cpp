#include "tools/paint.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace vorlix::tool {
namespace {

bool painting = false;

std::string Paint(std::string_view code, std::string_view text) {
  if (!painting) return std::string(text);
  return "\x1b[" + std::string(code) + 'm' + std::string(text) + "\x1b[0m";
}

}  // namespace

void ChooseColours(Colours colours) {
  const char* const refused = std::getenv("NO_COLOR");
  const bool fits = isatty(STDOUT_FILENO) == 1 && (refused == nullptr || *refused == '\0');
  painting = colours == Colours::Always || (colours == Colours::Auto && fits);
}

std::string Bold(std::string_view text) { return Paint("1", text); }
std::string Dim(std::string_view text) { return Paint("2", text); }
std::string Red(std::string_view text) { return Paint("31", text); }
std::string Green(std::string_view text) { return Paint("32", text); }

size_t TerminalWidth() {
  winsize size{};
  if (isatty(STDOUT_FILENO) != 1) return 0;
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string Wrap(std::string_view text, size_t width, size_t indent) {
  std::string wrapped;
  size_t column = indent;
  while (!text.empty()) {
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    const bool is_first = wrapped.empty();
    const bool fits = width == 0 || column + 1 + word.size() <= width;
    if (!is_first) wrapped += fits ? " " : "\n" + std::string(indent, ' ');
    column = is_first || fits ? column + word.size() + (is_first ? 0 : 1) : indent + word.size();
    wrapped += word;
  }
  return wrapped;
}

}  // namespace vorlix::tool
