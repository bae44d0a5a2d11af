// A call is one write, made before the host is answered: so a recording tells of every call that a host has seen the
// answer of, and of the call in which the server ends. Times are UTC.
//
// While a call runs, its line lies complete in memory. The end by SIGTERM, and a fault of the server, write it out from
// their signal handlers.
#include "dll/record/recording.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "dll/base/debug.h"
#include "dll/base/quote.h"
#include "dll/base/syscall.h"
#include "dll/record/callline.h"
#include "dll/record/clock.h"
#include "dll/record/namedfiles.h"
#include "hostif/dllif.h"

namespace vorlix {
namespace {

constexpr int64_t DEFAULT_LIMIT = int64_t{256} << 20;
constexpr size_t LONGEST_KEPT = size_t{1} << 20;  // room that is kept from call to call

struct Recording {
  int fd = -1;
  int64_t limit = DEFAULT_LIMIT;
  int64_t written = 0;
  CallLine call;
  NamedFiles files;
  std::string line;   // of the call that runs
  std::string notes;  // what was traced since, as comments
  timespec begun{};
  std::atomic<bool> is_running = false;  // the line is complete, and nobody has written it
  std::atomic<bool> is_noting = false;
};
Recording recording;

void Stop();

// Writes all of it or nothing; on a fault says so once, and records no more.
void Write(std::string_view text) {
  const int64_t before = recording.written;
  while (!text.empty()) {
    const ssize_t count = Retry([&] { return write(recording.fd, text.data(), text.size()); });
    if (count < 0) {
      std::perror("vorlix.dll: the recording ends here");
      if (ftruncate(recording.fd, before) != 0) std::perror("vorlix.dll: its last line is cut off");
      return Stop();
    }
    recording.written += count;
    text.remove_prefix(static_cast<size_t>(count));
  }
}

// ---- Times ----------------------------------------------------------------------------------------------------------

timespec Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now;
}

// As "21:33:11.123456, 12 us".
void AppendTimes(std::string& line, const timespec& begun) {
  const timespec now = Now(CLOCK_REALTIME);
  const auto second = static_cast<int>(begun.tv_sec % 86400);
  const int64_t nanoseconds = (now.tv_sec - begun.tv_sec) * 1'000'000'000 + (now.tv_nsec - begun.tv_nsec);
  std::array<char, 64> text;
  const int length =
      std::snprintf(text.data(), text.size(), "  # %02d:%02d:%02d.%06ld, %lld us\n", second / 3600, second / 60 % 60,
                    second % 60, begun.tv_nsec / 1000, static_cast<long long>(nanoseconds / 1000));
  line.append(text.data(), static_cast<size_t>(length));
}

// ---- Notes ----------------------------------------------------------------------------------------------------------

// Bytes that do not print are told as escapes, so that a comment stays one line.
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

// Keeps a piece of a trace. Lines end where the trace ends them.
void Note(std::string_view text) {
  recording.is_noting = true;
  try {
    std::string& notes = recording.notes;
    while (!text.empty()) {
      const size_t end = text.find('\n');
      const std::string_view line = text.substr(0, end);
      if (!line.empty() && (notes.empty() || notes.back() == '\n')) notes += "#   ";
      AppendComment(notes, line);
      if (end != std::string_view::npos && !notes.empty() && notes.back() != '\n') notes += '\n';
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
  } catch (const std::bad_alloc&) {
    recording.notes.clear();
  }
  recording.is_noting = false;
}

void NoteMessage(char category, int level, const char* message) {
  DebugOut(category, level, message);
  const std::array<char, 4> head = {category, static_cast<char>('0' + level % 10), ':', ' '};
  Note({head.data(), head.size()});
  Note(message);
  Note("\n");
}

// ---- Calls ----------------------------------------------------------------------------------------------------------

// Memory that one large call has needed is given back.
void Empty(std::string& text) {
  text.clear();
  if (text.capacity() > LONGEST_KEPT) text.shrink_to_fit();
}

void BeginCall() {
  recording.begun = Now(CLOCK_REALTIME);
  try {
    CallLine& call = recording.call;
    std::string& line = recording.line;
    std::swap(line, recording.notes);  // what was traced before the call
    call.Read();
    if (const std::string path = call.FileName(); !path.empty())
      recording.files.AppendLine(line, path, call.Function()->name == "dll_SetDebugFlags");
    call.AppendCall(line);
    recording.is_running = true;
  } catch (const std::bad_alloc&) {
    recording.line = "#";
  }
}

void EndCall(int32_t result) {
  recording.is_running = false;
  std::string& line = recording.line;
  try {
    std::string clock;
    AppendClock(clock);
    if (!clock.empty()) line.insert(0, clock);
    recording.call.AppendOutcome(line, result);
    AppendTimes(line, recording.begun);
    line += recording.notes;
    if (const std::string path = recording.call.FileName(); !path.empty()) recording.files.NoteChange(path);
  } catch (const std::bad_alloc&) {
    line = "# a call for which there was no memory to record it\n";
  }
  if (recording.written + static_cast<int64_t>(line.size()) > recording.limit) {
    Write("# the recording ends here: with the next call it would be larger than VORLIX_RECORD_MAX\n");
    return Stop();
  }
  Write(line);
  Empty(line);
  Empty(recording.notes);
}

// ---- The end --------------------------------------------------------------------------------------------------------

// Safe in a signal handler: writes what lies there.
void WriteEnd(std::string_view why) {
  const auto put = [](std::string_view text) { return write(recording.fd, text.data(), text.size()) >= 0; };
  if (recording.fd < 0) return;
  const bool all_written = (!recording.is_running.exchange(false) || (put(recording.line) && put("\n"))) &&
                           (recording.is_noting || put(recording.notes)) && put(why);
  if (!all_written) recording.fd = -1;
}

void RecordEnd() { WriteEnd("# the server was ended by SIGTERM\n"); }

// The default action follows, for the handler is gone by now.
extern "C" void HandleFault(int signal) {
  std::array<char, 64> why = {"# the server was ended here by signal "};
  const size_t used = std::strlen(why.data());
  why[used] = static_cast<char>('0' + signal / 10);
  why[used + 1] = static_cast<char>('0' + signal % 10);
  why[used + 2] = '\n';
  WriteEnd(why.data());
  raise(signal);
}

// The signals that end a server, but SIGTERM, which it waits for itself. On a stack of its own, for the server's may be
// what is used up.
void CatchFaults() {
  static std::array<char, 16384> stack;
  stack_t alternate{};
  alternate.ss_sp = stack.data();
  alternate.ss_size = stack.size();
  sigaltstack(&alternate, nullptr);
  struct sigaction action {};
  action.sa_handler = HandleFault;
  sigfillset(&action.sa_mask);  // nothing is told behind it
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_ONSTACK);
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS, SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGXCPU})
    sigaction(signal, &action, nullptr);
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a fault of write
}

