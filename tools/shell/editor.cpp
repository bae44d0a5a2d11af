#include "tools/shell/editor.h"

#include <histedit.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>

#include "tools/ending.h"
#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/tell.h"
#include "tools/words.h"

namespace vorlix::tool {
namespace {

constexpr int LINES_KEPT = 2000;
constexpr size_t MOST_CANDIDATES = 200;

// As much as all texts begin with.
std::string CommonBeginning(const std::vector<std::string>& texts) {
  std::string common = texts.front();
  for (const std::string& text : texts) {
    const auto [end, other] = std::ranges::mismatch(common, text);
    common.erase(end, common.end());
  }
  return common;
}

History* NewHistory() {
  HistEvent event;
  History* const made = history_init();
  history(made, &event, H_SETSIZE, LINES_KEPT);
  history(made, &event, H_SETUNIQUE, 1);
  return made;
}

// False for a file that is something else.
bool LoadHistory(History* into, const std::string& path) {
  HistEvent event;
  std::error_code ignored;
  const bool is_there =
      !path.empty() && std::filesystem::exists(path, ignored) && !std::filesystem::is_empty(path, ignored);
  return !is_there || history(into, &event, H_LOAD, path.c_str()) >= 0;
}

// Behind the lines that other shells have written since.
void SaveHistory(const std::string& path, const std::vector<std::string>& lines) {
  if (path.empty() || lines.empty()) return;
  HistEvent event;
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
  History* const all = NewHistory();
  if (LoadHistory(all, path)) {
    for (const std::string& line : lines) history(all, &event, H_ENTER, line.c_str());
    const mode_t before = umask(0077);
    history(all, &event, H_SAVE, path.c_str());
    umask(before);
  }
  history_end(all);
}

}  // namespace

// The objects of the library, which hands its caller back as a pointer.
struct Editor::Terminal {
  EditorHelp help;
  std::string history_path;
  EditLine* line = nullptr;
  History* history = nullptr;
  std::string prompt = {};
  std::string margin = {};
  bool given_up = false;
  std::vector<std::string> entered = {};  // lines of this shell

  static Terminal& Of(EditLine* line) {
    void* data = nullptr;
    el_get(line, EL_CLIENTDATA, &data);
    return *static_cast<Terminal*>(data);
  }

  std::string Typed() const {
    const LineInfo* const info = el_line(line);
    return {info->buffer, info->cursor};
  }

  static char* Prompt(EditLine* line) { return Of(line).prompt.data(); }

  static char* Margin(EditLine* line) {
    Terminal& terminal = Of(line);
    const std::string typed = terminal.Typed();
    const size_t taken = terminal.prompt.size() + typed.size() + 2;  // a blank on each side
    terminal.margin = terminal.help.next(typed, TerminalWidth() - std::min(TerminalWidth(), taken));
    return terminal.margin.data();
  }

  static unsigned char GiveUp(EditLine* line, int) {
    Of(line).given_up = true;
    return CC_NEWLINE;
  }

  // False when a signal has come. One that comes before the wait does not interrupt it.
  static bool AwaitInput() {
    constexpr int LOOK_AGAIN = 200;  // milliseconds
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    while (EndingSignal() == 0)
      if (poll(&input, 1, LOOK_AGAIN) > 0) return true;
    return false;
  }

  // One character; -1 when a signal came. The library's own way reads on after a signal, whatever it was.
  static int Read(EditLine*, wchar_t* character) {
    std::mbstate_t state{};
    for (char byte; AwaitInput() && read(STDIN_FILENO, &byte, 1) == 1;) {
      const size_t size = std::mbrtowc(character, &byte, 1, &state);
      if (size == static_cast<size_t>(-2)) continue;  // not all of it yet
      if (size == static_cast<size_t>(-1)) *character = L'?';
      return 1;
    }
    return -1;
  }

  // The margin is only drawn anew with the whole line.
  static unsigned char Blank(EditLine* line, int) { return el_insertstr(line, " ") == 0 ? CC_REFRESH : CC_ERROR; }

