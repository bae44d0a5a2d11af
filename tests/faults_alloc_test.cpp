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

#include "dll/base/debug.h"
#include "dll/shared/csdx.h"
#include "dll/wire/functable.h"
#include "host/call.h"
#include "hostif/dllif.h"
#include "hostif/dllifutil.h"
#include "tests/support/callables.h"
#include "tests/support/dictstate.h"
#include "tests/support/heap.h"
#include "tests/support/scripts.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::test {
namespace {

namespace fs = std::filesystem;

// How functions say that there is no memory. The rows of one function are all it may say.
struct Answer {
  std::string_view functions;   // pattern
  int32_t code;                 // the result
  std::string_view argument{};  // where the host learns it, when that is not the result
  int32_t value = 0;            // of the argument
  std::string trace{};          // pattern of the lines of level 1
  bool no_buffer = false;       // there is nothing to send any more
  bool not_presented = false;   // an argument is what failed: the function does not run then
};

std::vector<Answer> Answers() {
  std::vector<Answer> answers = {
      {"*", RESULT_NO_MEMORY, "", 0, "", false, true},
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
      {"dict_Update", 19, "", 0, "D1: ObCopy() failed: heap overflow (section=*, item=*, value=*)"},
      {"dict_Update", 19, "", 0, "D1: ObCheck() failed: heap overflow, section '*'"},
      {"dict_PackDX", 2, "", 0, "D1: dict_PackDX() failed: heap overflow", true},
      {"dict_PackBufDX", 2, "", 0, "D1: CSDX_PackString() failed: heap overflow", true},
      {"dict_*Filter*", 2, "", 0, "D1: AddVar(*) failed: heap overflow (1)"},
      {"dict_*Filter*", 2, "", 0, "D1: AddVar(*) failed: heap overflow (2)"},
      {"dict_FilterSetValue", 2, "", 0, "D1: VarSetCurrValue(*) failed: heap overflow"},
      {"dict_FilterNext", 2, "", 0, "D1: VarSetCurrValue(*) failed: heap overflow"},
  };
  for (const char* piece : {"dict", "dict->id", "catalog", "catalog->hdl", "catalog->pfx", "item", "item->item",
                            "item->value", "section", "section->section"})
    answers.push_back(
        {"dict_Update", 19, "", 0, std::string("D1: DeriveDict() failed: heap overflow (") + piece + ")"});
  return answers;
}

bool Fits(const Answer& answer, const FunctionInfo& function, const host::Result& result, const std::string& trace) {
  if (!tool::Matches(function.name, answer.functions) || result.code != answer.code) return false;
  for (size_t k = 0; k < function.arg_count; ++k)
    if (function.args.at(k).name == answer.argument && result.args.at(k).IntAt() != answer.value) return false;
  return tool::Matches(trace, answer.trace + (answer.trace.empty() ? "" : "\n")) &&
         !(answer.no_buffer && CSDX_Contents());
}

// How many arguments of a call need memory to be presented: an allocation each, before the function runs.
int PresentedApart(const FunctionInfo& function, const std::vector<host::Arg>& args) {
  int count = 0;
  for (size_t k = 0; k < args.size(); ++k)
    if (InfoOf(function.args.at(k).type).Of(args[k].Class()) != Presentation::Integers) ++count;
  return count;
}

// ---- What a failure leaves as it was --------------------------------------------------------------------------------

// Whether a failure of the function ends, as documented, more than the same call made again would bring back: the walk
// with a filter ends its set, and a dictionary that cannot be opened at a level takes with it what was opened there
// before.
bool EndsMore(const FunctionInfo& function, const std::vector<host::Arg>& args) {
  if (function.name == "dict_FilterNext") return true;
  return function.name == "dict_Open" && args.at(2).IntAt() >= 0 && GetDlgDict(args.at(2).IntAt(), 0) != nullptr;
}

// Whether a failure may change dictionaries: one that only its level uses is changed in place, and a model is given up
// before it is read again.
bool ChangesDictionaries(const FunctionInfo& function, const std::vector<host::Arg>& args) {
  DictPtr dict;
  if (function.name == "dict_Update") dict = ResolveDlgID(args.at(0).TextAt()).dict;
  if (function.name.starts_with("dict_Open")) dict = FindDict(args.at(0).TextAt(), DICT_MODEL);
  return dict != nullptr && dict->instance_cnt == 1;
}

// Dialogs and, where asked for, dictionaries, the descriptors in use, and the file that is rewritten.
std::string State(const FunctionInfo& function, const std::vector<host::Arg>& args, bool with_dictionaries) {
  const auto levels = std::exchange(debug_levels, {});  // looking at it is no part of a trace
  std::string state = with_dictionaries ? ShowAll() : ShowDialogs();
  debug_levels = levels;
  const auto count = [](const fs::path& directory) {
    std::error_code none;
    return "\n" + std::to_string(std::distance(fs::directory_iterator(directory, none), {})) + "\n";
  };
  if (function.name != "dll_SetDebugFlags") state += count("/proc/self/fd");
  if (function.name != "ini_SetString") return state;
  const fs::path file = args.at(3).TextAt();
  return state + count(file.parent_path()) + (fs::is_regular_file(file) ? tool::ReadFile(file) : "");
}

// ---- The driver -----------------------------------------------------------------------------------------------------

// The server in this process, short of memory. Throws std::runtime_error when it does not take that as it should.
class StarvedServer {
 public:
  StarvedServer() : memory_(size_t{1} << 20), block_(memory_, 0) { DllSetBlock(memory_.data(), memory_.size()); }

