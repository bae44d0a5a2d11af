// Calls without memory. Every call script is played through the call frame, and each allocation of each of its calls
// fails in turn, by itself and with all that come after it. Each time the call says so as documented, and leaves behind
// what was there before: the same call, made again, meets the expectations of the script in the end.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dll/shared/csdx.h"
#include "dll/shared/debug.h"
#include "dll/shared/functable.h"
#include "host/call.h"
#include "hostif/dllif.h"
#include "hostif/dllifutil.h"
#include "tests/support/callables.h"
#include "tests/support/dictstate.h"
#include "tests/support/heap.h"
#include "tests/support/scripts.h"
#include "tools/files.h"
#include "tools/player.h"

namespace vorlix::test {
namespace {

/// How functions say that there is no memory. The rows of one function are all it may say.
struct Answer {
  std::string_view functions;   // pattern
  int32_t code;                 // the result
  std::string_view argument{};  // where the host learns it, when that is not the result
  int32_t value = 0;            // of the argument
  std::string_view trace{};     // pattern of the lines of level 1
  bool no_buffer = false;       // there is nothing to send any more
};

constexpr Answer ANSWERS[] = {
    {"dll_SetDebugFlags", 0},  // the trace file goes without its header
    {"dll_SetLocale", 2},
    {"dll_SetLocale", 2, "", 0, "D1: BuildLocale() failed: heap overflow", true},
    {"dll_SetLocale", 2, "", 0, "D1: GetLocaleInfo() failed: heap overflow [LANGINFO]", true},
    {"v_Set", 2},
    {"u_udata", 2},
    {"l_*", 2001},
    {"ini_SetString", 0},  // the file is the old one
    {"mdf_Get", 0, "rc_p", -ENOMEM},
    {"dict_Open*", 0, "rc_p", -ENOMEM},
    {"dict_Open*", 0, "rc_p", -ENOMEM, "D1: AddDlgLevel() failed: heap overflow"},
    {"dict_Open*", 0, "rc_p", -ENOMEM, "D1: AddDlgHandle() failed: heap overflow (1)"},
    {"dict_Open*", 0, "rc_p", -ENOMEM, "D1: AddDlgHandle() failed: heap overflow (2)"},
    {"dict_Open*", 0, "rc_p", 1, "D1: ObCopy() failed: heap overflow (section=*, item=*, value=*)"},
    {"dict_Open*", 0, "rc_p", 1, "D1: ObCheck() failed: heap overflow, section '*'"},
    {"dict_NewAlias", 19, "", 0, "D1: NewDlgAlias(): Memory allocation failed\nD1: dict_NewAlias() failed"},
    {"dict_Update", 19, "", 0, "D1: XbufObSet() failed: heap overflow (item=*)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (dict)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (dict->id)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (catalog)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (catalog->hdl)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (catalog->pfx)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (item)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (item->item)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (item->value)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (section)"},
    {"dict_Update", 19, "", 0, "D1: DeriveDict() failed: heap overflow (section->section)"},
    {"dict_Update", 19, "", 0, "D1: ObCopy() failed: heap overflow (section=*, item=*, value=*)"},
    {"dict_Update", 19, "", 0, "D1: ObCheck() failed: heap overflow, section '*'"},
    {"dict_PackDX", 2, "", 0, "D1: dict_PackDX() failed: heap overflow", true},
    {"dict_PackBufDX", 2, "", 0, "D1: CSDX_PackString() failed: heap overflow", true},
    {"dict_*Filter*", 2, "", 0, "D1: AddVar(*) failed: heap overflow (1)"},
    {"dict_*Filter*", 2, "", 0, "D1: AddVar(*) failed: heap overflow (2)"},
    {"dict_FilterSetValue", 2, "", 0, "D1: VarSetCurrValue(*) failed: heap overflow"},
};

/// The call frame says so itself when an argument cannot be presented. The function does not run then.
constexpr Answer NOT_PRESENTED = {"*", RESULT_NO_MEMORY};

bool Fits(const Answer& answer, const FunctionInfo& function, const host::Result& result, const std::string& trace) {
  if (!tool::Matches(function.name, answer.functions) || result.code != answer.code) return false;
  for (size_t k = 0; k < function.arg_count; ++k)
    if (function.args.at(k).name == answer.argument && result.args.at(k).IntAt() != answer.value) return false;
  return tool::Matches(trace, answer.trace) && !(answer.no_buffer && CSDX_Contents());
}

/// How many arguments of a call need memory to be presented: an allocation each, before the function runs.
int PresentedApart(const FunctionInfo& function, const std::vector<host::Arg>& args) {
  int count = 0;
  for (size_t k = 0; k < args.size(); ++k)
    if (PresentedArg::Choose(function.args.at(k).type, args[k].Class()) != Presentation::Integers) ++count;
  return count;
}

// ---- What a failure leaves as it was --------------------------------------------------------------------------------

/// The file, and the names of all beside it.
std::string Files(const std::filesystem::path& path) {
  std::set<std::string> names;
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(path.parent_path(), none))
    names.insert(entry.path().filename());
  std::string shown = std::filesystem::is_regular_file(path) ? tool::ReadFile(path) : "";
  for (const std::string& name : names) shown += "\n" + name;
  return shown;
}

/// Whether a failure ends, as documented, more than the same call made again would bring back: the walk with a filter
/// ends its set, and a dictionary that cannot be opened at a level takes with it what was opened there before.
bool EndsMore(const FunctionInfo& function, const std::vector<host::Arg>& args) {
  if (function.name == "dict_FilterNext") return true;
  return function.name == "dict_Open" && args.at(2).IntAt() >= 0 && GetDlgDict(args.at(2).IntAt(), 0) != nullptr;
}

/// Whether a failure may change dictionaries: one that only its level uses is changed in place, and a model is given up
/// before it is read again.
bool ChangesDictionaries(const FunctionInfo& function, const std::vector<host::Arg>& args) {
  std::string_view hdl;
  DictPtr dict;
  if (function.name == "dict_Update") dict = ResolveDlgID(args.at(0).TextAt(), hdl);
  if (function.name.starts_with("dict_Open")) dict = FindDict(args.at(0).TextAt(), DICT_MODEL);
  return dict != nullptr && dict->instance_cnt == 1;
}

/// Dialogs and, where asked for, dictionaries, the descriptors in use, and the file that is rewritten.
std::string State(const FunctionInfo& function, const std::vector<host::Arg>& args, bool with_dictionaries) {
  const auto levels = std::exchange(debug_levels, {});  // looking at it is no part of a trace
  std::string state = with_dictionaries ? ShowAll() : ShowDialogs();
  debug_levels = levels;
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  if (function.name != "dll_SetDebugFlags")
    state += "\n" + std::to_string(std::distance(begin(descriptors), end(descriptors)));
  if (function.name == "ini_SetString") state += Files(args.at(3).TextAt());
  return state;
}

// ---- The driver -----------------------------------------------------------------------------------------------------

/// The server in this process, short of memory. Throws std::runtime_error when it does not take that as it should.
class StarvedServer {
 public:
  StarvedServer() : memory_(size_t{1} << 20), block_(memory_, 0) { DllSetBlock(memory_.data(), memory_.size()); }

