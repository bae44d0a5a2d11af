// One call: look the name up, check the arguments against their declarations, present them, dispatch, write back.
//
// The call trace goes to standard error. Its level is read anew at each line, for a call of dll_Debug changes it in the
// middle of its own call.
#include "hostif/dllif.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "hostif/dllifutil.h"

namespace vorlix {
namespace {

struct CallArg {
  const ArgSpec* spec = nullptr;
  PresentedArg presented;
};

// Filled during one call and empty between calls.
std::array<CallArg, MAX_ARGS> call_args;
ArgVector arg_vector{};
size_t args_taken = 0;  // slots from the first on that hold something

std::span<const CallArg> TakenArgs() { return {call_args.data(), args_taken}; }

const CallObserver* observer = nullptr;

int32_t trace_level = 0;

// Lines of detail 1 are written at every level but 0.
bool Traced(int32_t detail) { return detail == 1 ? trace_level != 0 : trace_level >= detail; }

// All of the call trace is written here.
void Print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  if (observer != nullptr) observer->traced(text);
}

// The observer is told of the first thousand bytes.
[[gnu::format(printf, 1, 0)]] void PrintList(const char* format, va_list args) {
  va_list again;
  va_copy(again, args);
  std::vfprintf(stderr, format, args);
  if (observer != nullptr) {
    std::array<char, 1024> text;
    const int length = std::vsnprintf(text.data(), text.size(), format, again);
    observer->traced({text.data(), std::min(static_cast<size_t>(std::max(length, 0)), text.size() - 1)});
  }
  va_end(again);
}

[[gnu::format(printf, 1, 2)]] void PrintFormatted(const char* format, ...) {
  va_list args;
  va_start(args, format);
  PrintList(format, args);
  va_end(args);
}

void PrintQuoted(std::string_view text) {
  Print("\"");
  Print(text);
  Print("\"");
}

bool IsType(DeclaredType type) { return static_cast<size_t>(type) < DECLARED_TYPES.size(); }

// The names are whole literals, so they end in NUL.
const char* TypeName(DeclaredType type) { return IsType(type) ? InfoOf(type).name.data() : "Unknown"; }

const char* ClassName(int32_t host_class) {
  switch (host_class) {
    case HOST_INTEGER: return "INTEGER";
    case HOST_REAL: return "REAL";
    case HOST_STRING: return "STRING";
    default: return "";
  }
}

// Whether the value is shown as an array: by its declared type, or by what the host sent for a VarArg.
bool ShownAsArray(const CallArg& arg) {
  const Shape shape = InfoOf(arg.spec->type).shape;
  return shape == Shape::Any ? arg.presented.Desc().count > 1 : shape == Shape::Array;
}

void PrintElement(const PresentedArg& arg, int32_t k) {
  switch (arg.How()) {
    case Presentation::Integers:
    case Presentation::IntsOfReals: PrintFormatted("%d", arg.IntAt(k)); break;
    case Presentation::Strings: PrintQuoted(arg.StringAt(k).View()); break;
    case Presentation::Text: PrintQuoted(arg.Text()); break;
    case Presentation::DoublesOfInts:
    case Presentation::DoublesOfReals: PrintFormatted("%1.12g", arg.DoubleAt(k)); break;
    case Presentation::None: break;
  }
}

void PrintArg(const CallArg& arg) {
  Print(" ");
  Print(arg.spec->name);
  if (!ShownAsArray(arg)) {
    Print(" = ");
    PrintElement(arg.presented, 0);
    Print("\n");
    return;
  }
  PrintFormatted(" = array [%d]\n", arg.presented.Desc().count);
  if (arg.presented.Count() == 1) return PrintElement(arg.presented, 0);
  for (int32_t k = 0; k < arg.presented.Count(); ++k) {
    PrintFormatted("  [%2d] ", k);
    PrintElement(arg.presented, k);
    Print("\n");
  }
}

// Finds the function that is named in descriptor 0; or the code of the refusal.
ResultCode FindEntry(int32_t& index) {
  ArgDesc desc;
  if (const ResultCode code = DllGetArgDesc(0, desc); code != RESULT_OK) return code;
  if (desc.host_class != HOST_STRING) {
    CallTrace(3, "first argument must be function name\n");
    return RESULT_WRONG_CLASS;
  }
  std::string_view name;
  if (const ResultCode code = DllElementText(desc, 0, name); code != RESULT_OK) return code;
  const auto entry = std::ranges::find(FunctionTable, name, &FunctionEntry::name);
  index = static_cast<int32_t>(entry - FunctionTable.begin());
  if (entry != FunctionTable.end()) return RESULT_OK;
  if (Traced(3)) {
    Print("undefined function name: ");
    PrintQuoted(name);
    Print("\n");
  }
  return RESULT_UNKNOWN_FUNCTION;
}

// Reads descriptor `index`, checks it against the declaration and presents it as argument `index` - 1.
ResultCode TakeArg(int32_t index, const ArgSpec& spec) {
  ArgDesc desc;
  if (const ResultCode code = DllGetArgDesc(index, desc); code != RESULT_OK) return code;
  CallTrace(3, " arg = %.*s, %s, CALL = %s, elcnt = %d (%s)\n", static_cast<int>(spec.name.size()), spec.name.data(),
            TypeName(spec.type), ClassName(desc.host_class), desc.count, desc.by_ref != 0 ? "ByRef" : "ByValue");
  if (!IsType(spec.type)) return RESULT_BAD_TYPE;
  const DeclaredTypeInfo& type = InfoOf(spec.type);
  if (type.shape == Shape::Array && spec.min_count > desc.count) return RESULT_ARRAY_TOO_SHORT;
  const Presentation how = type.Of(desc.host_class);
  if (how == Presentation::None) return RESULT_WRONG_CLASS;
  const auto slot = static_cast<size_t>(index - 1);
  args_taken = slot + 1;
  call_args[slot].spec = &spec;
  const ResultCode presented = call_args[slot].presented.Present(how, desc);
  arg_vector[slot] = call_args[slot].presented.Value();
  return presented;
}

void ReleaseArgs() {
  for (size_t i = 0; i < args_taken; ++i) {
    call_args[i] = CallArg();
    arg_vector[i] = nullptr;
  }
  args_taken = 0;
}

// Takes all arguments in order. A VarArg declaration serves every argument from its place on.
ResultCode TakeArgs(const FunctionEntry& entry, int32_t count) {
  auto declared = ArgSpecs.subspan(static_cast<size_t>(entry.first_arg), static_cast<size_t>(entry.arg_count));
  for (int32_t i = 1; i <= count; ++i) {
    if (declared.empty()) {
      CallTrace(3, "extra argument detected\n");
      return RESULT_WRONG_COUNT;
    }
    const ArgSpec& spec = declared.front();
    if (const ResultCode code = TakeArg(i, spec); code != RESULT_OK) return code;
    if (spec.type != DeclaredType::VarArg) declared = declared.subspan(1);
  }
  if (declared.empty() || declared.front().type == DeclaredType::VarArg) return RESULT_OK;
  CallTrace(2, "%.*s: wrong numer of arguments\n", static_cast<int>(entry.name.size()), entry.name.data());
  return RESULT_WRONG_COUNT;
}

void WriteBackArgs() {
  int32_t index = 0;
  for (const CallArg& arg : TakenArgs()) {
    ++index;
    if (arg.presented.Desc().by_ref == 0) continue;
    if (InfoOf(arg.spec->type).shape == Shape::Value) {
      DllClearByRef(index);
    } else {
      if (Traced(2)) PrintArg(arg);
      arg.presented.WriteBack();
    }
  }
}

// Calls the function with the arguments that have been taken, and writes back.
int32_t CallTaken(int32_t index, const FunctionEntry& entry, int32_t count) {
  CallTrace(1, "\ncalling %.*s, argc = %d\n", static_cast<int>(entry.name.size()), entry.name.data(), count);
  if (Traced(2))
    for (const CallArg& arg : TakenArgs()) PrintArg(arg);
  const int32_t result = DllDispatch(index, arg_vector);
  CallTrace(1, "return code is %d\n", result);
  WriteBackArgs();
  return result;
}

int32_t RunFunction(int32_t index, int32_t count) {
  const FunctionEntry& entry = FunctionTable[static_cast<size_t>(index)];
  CallTrace(3, "\nfunction name = \"%.*s\", argc = %d\n", static_cast<int>(entry.name.size()), entry.name.data(),
            count);
  const ResultCode refusal = TakeArgs(entry, count);
  const int32_t result = refusal == RESULT_OK ? CallTaken(index, entry, count) : int32_t{refusal};
  ReleaseArgs();
  return result;
}

int32_t TakeCall() {
  if (DllArgCount() < 1) {
    CallTrace(3, "illegal argument count, function name is required\n");
    return RESULT_WRONG_COUNT;
  }
  const int32_t count = DllArgCount() - 1;
  if (count > MAX_ARGS) {
    CallTrace(3, "argument count exceeds maximum (%d)\n", MAX_ARGS);
    return RESULT_TOO_MANY_ARGS;
  }
  int32_t index = 0;
  if (const ResultCode code = FindEntry(index); code != RESULT_OK) return code;
  return RunFunction(index, count);
}

}  // namespace

void SetCallTraceLevel(int32_t level) { trace_level = level; }

void CallTrace(int32_t detail, const char* format, ...) {
  if (!Traced(detail)) return;
  va_list args;
  va_start(args, format);
  PrintList(format, args);
  va_end(args);
}

void SetCallObserver(const CallObserver* new_observer) { observer = new_observer; }

void TellOfEnd() {
  if (observer != nullptr) observer->ended();
}

int32_t DllCall() {
  DllReadHeader();
  if (observer == nullptr) return TakeCall();
  observer->begun();
  const int32_t result = TakeCall();
  if (observer != nullptr) observer->done(result);
  return result;
}

}  // namespace vorlix
