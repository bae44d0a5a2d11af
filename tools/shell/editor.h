// A line that is typed at a terminal: with a history that stays, and completion.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlix::tool {

/// What the shell knows of the line while it is typed.
struct EditorHelp {
  /// What the word that ends the text could become, whole words in order.
  std::function<std::vector<std::string>(std::string_view text)> complete;
  /// What comes next behind the text, for the right margin, which has so many columns; empty for nothing.
  std::function<std::string(std::string_view text, size_t columns)> next;
};

/// Where the shell's history is kept: XDG_STATE_HOME, or ~/.local/state. Empty when there is no home.
std::string HistoryPath();

class Editor {
 public:
  /// Reads the history from the file, and adds to it at the end; a file that is something else is left alone, with a
  /// word. The terminal is standard input and output.
  Editor(EditorHelp help, std::string history);
  ~Editor();
  Editor(const Editor&) = delete;
  Editor& operator=(const Editor&) = delete;

  enum class Read { Line, GivenUp, End };

  /// Reads a line without its end. GivenUp: Ctrl-C was typed.
  Read ReadLine(const std::string& prompt, std::string& line);

 private:
  struct Terminal;
  std::unique_ptr<Terminal> terminal_;
};

}  // namespace vorlix::tool
