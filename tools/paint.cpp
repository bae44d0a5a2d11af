#include "tools/paint.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace vorlix::tool {
namespace {

bool painting = false;

std::string Paint(std::string_view code, std::string_view text) {
  if (!painting) return std::string(text);
  return "\x1b[" + std::string(code) + 'm' + std::string(text) + "\x1b[0m";
}

// Where the right one of two columns begins; 0 in a line that has only one.
size_t RightColumn(std::string_view line) {
  const size_t text = std::min(line.find_first_not_of(' '), line.size());
  const size_t gap = line.find("  ", text);
  return gap == std::string_view::npos ? 0 : line.find_first_not_of(' ', gap);
}

// A line of help in as many as it needs. Where the right column would be too narrow it goes below the left one.
std::string FoldLine(std::string_view line, size_t width) {
  constexpr size_t NARROWEST = 30;
  constexpr size_t BELOW = 6;
  if (width == 0 || line.size() <= width) return std::string(line);
  const size_t column = RightColumn(line);
  const size_t indent = std::min(line.find_first_not_of(' '), line.size());
  if (indent > BELOW && indent + NARROWEST > width)
    return std::string(BELOW, ' ') + Wrap(line.substr(indent), width, BELOW);
  if (column == 0 || column == std::string_view::npos)
    return std::string(indent, ' ') + Wrap(line.substr(indent), width, indent == 0 ? 0 : indent + 2);
  const std::string_view right = line.substr(column);
  if (column + NARROWEST <= width) return std::string(line.substr(0, column)) + Wrap(right, width, column);
  const std::string_view left = line.substr(0, line.find_last_not_of(' ', column - 1) + 1);
  return std::string(left) + '\n' + std::string(BELOW, ' ') + Wrap(right, width, BELOW);
}

// What is there to be pasted stands as it is: the line of an example, and the lines of its here-document.
class Pasted {
 public:
  bool Takes(std::string_view line) {
    if (in_document_) {
      in_document_ = line != "END";
      return true;
    }
    const std::string_view text = line.substr(std::min(line.find_first_not_of(' '), line.size()));
    const bool is_example = text.starts_with("Example: ") || text.starts_with("example: ");
    in_document_ = is_example && text.ends_with("<<'END'");
    return is_example;
  }

 private:
  bool in_document_ = false;
};

}  // namespace

bool IsPlainTerminal() {
  const char* const type = std::getenv("TERM");
  return type == nullptr || *type == '\0' || std::string_view(type) == "dumb";
}

void ChooseColours(Colours colours) {
  const char* const refused = std::getenv("NO_COLOR");
  const bool fits = isatty(STDOUT_FILENO) == 1 && !IsPlainTerminal() && (refused == nullptr || *refused == '\0');
  painting = colours == Colours::Always || (colours == Colours::Auto && fits);
}

WithoutColours::WithoutColours() : before_(std::exchange(painting, false)) {}
WithoutColours::~WithoutColours() { painting = before_; }

std::string Bold(std::string_view text) { return Paint("1", text); }
std::string Dim(std::string_view text) { return Paint("2", text); }
std::string Red(std::string_view text) { return Paint("31", text); }
std::string Green(std::string_view text) { return Paint("32", text); }

size_t TerminalWidth(int descriptor) {
  winsize size{};
  if (isatty(descriptor) != 1) return 0;
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
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

std::string Fold(std::string_view text, size_t width) {
  std::string folded;
  Pasted pasted;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size());
    folded += pasted.Takes(line) ? std::string(line) : FoldLine(line, width);
    if (!text.empty()) folded += '\n';
    text.remove_prefix(std::min<size_t>(text.size(), 1));
  }
  return folded;
}

std::string Shorten(std::string_view text, size_t most) {
  if (TerminalWidth() == 0 || text.size() <= most) return std::string(text);
  size_t end = most;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80) --end;
  return std::string(text.substr(0, end)) + Dim("... (" + std::to_string(text.size()) + " bytes)");
}

}  // namespace vorlix::tool