  host::Result Call(std::string_view name, const std::vector<host::Arg>& args) {
    const FunctionInfo& function = *FindFunction(name);
    called_.insert(name);
    const bool sets_trace = name == "dll_SetDebugFlags";
    if (sets_trace) trace_.reset();
    // What a script traces by itself is left alone.
    if ((trace_ || sets_trace) && !EndsMore(function, args)) {
      // Room that a failed call has made may be there for the next one, which then needs less.
      int nth = 0;
      while (Fails(function, args, nth, false) && Fails(function, args, nth, true)) ++nth;
    } else {
      host::PlaceCall(block_, name, args);
      DllSetResult(DllCall());
    }
    if (sets_trace && args.at(1).TextAt().empty()) trace_.emplace("*1");
    return host::ReadBack(block_);
  }

  /// What no script has brought about: functions and answers.
  std::string Missing() const {
    std::string missing;
    for (const FunctionInfo& function : FUNCTIONS)
      if (!called_.contains(function.name)) missing.append(" ").append(function.name);
    for (const Answer& answer : ANSWERS)
      if (!met_.contains(&answer)) missing.append("\n").append(answer.functions).append(" ").append(answer.trace);
    return missing;
  }

 private:
  /// Makes the call without its allocation `nth`. False when it has none: then it has been made in full.
  bool Fails(const FunctionInfo& function, const std::vector<host::Arg>& args, int nth, bool and_all_after) {
    host::PlaceCall(block_, function.name, args);
    lines_before_ = trace_ ? trace_->Lines().size() : 0;
    const bool with_dictionaries = !ChangesDictionaries(function, args);
    const std::string before = State(function, args, with_dictionaries);
    bool hit;
    {
      const FailAllocation fail(nth, and_all_after);
      DllSetResult(DllCall());
      hit = fail.Hit();
    }
    if (!hit) return false;
    const std::string where = std::string(function.name) + " without allocation " + std::to_string(nth) + ": ";
    const std::string after = State(function, args, with_dictionaries);
    if (after != before) throw std::runtime_error(where + "before\n" + before + "\nafter\n" + after);
    CheckAnswer(function, nth < PresentedApart(function, args), where);
    return true;
  }

  void CheckAnswer(const FunctionInfo& function, bool not_presented, const std::string& where) {
    const host::Result result = host::ReadBack(block_);
    const std::string trace = NewLines();
    const auto fits = [&](const Answer& answer) {
      return Fits(answer, function, result, trace_ || not_presented ? trace : std::string(answer.trace));
    };
    if (not_presented && fits(NOT_PRESENTED)) return;
    const Answer* const answer = std::ranges::find_if(ANSWERS, fits);
    if (not_presented || answer == std::end(ANSWERS))
      throw std::runtime_error(where + "answered " + std::to_string(result.code) + ", traced '" + trace + "'");
    met_.insert(answer);
  }

  /// What the call has traced.
  std::string NewLines() const {
    std::string text;
    const std::vector<std::string> lines = trace_ ? trace_->Lines() : std::vector<std::string>();
    for (size_t k = lines_before_; k < lines.size(); ++k) text += (text.empty() ? "" : "\n") + lines[k];
    return text;
  }

  std::vector<std::byte> memory_;
  host::Block block_;
  std::optional<TraceCapture> trace_;
  size_t lines_before_ = 0;
  std::set<std::string_view> called_;
  std::set<const Answer*> met_;
};

TEST(Allocations, FailOneByOne) {
  StarvedServer server;
  const host::Caller call = std::bind_front(&StarvedServer::Call, &server);
  for (const std::string& path : CallScripts()) {
    try {
      PutBack(call);
      tool::Player(call, path, true).Play(tool::ParseScript(tool::ReadFile(path), path));
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
  }
  PutBack(call);
  EXPECT_EQ(server.Missing(), "") << "is in no script";
}

}  // namespace
}  // namespace vorlix::test
