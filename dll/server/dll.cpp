// The function table and the dispatch, both made from the rows of functions.def at compile time, and the functions that
// speak of the server itself.
#include <new>
#include <utility>

#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "dll/server/nls.h"
#include "dll/shared/csdx.h"
#include "dll/wire/functable.h"
#include "hostif/dllif.h"

namespace vorlix {
namespace {

// ---- From the C++ parameter of a function to its declared type and its entry in the argument vector -----------------

template <class Parameter>
struct ArgumentOf;

template <>
struct ArgumentOf<IntByValue> {
  static constexpr DeclaredType TYPE = DeclaredType::IntByValue;
  static IntByValue Take(void* entry) { return IntByReference(entry).Get(); }
};
template <>
struct ArgumentOf<IntByReference> {
  static constexpr DeclaredType TYPE = DeclaredType::IntByReference;
  static IntByReference Take(void* entry) { return IntByReference(entry); }
};
template <>
struct ArgumentOf<RealByValue> {
  static constexpr DeclaredType TYPE = DeclaredType::RealByValue;
  static RealByValue Take(void* entry) { return *static_cast<double*>(entry); }
};
template <>
struct ArgumentOf<RealByReference> {
  static constexpr DeclaredType TYPE = DeclaredType::RealByReference;
  static RealByReference Take(void* entry) { return *static_cast<double*>(entry); }
};
template <>
struct ArgumentOf<zString> {
  static constexpr DeclaredType TYPE = DeclaredType::zString;
  static zString Take(void* entry) { return static_cast<const char*>(entry); }
};
template <>
struct ArgumentOf<String> {
  static constexpr DeclaredType TYPE = DeclaredType::String;
  static String Take(void* entry) { return *static_cast<DllString*>(entry); }
};
template <>
struct ArgumentOf<In<String>> : ArgumentOf<String> {};

// ---- One row: the call, and the declared types that the C++ signature gives -----------------------------------------

using CallWith = int32_t (*)(const ArgVector& args);

struct Row {
  CallWith call = nullptr;
  std::array<DeclaredType, MAX_DECLARED_ARGS> types{};
  size_t arg_count = 0;
};

template <auto FUNCTION>
struct Callable;

template <class... Parameters, int32_t (*FUNCTION)(Parameters...)>
struct Callable<FUNCTION> {
  static int32_t Call(const ArgVector& args) {
    return [&args]<size_t... I>(std::index_sequence<I...>) {
      return FUNCTION(ArgumentOf<Parameters>::Take(args[I])...);
    }
    (std::index_sequence_for<Parameters...>());
  }
};

template <class... Parameters>
constexpr Row RowOf(int32_t (*)(Parameters...), CallWith call) {
  return {call, {ArgumentOf<Parameters>::TYPE...}, sizeof...(Parameters)};
}

constexpr std::array ROWS = {
#define FUNCTION(name, ...) RowOf(&name, &Callable<&name>::Call),
#include "dll/wire/functions.def"
#undef FUNCTION
};

// The types that are written in the rows are those of the C++ signatures.
constexpr bool RowsAgree() {
  for (size_t i = 0; i < ROWS.size(); ++i) {
    if (ROWS[i].arg_count != FUNCTIONS[i].arg_count) return false;
    for (size_t k = 0; k < ROWS[i].arg_count; ++k)
      if (ROWS[i].types[k] != FUNCTIONS[i].args[k].type) return false;
  }
  return true;
}
static_assert(ROWS.size() == FUNCTIONS.size() && RowsAgree());

constexpr size_t ArgTotal() {
  size_t total = 0;
  for (const FunctionInfo& function : FUNCTIONS) total += function.arg_count;
  return total;
}

constexpr auto ARG_SPECS = [] {
  std::array<ArgSpec, ArgTotal()> specs{};
  size_t next = 0;
  for (const FunctionInfo& function : FUNCTIONS)
    for (const ArgInfo& arg : function.Args()) specs[next++] = {arg.name, arg.type, 0};
  return specs;
}();

constexpr auto ENTRIES = [] {
  std::array<FunctionEntry, FUNCTIONS.size()> entries{};
  int32_t first = 0;
  for (size_t i = 0; i < FUNCTIONS.size(); ++i) {
    const auto count = static_cast<int32_t>(FUNCTIONS[i].arg_count);
    entries[i] = {FUNCTIONS[i].name, first, count, 0};
    first += count;
  }
  return entries;
}();

constexpr const char* REVISION = "3.10";
constexpr const char* COMPILED = "Aug 28 2002";

}  // namespace

constinit const std::span<const FunctionEntry> FunctionTable = ENTRIES;
constinit const std::span<const ArgSpec> ArgSpecs = ARG_SPECS;

int32_t DllDispatch(int32_t index, const ArgVector& args) {
  if (index < 0 || static_cast<size_t>(index) >= ROWS.size()) return RESULT_BAD_TYPE;
  try {
    return ROWS[static_cast<size_t>(index)].call(args);
  } catch (const std::bad_alloc&) {
    return RESULT_NO_MEMORY;
  }
}

// ---- Functions that speak of the server itself ----------------------------------------------------------------------

int32_t dll_Revision(Out<String> str) { return DllStrFromC(REVISION, str); }

int32_t dll_Compiled(Out<String> str) { return DllStrFromC(COMPILED, str); }

int32_t dll_Debug(IntByValue debug) {
  SetCallTraceLevel(debug);
  return RESULT_OK;
}

int32_t dll_SetDebugFlags(zString fs, zString fname) {
  SetDebugFlags(fs, fname);
  return RESULT_OK;
}

int32_t dll_SetLocale(zString str) { return DescribeLanguages(str); }

int32_t dll_SendNext(Out<String> zd, Out<IntByReference> eof_p) {
  DebugEntry(TRACE_DICT);
  switch (CSDX_SendNext(zd)) {
    case Sent::MoreFollow: eof_p.Set(0); return RESULT_OK;
    case Sent::Last: eof_p.Set(1); return RESULT_OK;
    case Sent::NoBuffer:
      DebugPrint(TRACE_DICT, 1, "dll_SendNext() failed: csdxBuf is not allocated");
      return RESULT_REFUSED;
    case Sent::NoRoom: break;
  }
  eof_p.Set(1);
  DebugPrint(TRACE_DICT, 1, "dll_SendNext() failed: string overflow");
  return RESULT_TOO_SHORT;
}

}  // namespace vorlix
