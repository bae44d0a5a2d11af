// The rows of functions.def as data: what a program needs to know of a function that it calls by name.
#pragma once

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

inline constexpr size_t MAX_DECLARED_ARGS = 9;

struct FunctionInfo {
  std::string_view name;
  std::string_view sentence;  // what it does
  std::array<ArgInfo, MAX_DECLARED_ARGS> args;
  size_t arg_count = 0;

  constexpr std::span<const ArgInfo> Args() const { return {args.data(), arg_count}; }
};

/// Reads the parameters of a row, such as `IntByValue hdl, Out<String> data`. A parameter that names no declared type
/// does not compile.
consteval FunctionInfo ParseFunction(std::string_view name, std::string_view sentence, std::string_view parameters) {
  struct TypeName {
    std::string_view name;
    DeclaredType type;
  };
  constexpr std::array TYPES = {
      TypeName{"IntByValue", DeclaredType::IntByValue},   TypeName{"IntByReference", DeclaredType::IntByReference},
      TypeName{"RealByValue", DeclaredType::RealByValue}, TypeName{"RealByReference", DeclaredType::RealByReference},
      TypeName{"zString", DeclaredType::zString},         TypeName{"String", DeclaredType::String}};

  FunctionInfo info{name, sentence, {}, 0};
  while (!parameters.empty()) {
    const size_t comma = parameters.find(',');
    std::string_view one = parameters.substr(0, comma);
    parameters = comma == std::string_view::npos ? std::string_view() : parameters.substr(comma + 1);
    one.remove_prefix(one.find_first_not_of(' '));
    ArgInfo& arg = info.args.at(info.arg_count++);
    const size_t blank = one.rfind(' ');
    arg.name = one.substr(blank + 1);
    std::string_view type = one.substr(0, blank);
    if (type.ends_with('>')) {
      arg.direction = type.starts_with("InOut<") ? Direction::InOut
                      : type.starts_with("Out<") ? Direction::Out
                                                 : Direction::In;
      type = type.substr(type.find('<') + 1);
      type.remove_suffix(1);
    }
    size_t row = 0;
    while (TYPES.at(row).name != type) ++row;
    arg.type = TYPES.at(row).type;
  }
  return info;
}

#define FUNCTION(name, sentence, ...) ParseFunction(#name, sentence, #__VA_ARGS__),
inline constexpr std::array FUNCTIONS = {
#include "dll/shared/functions.def"
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
