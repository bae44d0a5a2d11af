// A recording is played where the directory, the host and the language may be others: its head says which they were.
#include "dll/record/head.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <ctime>

#include "dll/base/quote.h"
#include "hostif/dllifutil.h"

namespace vorlix {

void AppendComment(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    const size_t size = character.size == 0 ? 1 : character.size;
    if (character.IsPrintable() || text[0] == '\t') {
      out += text.substr(0, size);
    } else {
      for (const char byte : text.substr(0, size)) AppendHex(out += "\\x", byte);
    }
    text.remove_prefix(size);
  }
}

namespace {

// The name of a process, as the system shows it.
std::string NameOf(pid_t process) {
  std::array<char, 64> name{};
  const int fd = open(("/proc/" + std::to_string(process) + "/comm").c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return "?";
  const ssize_t size = read(fd, name.data(), name.size() - 1);
  close(fd);
  const std::string_view text(name.data(), static_cast<size_t>(size > 0 ? size : 0));
  std::string shown;
  AppendComment(shown, text.substr(0, text.find('\n')));
  return shown;
}

bool IsInstalled(const std::string& locale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  const bool is_installed = std::setlocale(LC_ALL, locale.c_str()) != nullptr;
  std::setlocale(LC_ALL, before.c_str());
  return is_installed;
}

// The variables that the language comes from, as the statement that has them again. A language that the system does not
// have is C to the server.
std::string Language() {
  std::string comments;
  std::string variables;
  for (const char* const variable : {"ZENDLANG", "LANG", "LC_COLLATE", "LC_CTYPE"}) {
    const char* const value = std::getenv(variable);
    if (value == nullptr) continue;
    const std::string_view text = value;
    const std::string locale(variable == std::string_view("ZENDLANG") ? text.substr(0, text.find('@')) : text);
    const bool is_known = locale.empty() || IsInstalled(locale);
    ((variables += ' ') += variable) += '=';
    AppendQuoted(variables, is_known ? text : "C");
    if (is_known) continue;
    ((comments += "# not installed where this was recorded: ") += variable) += '=';
    AppendComment(comments, text);
    comments += '\n';
  }
  return comments + "server" + (variables.empty() ? " LANG=C" : variables) + '\n';
}

}  // namespace

std::string RecordingHead() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  std::array<char, 64> time{};
  std::strftime(time.data(), time.size(), "%Y-%m-%d %H:%M:%S UTC", gmtime_r(&now, &utc));
  std::string head = "# Recorded by vorlix.dll " VORLIX_VERSION ", process " + std::to_string(getpid());
  DllReadHeader();
  if (const pid_t host = DllHostPid(); host > 0)
    head += ", of host " + NameOf(host) + " (" + std::to_string(host) + ")";
  head += ", " + std::string(time.data()) + '\n';
  std::array<char, PATH_MAX> directory{};
  if (getcwd(directory.data(), directory.size()) != nullptr) {
    AppendComment(head += "# in ", directory.data());
    head += '\n';
  }
  return head + Language();
}

}  // namespace vorlix
