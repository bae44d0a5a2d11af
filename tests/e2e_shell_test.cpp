// The shell at a terminal: what is typed, and what then appears.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>

#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::tool {
namespace {

class AtTerminal : public testing::Test {
 protected:
  AtTerminal() {
    scratch_.Path();  // made before the fork, for both
    winsize size = {24, 100, 0, 0};
    shell_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (shell_ != 0) return;
    setenv("TERM", "xterm", 1);
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // libedit does not give back the names of its keys
    setenv("LANG", "de_DE", 1);                   // in ISO 8859-1
    setenv("XDG_STATE_HOME", scratch_.Path().c_str(), 1);
    execl(VORLIX_TOOL, "vorlix", "--server", VORLIX_SERVER, "shell", nullptr);
    _exit(99);
  }
  ~AtTerminal() override { close(terminal_); }

  // Types the keys, and reads until what appears has the text in it, and behind a line the next prompt with the editor
  // behind it: what is typed before that is not the editor's. False when it does not come within some seconds.
  bool Shows(const std::string& keys, const std::string& wanted, bool ends = true) {
    EXPECT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    shown_.clear();
    const bool is_line = ends && (keys.ends_with('\r') || keys.ends_with('\x03'));
    const bool is_prompt = wanted.ends_with("> ");
    const std::string prompt = is_line && !is_prompt ? "> " : "";
    const auto is_there = [&] {
      const size_t at = shown_.find(wanted);
      return at != std::string::npos && shown_.find(prompt, at + wanted.size()) != std::string::npos;
    };
    while (!is_there())
      if (!ReadMore()) return false;
    if (is_line || is_prompt) AwaitEditor();
    return true;
  }

  int Status() {
    while (ReadMore()) continue;
    int status = -1;
    for (int k = 0; k < 1000 && waitpid(shell_, &status, WNOHANG) == 0; ++k) usleep(10'000);
    if (status == -1) kill(shell_, SIGKILL);
    return status;
  }

  std::string shown_;
  pid_t shell_ = -1;
  ScratchDirectory scratch_;

 private:
  // A key is not the editor's when it is typed between the prompt and the editor's own mode.
  void AwaitEditor() const {
    termios mode{};
    for (int k = 0; k < 500 && tcgetattr(terminal_, &mode) == 0 && (mode.c_lflag & ICANON) != 0; ++k) usleep(10'000);
  }

  bool ReadMore() {
    char text[4096];
    pollfd input = {terminal_, POLLIN, 0};
    if (poll(&input, 1, 30'000) != 1) return false;
    const ssize_t size = read(terminal_, text, sizeof text);
    shown_.append(text, static_cast<size_t>(std::max<ssize_t>(size, 0)));
    return size > 0;
  }

  int terminal_ = -1;
};

TEST_F(AtTerminal, ALineIsTypedCompletedGivenUpAndSaved) {
  const std::string examples = VORLIX_EXAMPLES;
  const std::string saved = scratch_.Path() + "/saved.vx";
  const std::pair<std::string, std::string> steps[] = {
      {"", "vorlix> "},
      {"l_Cr\t", "name:text"},  // completed, and its argument in the margin
      {"Kunden\r", "l_CreateList Kunden => 0 hdl=1"},
      {"l_Seek\t", "SeekCurr"},                      // several of them are listed
      {"\x03", "^C"},                                // the line is given up
      {"l_GetCurr 7\r", "no list has this handle"},  // a code is no mistake
      {"nosuch\r", "vorlix: there is no function 'nosuch'"},
      {".opne x\r", "did you mean .open?"},
      {".model " + examples + "/dict/mus\t\r", "rc_p=0"},
      {".open " + examples + "/dict/kun\t\r", "rc_p=0"},
      {"dict_Get D01KU\tnam\t\r", "len = 30"},    // a dialog, a field, and its XBUF item by item
      {"each l_Get 1 1 until eol=1\r", "...> "},  // a loop is one line
      {"end\r", "eol=1"},
      {"set y \xe4\r", "set y \"\xe4\""},
      {"set x $hd\t\r", "set x 1"},
      {".help dict_Ma\t\r", "no dialog on the top level has this handle"},
      {".help ea\t\r", "each FUNCTION ARGUMENT... until EXPECTATION..."},
      {".trace 1\r", "return code is 0"},
      {".trace off\r", "vorlix> "},
      {"\x1b[A\x1b[A\x1b[A\x1b[A\x1b[A", "set x $hdl"},  // the history
      {"\x03", "^C"},
      {".save " + saved + "\r", "written"},
      {"\x04", ""},
  };
  for (const auto& [keys, wanted] : steps) ASSERT_TRUE(Shows(keys, wanted)) << keys << " shows\n" << shown_;
  EXPECT_EQ(Status(), 0);
  EXPECT_EQ(std::system((VORLIX_TOOL " run -q " + saved).c_str()), 0) << ReadFile(saved);
  EXPECT_NE(ReadFile(scratch_.Path() + "/vorlix/history").find("l_CreateList"), std::string::npos);
}

TEST_F(AtTerminal, CtrlCEndsTheWaitAndNotTheShell) {
  ASSERT_TRUE(Shows("", "vorlix> "));
  const std::string server = "$(pgrep -P " + std::to_string(shell_) + ")";
  ASSERT_EQ(std::system(("kill -STOP " + server).c_str()), 0);
  ASSERT_TRUE(Shows("l_CreateList a\r", "\n", false));
  usleep(100'000);
  ASSERT_TRUE(Shows("\x03", "vorlix: the wait for the server was interrupted"));
  ASSERT_EQ(std::system(("kill -CONT " + server).c_str()), 0);
  EXPECT_TRUE(Shows("l_CreateList b\r", "hdl=2")) << "the late answer is not taken for this one\n" << shown_;
  kill(shell_, SIGINT);  // from elsewhere: a line is given up
  EXPECT_TRUE(Shows("\rl_CreateList c\r", "hdl=3")) << shown_;
  kill(shell_, SIGTERM);
  EXPECT_EQ(WEXITSTATUS(Status()), 128 + SIGTERM);
}

}  // namespace
}  // namespace vorlix::tool
