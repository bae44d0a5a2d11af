// The category trace: every subsystem reports through DebugPrint with a category letter and a level.
//
// Levels by convention: 0 always, 1 failures, 2 warnings, 3 progress. A line goes to the trace file that SetDebugFlags
// opened, or to standard error, in one write, so that the end of the process cannot cut it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vorlix {

/// The categories in use.
inline constexpr char TRACE_DICT = 'D';
inline constexpr char TRACE_FORMAT = 'F';
inline constexpr char TRACE_INI = 'I';
inline constexpr char TRACE_NLS = 'N';

/// The levels of 'A' to 'Z', all 0 at start.
extern std::array<int8_t, 26> debug_levels;

/// Whether lines of this category and level are written: false for every character but 'A' to 'Z'.
inline bool DebugCheck(char category, int level) {
  return category >= 'A' && category <= 'Z' && debug_levels[static_cast<std::size_t>(category - 'A')] >= level;
}

/// Writes one trace line, cut at 1023 characters of message, when DebugCheck holds; else does nothing.
/// Leaves errno alone.
[[gnu::format(printf, 3, 4)]] void DebugPrint(char category, int level, const char* format, ...);

/// Writes "%c%d: %s\n" without a check.
void DebugOut(char category, int level, const char* text);

/// Writes the entry line of an operation without a check: its name, the source file that traced.def says for it, and
/// the line. An operation without a row is traced with a file of no name.
void DebugEntryOut(char category, const char* operation, int line);

/// The entry line of the operation that calls it, at level 3.
inline void DebugEntry(char category, const char* operation = __builtin_FUNCTION(), int line = __builtin_LINE()) {
  if (DebugCheck(category, 3)) DebugEntryOut(category, operation, line);
}

/// Takes the messages of the trace: for programs that have more to do with them than to show them.
class TraceSink {
 public:
  virtual void Take(char category, int level, const char* message) = 0;

 protected:
  ~TraceSink() = default;
};

/// In the place of the file from now on; null: the file again. Borrowed.
void SetTraceSink(TraceSink* sink);

/// Replaces all levels from a flag text such as D3F1 or *2N0, then closes the trace file and opens `fname`: appending
/// when a trace file was open before, else truncating; an empty name leaves standard error. A file that cannot be
/// opened is reported on standard error.
void SetDebugFlags(const char* flags, const char* fname);

}  // namespace vorlix