  host::Result Call(std::string_view name, const std::vector<host::Arg>& args) {
    const FunctionInfo& function = *FindFunction(name);
    const bool sets_trace = name == "dll_SetDebugFlags";
    if (sets_trace) trace_.reset();
    // What a script traces by itself is left alone.
    int nth = trace_ || sets_trace ? 0 : INT32_MAX;
    if (nth == 0) starved_.insert(name);
    // Room that a failed call has made may be there for the next one, which then needs less.
    while (Fails(function, args, nth, false) && Fails(function, args, nth, true)) ++nth;
    if (sets_trace && args.at(1).TextAt().empty()) trace_.emplace("*1");
    if (name == "dict_CloseAll") dict_calls_.clear();
    if (name.starts_with("dict_")) dict_calls_.emplace_back(name, args);
    return host::ReadBack(block_);
  }

  // What no script has brought about: functions and answers.
  std::string Missing() const {
    std::string missing;
    for (const FunctionInfo& function : FUNCTIONS)
      if (!starved_.contains(function.name)) missing.append(" ").append(function.name);
    for (const Answer& answer : answers_)
      if (!met_.contains(&answer)) missing.append("\n").append(answer.functions).append(" ").append(answer.trace);
    return missing;
  }

 private:
  // Makes the call without its allocation `nth`. False when it has none: then it has been made in full.
  bool Fails(const FunctionInfo& function, const std::vector<host::Arg>& args, int nth, bool and_all_after) {
    const bool ends_more = EndsMore(function, args);
    host::PlaceCall(block_, function.name, args);
    traced_before_ = Traced().size();
    const bool with_dictionaries = !ChangesDictionaries(function, args);
    const std::string before = State(function, args, with_dictionaries);
    std::optional<FailAllocation> fail(std::in_place, nth, and_all_after);
    DllSetResult(DllCall());
    const bool hit = fail->Hit();
    fail.reset();
    if (!hit) return false;
    const std::string where = std::string(function.name) + " without allocation " + std::to_string(nth) + ": ";
    const bool not_presented = nth < PresentedApart(function, args);
    CheckAnswer(function, not_presented, where);
    if (ends_more && !not_presented) RebuildDictionaries();
    const std::string after = State(function, args, with_dictionaries);
    if (after != before) throw std::runtime_error(where + "before\n" + before + "\nafter\n" + after);
    return true;
  }

  int32_t Make(std::string_view name, const std::vector<host::Arg>& args) {
    host::PlaceCall(block_, name, args);
    return DllCall();
  }

  // Makes the calls again that have led to the dictionaries, dialogs and filters of now.
  void RebuildDictionaries() {
    Make("dict_CloseAll", {});
    while (Make("dict_FilterFree", {}) == 0) continue;
    for (const auto& [name, args] : dict_calls_) Make(name, args);
  }

  void CheckAnswer(const FunctionInfo& function, bool not_presented, const std::string& where) {
    const host::Result result = host::ReadBack(block_);
    const std::string trace = Traced().substr(traced_before_);
    const auto answer = std::ranges::find_if(answers_, [&](const Answer& one) {
      return one.not_presented == not_presented && Fits(one, function, result, trace);
    });
    if (answer == answers_.end())
      throw std::runtime_error(where + "answered " + std::to_string(result.code) + ", traced '" + trace + "'");
    met_.insert(&*answer);
  }

  // All that calls have traced.
  std::string Traced() const {
    std::string lines;
    for (const std::string& line : trace_ ? trace_->Lines() : std::vector<std::string>()) lines += line + "\n";
    return lines;
  }

  const std::vector<Answer> answers_ = Answers();
  std::vector<std::byte> memory_;
  host::Block block_;
  std::optional<TraceCapture> trace_;
  size_t traced_before_ = 0;
  std::vector<std::pair<std::string, std::vector<host::Arg>>> dict_calls_;  // those that went well
  std::set<std::string_view> starved_;
  std::set<const Answer*> met_;
};

TEST(Allocations, FailOneByOne) {
  StarvedServer server;
  PlayScripts(std::bind_front(&StarvedServer::Call, &server));
  EXPECT_EQ(server.Missing(), "") << "is in no script";
}

}  // namespace
}  // namespace vorlix::test
