// Colours, for terminals that show them.
#pragma once

#include <unistd.h>

#include <string>
#include <string_view>

namespace vorlix::tool {

enum class Colours { Auto, Always, Never };

/// Whether the terminal says that it can do no more than print: TERM is dumb, empty or not there.
bool IsPlainTerminal();

/// Colours on standard output from now on. Auto: when it is a terminal, and NO_COLOR is not set.
void ChooseColours(Colours colours);

/// No colours while it lives, for texts that are a part of others.
class WithoutColours {
 public:
  WithoutColours();
  ~WithoutColours();
  WithoutColours(const WithoutColours&) = delete;
  WithoutColours& operator=(const WithoutColours&) = delete;

 private:
  bool before_;
};

// The text in a colour, or as it is.
std::string Bold(std::string_view text);
std::string Dim(std::string_view text);
std::string Red(std::string_view text);
std::string Green(std::string_view text);

/// The columns of the terminal that is standard output, or another descriptor; 0 when it is none.
size_t TerminalWidth(int descriptor = STDOUT_FILENO);

/// The text in lines of at most `width` columns, broken at blanks, the lines behind the first indented. A width of 0
/// leaves it in one.
std::string Wrap(std::string_view text, size_t width, size_t indent);

/// Lines of text in two columns, with two blanks or more between them, or in one, in lines of at most `width` columns.
/// Examples, which begin with "Example: " or "example: ", stand as they are.
std::string Fold(std::string_view text, size_t width);

/// On a terminal the beginning of a text that is longer than `most` bytes, and how long it is; else the text.
std::string Shorten(std::string_view text, size_t most = 1000);

}  // namespace vorlix::tool