  // Completes the word as far as it goes; where there are several ways, lists them.
  static unsigned char Complete(EditLine* line, int) {
    Terminal& terminal = Of(line);
    const std::string typed = terminal.Typed();
    const std::vector<std::string> words = terminal.help.complete(typed);
    if (words.empty()) return CC_REFRESH_BEEP;
    const size_t start = LastWordStart(typed);
    std::string insert = CommonBeginning(words);
    const bool grows = insert.size() > typed.size() - start;
    if (words.size() == 1 && !insert.ends_with('/')) insert += ' ';
    el_deletestr(line, static_cast<int>(typed.size() - start));
    el_insertstr(line, insert.c_str());
    if (words.size() == 1 || grows) return CC_REFRESH;
    terminal.List(words);
    return CC_REDISPLAY;
  }

  void List(const std::vector<std::string>& words) const {
    std::string all;
    for (size_t k = 0; k < std::min(words.size(), MOST_CANDIDATES); ++k) all += (k == 0 ? "" : " ") + words[k];
    if (words.size() > MOST_CANDIDATES) all += " ...";
    std::printf("\n%s\n", Wrap(all, TerminalWidth(), 0).c_str());
    std::fflush(stdout);
  }
};

std::string HistoryPath() {
  const char* const state = std::getenv("XDG_STATE_HOME");
  if (state != nullptr && *state == '/') return std::string(state) + "/vorlix/history";
  const char* const home = std::getenv("HOME");
  return home != nullptr && *home == '/' ? std::string(home) + "/.local/state/vorlix/history" : "";
}

Editor::Editor(EditorHelp help, std::string history)
    : terminal_(std::make_unique<Terminal>(Terminal{std::move(help), std::move(history)})) {
  std::setlocale(LC_CTYPE, "");  // characters of more than one byte are typed as one
  terminal_->history = NewHistory();
  if (!LoadHistory(terminal_->history, terminal_->history_path)) {
    Tell(terminal_->history_path + " is no history of this shell, and stays as it is");
    terminal_->history_path.clear();
  }

  EditLine* const line = terminal_->line = el_init("vorlix", stdin, stdout, stderr);
  el_set(line, EL_GETCFN, &Terminal::Read);
  el_set(line, EL_CLIENTDATA, static_cast<void*>(terminal_.get()));
  el_set(line, EL_EDITOR, "emacs");
  el_set(line, EL_HIST, ::history, terminal_->history);
  el_set(line, EL_PROMPT, &Terminal::Prompt);
  el_set(line, EL_RPROMPT, &Terminal::Margin);
  el_set(line, EL_ADDFN, "complete-word", "Complete the word", &Terminal::Complete);
  el_set(line, EL_ADDFN, "give-up", "Give up the line", &Terminal::GiveUp);
  el_set(line, EL_ADDFN, "blank", "Insert a blank", &Terminal::Blank);
  el_set(line, EL_BIND, "\t", "complete-word", nullptr);
  el_set(line, EL_BIND, "^C", "give-up", nullptr);
  el_set(line, EL_BIND, " ", "blank", nullptr);
  el_set(line, EL_BIND, "^R", "em-inc-search-prev", nullptr);
  el_set(line, EL_SETTY, "-d", "-isig", nullptr);  // while a line is typed Ctrl-C is a key
}

Editor::~Editor() {
  SaveHistory(terminal_->history_path, terminal_->entered);
  el_end(terminal_->line);
  history_end(terminal_->history);
}

Editor::Read Editor::ReadLine(const std::string& prompt, std::string& line) {
  terminal_->prompt = prompt;
  terminal_->given_up = false;
  int size = 0;
  const char* const typed = el_gets(terminal_->line, &size);
  if (terminal_->given_up) return Read::GivenUp;
  if (typed == nullptr || size <= 0) return Read::End;
  line.assign(typed, static_cast<size_t>(size));
  while (line.ends_with('\n') || line.ends_with('\r')) line.pop_back();
  HistEvent event;
  if (line.find_first_not_of(" \t") == std::string::npos) return Read::Line;
  ::history(terminal_->history, &event, H_ENTER, line.c_str());
  terminal_->entered.push_back(line);
  return Read::Line;
}

}  // namespace vorlix::tool
