#include "tools/signature.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "dll/wire/meanings.h"
#include "tools/failure.h"
#include "tools/nearest.h"

namespace vorlix::tool {
namespace {

void AppendArgument(std::string& out, const ArgInfo& arg) {
  out += ' ';
  out += arg.name;
  out += ':';
  out += ClassWord(arg);
}

[[noreturn]] void RefuseCount(const FunctionInfo& function, size_t least, size_t count) {
  std::string message = std::string(function.name) + " takes " + std::to_string(least);
  if (least != function.arg_count) message += " to " + std::to_string(function.arg_count);
  message += function.arg_count == 1 ? " argument, not " : " arguments, not ";
  throw ToolError(Status::Usage, message + std::to_string(count) + "\n  expected: " + Signature(function));
}

}  // namespace

std::string_view ClassWord(const ArgInfo& arg) {
  constexpr std::array<std::string_view, 4> WORDS = {"", "integer", "number", "text"};
  return WORDS.at(static_cast<size_t>(ClassOf(arg)));
}

std::string Signature(const FunctionInfo& function) {
  std::string sent(function.name);
  std::string returned;
  for (const ArgInfo& arg : function.Args()) {
    if (arg.direction != Direction::Out) AppendArgument(sent, arg);
    if (arg.direction != Direction::In) AppendArgument(returned, arg);
  }
  return returned.empty() ? sent : sent + " ->" + returned;
}

std::string MeaningOf(const FunctionInfo& function, std::string_view value, int32_t number) {
  const Meaning* const meaning = FindMeaning(function.name, value, number);
  if (meaning == nullptr) return "";
  return meaning->number == ERROR_NUMBER ? std::strerror(-number) : std::string(meaning->words);
}

std::string InWords(const std::string& number, const std::string& meaning) {
  return meaning.empty() ? number : number + " (" + meaning + ')';
}

const FunctionInfo& RequireFunction(std::string_view name) {
  if (const FunctionInfo* const function = FindFunction(name)) return *function;
  std::string message = "there is no function '" + std::string(name) + "'";
  std::vector<std::string_view> names;
  for (const FunctionInfo& function : FUNCTIONS) names.push_back(function.name);
  if (const std::string_view near = Nearest(name, names); !near.empty())
    message += "; did you mean " + std::string(near) + "?";
  else
    message += "; vorlix functions lists all";
  throw ToolError(Status::Usage, message);
}

std::vector<const ArgInfo*> GivenArguments(const FunctionInfo& function, size_t count) {
  const size_t sent = function.SentCount();
  if (count < sent || count > function.arg_count) RefuseCount(function, sent, count);
  size_t returned = count - sent;
  std::vector<const ArgInfo*> given;
  for (const ArgInfo& arg : function.Args()) {
    if (arg.direction == Direction::Out && returned == 0) continue;
    if (arg.direction == Direction::Out) --returned;
    given.push_back(&arg);
  }
  return given;
}

}  // namespace vorlix::tool
