// A call is one write, made before the host is answered: so a recording tells of every call that a host has seen the
// answer of, and of the call in which the server ends. Times are UTC.
//
// While a call runs, its line lies complete in memory. The end by SIGTERM, and a fault of the server, write it out from
// their signal handlers.
#include "dll/record/recording.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "dll/base/debug.h"
#include "dll/base/quote.h"
#include "dll/base/syscall.h"
#include "dll/record/callline.h"
#include "dll/record/clock.h"
#include "dll/record/head.h"
#include "dll/record/namedfiles.h"
#include "dll/record/recordingfile.h"
#include "hostif/dllif.h"

namespace vorlix {
namespace {

constexpr int64_t DEFAULT_LIMIT = int64_t{256} << 20;
constexpr size_t LONGEST_KEPT = size_t{1} << 20;  // room that is kept from call to call

struct Recording {
  int fd = -1;
  int64_t limit = 0;
  int64_t written = 0;
  CallLine call;
  NamedFiles files;
  std::string line;   // of the call that runs
  std::string notes;  // what was traced since, as comments
  timespec begun{};
  std::atomic<bool> is_running = false;  // the line is complete, and nobody has written it
  std::atomic<bool> is_noting = false;
};
std::unique_ptr<Recording> recording;  // null where nothing is recorded: then it costs no memory

void Stop();

// Writes all of it or nothing; on a fault says so once, and records no more.
void Write(std::string_view text) {
  const int64_t before = recording->written;
  while (!text.empty()) {
    const ssize_t count = Retry([&] { return write(recording->fd, text.data(), text.size()); });
    if (count < 0) {
      std::perror("vorlix.dll: the recording ends here");
      if (ftruncate(recording->fd, before) != 0) std::perror("vorlix.dll: its last line is cut off");
      return Stop();
    }
    recording->written += count;
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

// Keeps a piece of a trace. Lines end where the trace ends them.
void Note(std::string_view text) {
  recording->is_noting = true;
  try {
    std::string& notes = recording->notes;
    while (!text.empty()) {
      const size_t end = text.find('\n');
      const std::string_view line = text.substr(0, end);
      if (!line.empty() && (notes.empty() || notes.back() == '\n')) notes += "#   ";
      AppendComment(notes, line);
      if (end != std::string_view::npos && !notes.empty() && notes.back() != '\n') notes += '\n';
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
  } catch (const std::bad_alloc&) {
    recording->notes.clear();
  }
  recording->is_noting = false;
}

// Messages go into the recording as well as to where they would go without one.
class MessageNotes final : public TraceSink {
 public:
  void Take(char category, int level, const char* message) override {
    DebugOut(category, level, message);
    const std::array<char, 4> head = {category, static_cast<char>('0' + level % 10), ':', ' '};
    Note({head.data(), head.size()});
    Note(message);
    Note("\n");
  }
};
MessageNotes message_notes;

// ---- Calls ----------------------------------------------------------------------------------------------------------

// Memory that one large call has needed is given back.
void Empty(std::string& text) {
  text.clear();
  if (text.capacity() > LONGEST_KEPT) text.shrink_to_fit();
}

void BeginCall() {
  recording->begun = Now(CLOCK_REALTIME);
  try {
    CallLine& call = recording->call;
    std::string& line = recording->line;
    std::swap(line, recording->notes);  // what was traced before the call
    call.Read();
    if (const std::string path = call.FileName(); !path.empty())
      recording->files.AppendLine(line, path, call.Function()->name == "dll_SetDebugFlags");
    call.AppendCall(line);
    recording->is_running = true;
  } catch (const std::bad_alloc&) {
    recording->line = "#";
  }
}

void EndCall(int32_t result) {
  recording->is_running = false;
  std::string& line = recording->line;
  try {
    std::string clock;
    AppendClock(clock);
    if (!clock.empty()) line.insert(0, clock);
    recording->call.AppendOutcome(line, result);
    AppendTimes(line, recording->begun);
    line += recording->notes;
    if (const std::string path = recording->call.FileName(); !path.empty()) recording->files.NoteChange(path);
  } catch (const std::bad_alloc&) {
    line = "# a call for which there was no memory to record it\n";
  }
  if (recording->written + static_cast<int64_t>(line.size()) > recording->limit) {
    Write("# the recording ends here: with the next call it would be larger than VORLIX_RECORD_MAX\n");
    return Stop();
  }
  Write(line);
  Empty(line);
  Empty(recording->notes);
}

// ---- The end --------------------------------------------------------------------------------------------------------

// Safe in a signal handler: writes what lies there.
void WriteEnd(std::string_view why) {
  const auto put = [](std::string_view text) { return write(recording->fd, text.data(), text.size()) >= 0; };
  if (recording->fd < 0) return;
  const bool all_written = (!recording->is_running.exchange(false) || (put(recording->line) && put("\n"))) &&
                           (recording->is_noting || put(recording->notes)) && put(why);
  if (!all_written) recording->fd = -1;
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
  close(recording->fd);
  recording->fd = -1;
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

void StartRecording(std::string_view pattern, int64_t limit) {
  const std::string path = RecordingPath(pattern);
  const std::string head = RecordingHead();
  recording = std::make_unique<Recording>();
  recording->limit = limit;
  recording->fd = OpenRecording(path);
  if (recording->fd < 0) {
    const char* const why = errno == EEXIST ? "File exists; \"%p\" in VORLIX_RECORD gives each server a file of its own"
                            : errno == EINVAL ? "It is no regular file"
                                              : std::strerror(errno);
    std::fprintf(stderr, "vorlix.dll: cannot record in %s: %s\n", path.c_str(), why);
    return;
  }
  SetCallObserver(&OBSERVER);
  SetTraceSink(&message_notes);
  NoteTimes();
  CatchFaults();
  Write(head);
}

}  // namespace

void StartRecordingFromEnvironment() {
  if (const std::string_view file = Environment("VORLIX_CLOCK"); !file.empty()) GoByClockFile(file.data());
  std::optional<int64_t> limit = DEFAULT_LIMIT;
  if (const std::string_view size = Environment("VORLIX_RECORD_MAX"); !size.empty()) {
    limit = ReadSize(size);
    if (!limit)
      std::fprintf(stderr, "vorlix.dll: VORLIX_RECORD_MAX=%s is no size such as 500000 or 64M\n", size.data());
  }
  try {
    if (const std::string_view pattern = Environment("VORLIX_RECORD"); !pattern.empty())
      StartRecording(pattern, limit.value_or(DEFAULT_LIMIT));
  } catch (const std::bad_alloc&) {
    std::fputs("vorlix.dll: no memory to record\n", stderr);
  }
  if (const std::string_view level = Environment("VORLIX_DEBUG"); !level.empty())
    SetCallTraceLevel(static_cast<int32_t>(std::strtol(level.data(), nullptr, 10)));
  if (const std::string_view flags = Environment("VORLIX_FLAGS"); !flags.empty()) SetDebugFlags(flags.data(), "");
}

}  // namespace vorlix
