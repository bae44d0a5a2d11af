// Category levels and the trace file. The file is written with write(2), one call a line: nothing is buffered that the
// end of the process could lose or cut.
#include "dll/base/debug.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include "dll/base/syscall.h"
#include "dll/base/text.h"

namespace vorlix {

std::array<int8_t, 26> debug_levels{};

namespace {

constexpr size_t MESSAGE_SIZE = 1024;
constexpr int HIGHEST_LEVEL = 127;

int trace_fd = -1;
TraceSink* trace_sink = nullptr;

// A line that cannot be written is lost: there is nobody left to tell.
void WriteAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = Retry([&] { return write(fd, text.data(), text.size()); });
    if (written <= 0) return;
    text.remove_prefix(static_cast<size_t>(written));
  }
}

// The level behind a flag character: a run of digits, or 1 when there is none. Moves `flags` behind it.
int8_t ReadLevel(const char*& flags) {
  if (!IsDigit(*flags)) return 1;
  int level = 0;
  for (; IsDigit(*flags); ++flags) level = std::min(10 * level + (*flags - '0'), HIGHEST_LEVEL);
  return static_cast<int8_t>(level);
}

void SetLevels(const char* flags) {
  debug_levels.fill(0);
  while (*flags != '\0') {
    const char letter = *flags++;
    const int8_t level = ReadLevel(flags);
    if (letter >= 'A' && letter <= 'Z') debug_levels[static_cast<size_t>(letter - 'A')] = level;
    if (letter == '*') debug_levels.fill(level);
  }
}

void WriteHeader(const char* flags) {
  const std::time_t now = std::time(nullptr);
  std::array<char, 64> time_text{};
  const char* shown = ctime_r(&now, time_text.data());
  try {
    WriteAll(trace_fd, std::string("\n** ") + (shown != nullptr ? shown : "\n") + "   Flags = [" + flags + "]\n\n");
  } catch (const std::bad_alloc&) {
    // Lost, like a line that cannot be written.
  }
}

struct TracedOperation {
  std::string_view name;
  const char* file;
};

constexpr TracedOperation TRACED_OPERATIONS[] = {
#define TRACED(operation, file) {#operation, file},
#include "dll/base/traced.def"
#undef TRACED
};

const char* TracedFile(std::string_view operation) {
  const auto* const row = std::ranges::find(TRACED_OPERATIONS, operation, &TracedOperation::name);
  return row != std::end(TRACED_OPERATIONS) ? row->file : "";
}

}  // namespace

void SetDebugFlags(const char* flags, const char* fname) {
  SetLevels(flags);
  const int mode = trace_fd >= 0 ? O_APPEND : O_TRUNC;
  if (trace_fd >= 0) close(trace_fd);
  trace_fd = -1;
  if (*fname == '\0') return;
  trace_fd = Retry([=] { return open(fname, O_WRONLY | O_CREAT | O_CLOEXEC | mode, 0666); });
  if (trace_fd < 0) {
    std::perror(fname);
    return;
  }
  WriteHeader(flags);
}

void SetTraceSink(TraceSink* sink) { trace_sink = sink; }

void DebugOut(char category, int level, const char* text) {
  std::array<char, MESSAGE_SIZE + 32> line;
  const int length = std::snprintf(line.data(), line.size(), "%c%d: %s\n", category, level, text);
  if (length < 0) return;
  const auto used = std::min(static_cast<size_t>(length), line.size() - 1);
  line[used - 1] = '\n';
  WriteAll(trace_fd >= 0 ? trace_fd : STDERR_FILENO, {line.data(), used});
}

void DebugPrint(char category, int level, const char* format, ...) {
  if (!DebugCheck(category, level)) return;
  const int caller_errno = errno;
  std::array<char, MESSAGE_SIZE> message;
  va_list args;
  va_start(args, format);
  std::vsnprintf(message.data(), message.size(), format, args);
  va_end(args);
  if (trace_sink != nullptr)
    trace_sink->Take(category, level, message.data());
  else
    DebugOut(category, level, message.data());
  errno = caller_errno;
}

void DebugEntryOut(char category, const char* operation, int line) {
  DebugPrint(category, 3, "%s(): file %s, line %d", operation, TracedFile(operation), line);
}

}  // namespace vorlix
