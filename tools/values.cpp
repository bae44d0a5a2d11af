#include "tools/values.h"

#include <stdexcept>

#include "host/decimal.h"
#include "tools/failure.h"
#include "tools/quoting.h"
#include "tools/signature.h"
#include "tools/words.h"

namespace vorlix::tool {
namespace {

[[noreturn]] void Refuse(const ArgInfo& arg, const std::string& what) {
  throw std::invalid_argument(std::string(arg.name) + what);
}

std::string NumberFault(const std::string& text, host::DecimalFault fault) {
  const std::string_view point = text.find(',') == std::string::npos ? "" : "; decimals stand behind a point";
  return std::string(host::FaultText(fault)) + std::string(point);
}

host::Arg MakeReal(const ArgInfo& arg, const std::string& text) {
  HostReal real;
  const host::DecimalFault fault = host::ParseDecimal(text, real);
  if (fault != host::DecimalFault::None) Refuse(arg, ": " + Quote(text) + ' ' + NumberFault(text, fault));
  return host::Real(real);
}

host::Arg MakeInteger(const ArgInfo& arg, const std::string& text) {
  if (const std::optional<int32_t> value = ReadWhole<int32_t>(text)) return host::Int(*value);
  if (arg.type != DeclaredType::IntByValue) Refuse(arg, ": " + Quote(text) + " is not a whole number of 32 bits");
  return MakeReal(arg, text);
}

host::Arg MakeText(const ArgInfo& arg, const Given& given) {
  if (arg.direction == Direction::Out && !given.room) Refuse(arg, " is only returned; it takes a room, such as [40]");
  if (arg.direction != Direction::In) return host::TextRef(given.text, given.room.value_or(DEFAULT_ROOM));
  host::Arg text = host::Text(given.text);
  if (given.room) text.capacity = *given.room;
  return text;
}

host::Arg MakeArgument(const ArgInfo& arg, const Given& given) {
  const HostClass host_class = ClassOf(arg);
  if (host_class == HOST_STRING) return MakeText(arg, given);
  if (given.room) Refuse(arg, " is a number and has no room");
  const host::Arg number = host_class == HOST_INTEGER ? MakeInteger(arg, given.text) : MakeReal(arg, given.text);
  return arg.direction == Direction::In ? number : host::ByRef(number);
}

Value MakeValue(const ArgInfo& arg, const host::Arg& sent) {
  switch (sent.Class()) {
    case HOST_INTEGER: return {arg.name, false, std::to_string(sent.IntAt())};
    case HOST_REAL: return {arg.name, false, host::FormatExactly(sent.RealAt())};
    default: return {arg.name, true, sent.TextAt()};
  }
}

// `given_args` are the arguments that the words stand for.
std::vector<host::Arg> MakeAll(const FunctionInfo& function, std::span<const Given> given,
                               const std::vector<const ArgInfo*>& given_args) {
  std::vector<host::Arg> args;
  size_t taken = 0;
  for (const ArgInfo& arg : function.Args()) {
    if (taken < given.size() && given_args[taken] == &arg) {
      args.push_back(MakeArgument(arg, given[taken++]));
    } else {
      args.push_back(ClassOf(arg) == HOST_STRING ? host::OutText(DEFAULT_ROOM) : MakeArgument(arg, {"0", {}}));
    }
  }
  return args;
}

}  // namespace

std::vector<host::Arg> MakeArguments(const FunctionInfo& function, std::span<const Given> given) {
  const std::vector<const ArgInfo*> given_args = GivenArguments(function, given.size());
  try {
    return MakeAll(function, given, given_args);
  } catch (const std::invalid_argument& error) {
    throw ToolError(Status::Usage, error.what() + std::string("\n  expected: ") + Signature(function));
  }
}

std::vector<Value> ReturnedValues(const FunctionInfo& function, const host::Result& result) {
  std::vector<Value> values;
  for (size_t k = 0; k < function.arg_count; ++k)
    if (function.args.at(k).direction != Direction::In)
      values.push_back(MakeValue(function.args.at(k), result.args.at(k)));
  return values;
}

std::string MeaningOf(const FunctionInfo& function, const Value& value) {
  const auto number = value.is_text ? std::nullopt : ReadWhole<int32_t>(value.text);
  return number ? MeaningOf(function, value.name, *number) : "";
}

std::string ShowValue(const Value& value) { return value.is_text ? Quote(value.text) : value.text; }

}  // namespace vorlix::tool
