// The call frame: the function table, the validation of a call against it, and the call trace.
//
// The table and DllDispatch are defined by the program that this library is linked into; nothing here knows a function.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "hostif/layout.h"

namespace vorlix {

struct ArgSpec {
  std::string_view name;
  DeclaredType type;
  int32_t min_count;  // array types: the host must send at least this many elements
};

/// One callable function; its position in the table is its dispatch index.
struct FunctionEntry {
  std::string_view name;
  int32_t first_arg;  // index of its first ArgSpec
  int32_t arg_count;
  uint32_t flags;  // 0, not examined
};

extern const std::span<const FunctionEntry> FunctionTable;
extern const std::span<const ArgSpec> ArgSpecs;

/// One pointer per argument, presented as the declared type says.
using ArgVector = std::array<void*, MAX_ARGS>;

/// Calls the function at `index` and returns its result; -1 for an index beyond the table.
int32_t DllDispatch(int32_t index, const ArgVector& args);

/// Validates the call in the block, presents its arguments, runs the function and writes back. Returns the result code
/// that belongs into the header.
int32_t DllCall();

/// Who is told of each call, and of the call trace. All but `ended` are called in the course of a call.
struct CallObserver {
  void (*begun)();                        // the header has been copied, and nothing been done
  void (*done)(int32_t result);           // all is written back, and the result code is not stored yet
  void (*traced)(std::string_view text);  // this was written to the call trace
  void (*ended)();  // SIGTERM: at any instant, so what is not safe in a signal handler must not be
};

/// There is one observer, or none (null). It is borrowed.
void SetCallObserver(const CallObserver* observer);

/// Tells the observer of the end.
void TellOfEnd();

/// The level of the call trace on standard error, 0 at start: 1 to 3 add detail, a negative level writes the lines of
/// level 1 alone.
void SetCallTraceLevel(int32_t level);

/// Writes to the call trace what belongs to this detail.
[[gnu::format(printf, 2, 3)]] void CallTrace(int32_t detail, const char* format, ...);

}  // namespace vorlix