constexpr CallObserver OBSERVER = {BeginCall, EndCall, Note, RecordEnd};

void Stop() {
  SetCallObserver(nullptr);
  SetTraceSink(nullptr);
  close(recording.fd);
  recording.fd = -1;
}

// ---- The start ------------------------------------------------------------------------------------------------------

std::string_view Environment(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr ? value : "";
}

// A size such as 64M; none when the text is anything else.
std::optional<int64_t> ReadSize(std::string_view text) {
  int64_t size = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, size);
  if (error != std::errc() || size < 0) return {};
  constexpr std::string_view UNITS = "KMG";
  if (stop == end) return size;
  const size_t unit = UNITS.find(*stop);
  if (unit == std::string_view::npos || stop + 1 != end || size > INT64_MAX >> 40) return {};
  return size << (10 * (unit + 1));
}

std::string PathOf(std::string_view pattern) {
  std::string path;
  for (size_t at = 0; at < pattern.size(); ++at) {
    const std::string_view two = pattern.substr(at, 2);
    if (two == "%p") path += std::to_string(getpid());
    if (two == "%%") path += '%';
    if (two == "%p" || two == "%%") {
      ++at;
    } else {
      path += pattern[at];
    }
  }
  return path;
}

// A new file, or an empty one of this user's own: a recording never takes the place of anything. -1 with errno.
int OpenNew(const std::string& path) {
  const int fd = Retry(
      [&] { return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600); });
  if (fd < 0) return -1;
  struct stat status {};
  // The lock keeps out a server that comes to the same empty file before this one has written.
  const bool is_file = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
  const bool is_ours = is_file && flock(fd, LOCK_EX | LOCK_NB) == 0 && fstat(fd, &status) == 0 &&
                       status.st_uid == geteuid() && status.st_nlink == 1 && status.st_size == 0 &&
                       fchmod(fd, 0600) == 0;
  if (is_ours) return fd;
  close(fd);
  errno = is_file ? EEXIST : EINVAL;
  return -1;
}

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

// Who records what, and in which language.
std::string Head() {
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

void StartRecording(std::string_view pattern) {
  const std::string path = PathOf(pattern);
  recording.fd = OpenNew(path);
  if (recording.fd < 0) {
    const char* const why = errno == EEXIST ? "File exists; \"%p\" in VORLIX_RECORD gives each server a file of its own"
                            : errno == EINVAL ? "It is no regular file"
                                              : std::strerror(errno);
    std::fprintf(stderr, "vorlix.dll: cannot record in %s: %s\n", path.c_str(), why);
    return;
  }
  SetCallObserver(&OBSERVER);
  SetTraceSink(NoteMessage);
  NoteTimes();
  CatchFaults();
  Write(Head());
}

}  // namespace

void StartRecordingFromEnvironment() {
  if (const std::string_view file = Environment("VORLIX_CLOCK"); !file.empty()) GoByClockFile(file.data());
  try {
    if (const std::string_view size = Environment("VORLIX_RECORD_MAX"); !size.empty()) {
      if (const std::optional<int64_t> limit = ReadSize(size)) {
        recording.limit = *limit;
      } else {
        std::fprintf(stderr, "vorlix.dll: VORLIX_RECORD_MAX=%s is no size such as 500000 or 64M\n", size.data());
      }
    }
    if (const std::string_view pattern = Environment("VORLIX_RECORD"); !pattern.empty()) StartRecording(pattern);
  } catch (const std::bad_alloc&) {
    std::fputs("vorlix.dll: no memory to record\n", stderr);
  }
  if (const std::string_view level = Environment("VORLIX_DEBUG"); !level.empty())
    SetCallTraceLevel(static_cast<int32_t>(std::strtol(level.data(), nullptr, 10)));
  if (const std::string_view flags = Environment("VORLIX_FLAGS"); !flags.empty()) SetDebugFlags(flags.data(), "");
}

}  // namespace vorlix
