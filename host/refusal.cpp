// The order of the checks is that of the server, so that the sentence is about what it met first.
#include "host/refusal.h"

#include <array>
#include <cstdint>
#include <stdexcept>

#include "dll/base/text.h"
#include "dll/wire/functable.h"
#include "host/xbuf.h"

namespace vorlix::host {
namespace {

bool Accepts(DeclaredType type, HostClass given) { return InfoOf(type).Of(given) != Presentation::None; }

std::string_view ClassText(HostClass host_class) {
  constexpr std::array<std::string_view, 4> TEXTS = {"nothing", "an integer", "a real", "a text"};
  return TEXTS.at(static_cast<size_t>(host_class));
}

std::string AcceptedText(DeclaredType type) {
  std::string text;
  for (const HostClass accepted : {HOST_INTEGER, HOST_REAL, HOST_STRING})
    if (Accepts(type, accepted)) text.append(text.empty() ? "" : " or ").append(ClassText(accepted));
  return text;
}

std::string UnknownFunction(std::string_view name) {
  std::string sentence = "no function is named " + std::string(name);
  for (const FunctionInfo& other : FUNCTIONS)
    if (EqualNoCase(other.name, name)) return sentence + "; there is " + std::string(other.name);
  return sentence;
}

std::string Place(const FunctionInfo& function, size_t index) {
  return std::string(function.args.at(index).name) + " of " + std::string(function.name);
}

std::string WrongCount(const FunctionInfo& function, size_t given) {
  std::string sentence(function.name);
  sentence += " takes " + (function.arg_count == 0 ? "no" : std::to_string(function.arg_count)) +
              (function.arg_count == 1 ? " argument" : " arguments");
  for (const ArgInfo& arg : function.Args())
    sentence.append(&arg == function.args.data() ? " (" : ", ").append(arg.name);
  return sentence + (function.arg_count == 0 ? "" : ")") + ", not " + std::to_string(given);
}

// The texts that come back, with their rooms.
std::string SmallRooms(const FunctionInfo& function, const std::vector<Arg>& args) {
  std::string sentence;
  for (size_t i = 0; i < std::min(args.size(), function.arg_count); ++i) {
    if (function.args.at(i).direction == Direction::In || args[i].Class() != HOST_STRING) continue;
    sentence += (sentence.empty() ? "" : ", or ") + Place(function, i) + " has room for only " +
                std::to_string(args[i].capacity) + " bytes";
  }
  return sentence;
}

std::string CorruptXbuf(const FunctionInfo& function, const std::vector<Arg>& args) {
  for (size_t i = 0; i < std::min(args.size(), function.arg_count); ++i) {
    const ArgInfo& arg = function.args.at(i);
    if (arg.direction != Direction::In || arg.name != "xbuf" || args[i].Class() != HOST_STRING) continue;
    try {
      ReadXbuf(args[i].TextAt());
    } catch (const std::invalid_argument& fault) {
      return Place(function, i) + " is no " + fault.what();
    }
  }
  return {};
}

}  // namespace

std::string CheckCall(std::string_view name, const std::vector<Arg>& args) {
  const FunctionInfo* const function = FindFunction(name);
  if (function == nullptr) return UnknownFunction(name);
  for (size_t i = 0; i < std::min(args.size(), function->arg_count); ++i) {
    const DeclaredType type = function->args.at(i).type;
    if (!Accepts(type, args[i].Class()))
      return Place(*function, i) + " is " + std::string(ClassText(args[i].Class())) + " where it takes " +
             AcceptedText(type);
  }
  return args.size() == function->arg_count ? "" : WrongCount(*function, args.size());
}

std::string ExplainRefusal(std::string_view name, const std::vector<Arg>& args, int32_t code) {
  if (code == RESULT_UNKNOWN_FUNCTION || code == RESULT_WRONG_CLASS || code == RESULT_WRONG_COUNT)
    return CheckCall(name, args);
  const FunctionInfo* const function = FindFunction(name);
  if (function == nullptr) return {};
  if (code == RESULT_TOO_SHORT) return SmallRooms(*function, args);
  return code == RESULT_CORRUPT ? CorruptXbuf(*function, args) : "";
}

}  // namespace vorlix::host
