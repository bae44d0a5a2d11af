// The rows of functions.def as data: what a program needs to know of a function that it calls by name.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "hostif/layout.h"

namespace vorlix {

enum class Direction : uint8_t { In, Out, InOut };

struct ArgInfo {
  std::string_view name;
  DeclaredType type = DeclaredType::VarArg;
  Direction direction = Direction::In;
};

/// The class in which a host sends the argument.
constexpr HostClass ClassOf(const ArgInfo& arg) { return InfoOf(arg.type).own_class; }

/// Whether the argument is the path of a file.
constexpr bool NamesFile(const ArgInfo& arg) { return arg.name == "fname"; }

inline constexpr size_t MAX_DECLARED_ARGS = 9;

struct FunctionInfo {
  std::string_view name;
  std::string_view sentence;  // what it does
  std::string_view sample;    // words to call it with, see functions.def
  std::array<ArgInfo, MAX_DECLARED_ARGS> args;
  size_t arg_count = 0;

  constexpr std::span<const ArgInfo> Args() const { return {args.data(), arg_count}; }
  /// Arguments that a caller gives: all but those that only return something.
  constexpr size_t SentCount() const {
    const auto is_sent = [](const ArgInfo& arg) { return arg.direction != Direction::Out; };
    return static_cast<size_t>(std::ranges::count_if(Args(), is_sent));
  }
};

/// Reads one parameter of a row, such as `Out<String> data`. One that names no declared type does not compile.
consteval ArgInfo ParseParameter(std::string_view parameter) {
  parameter.remove_prefix(parameter.find_first_not_of(' '));
  const size_t blank = parameter.rfind(' ');
  std::string_view type = parameter.substr(0, blank);
  ArgInfo arg{.name = parameter.substr(blank + 1)};
  if (type.starts_with("Out<")) arg.direction = Direction::Out;
  if (type.starts_with("InOut<")) arg.direction = Direction::InOut;
  if (type.ends_with('>')) {
    type.remove_suffix(1);
    type.remove_prefix(type.find('<') + 1);
  }
  size_t code = 0;
  while (DECLARED_TYPE_NAMES.at(code) != type) ++code;
  arg.type = static_cast<DeclaredType>(code);
  return arg;
}

/// Words of a sample; none of them holds a blank.
constexpr size_t CountWords(std::string_view text) {
  return text.empty() ? 0 : 1 + static_cast<size_t>(std::ranges::count(text, ' '));
}

/// A row whose sample has another number of words than the function takes does not compile.
consteval FunctionInfo ParseFunction(std::string_view name, std::string_view sentence, std::string_view sample,
                                     std::string_view parameters) {
  FunctionInfo info{name, sentence, sample, {}, 0};
  while (!parameters.empty()) {
    const std::string_view one = parameters.substr(0, parameters.find(','));
    info.args.at(info.arg_count++) = ParseParameter(one);
    parameters.remove_prefix(std::min(one.size() + 1, parameters.size()));
  }
  if (CountWords(sample) != info.SentCount()) throw "the sample has another number of words";
  return info;
}

#define FUNCTION(name, sentence, sample, ...) ParseFunction(#name, sentence, sample, #__VA_ARGS__),
inline constexpr std::array FUNCTIONS = {
#include "dll/wire/functions.def"
};
#undef FUNCTION

inline constexpr int FUNCTION_COUNT = 89;
static_assert(FUNCTIONS.size() == FUNCTION_COUNT);

/// The function of this name, compared exactly; null when there is none.
constexpr const FunctionInfo* FindFunction(std::string_view name) {
  for (const FunctionInfo& function : FUNCTIONS)
    if (function.name == name) return &function;
  return nullptr;
}

}  // namespace vorlix
