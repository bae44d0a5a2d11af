// `vorlix call`. In JSON a text is a string, or {"hex": "..."} when it is not UTF-8.
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/commands.h"
#include "tools/items.h"
#include "tools/quoting.h"
#include "tools/signature.h"
#include "tools/values.h"

namespace vorlix::tool {
namespace {

using Json = nlohmann::ordered_json;

// The number of a room such as [40].
std::optional<int32_t> ReadRoom(const std::string& word) {
  if (!word.starts_with('[') || !word.ends_with(']') || word.starts_with("[-")) return {};
  return ReadWhole<int32_t>(std::string_view(word).substr(1, word.size() - 2));
}

// A word of the command line, which is taken as it is but for the room of a text that is only returned.
Given ReadWord(const ArgInfo& arg, const std::string& word) {
  const std::optional<int32_t> room = arg.direction == Direction::Out ? ReadRoom(word) : std::nullopt;
  return room ? Given{"", room} : Given{word, {}};
}

// The arguments of a call, with a help for whoever called it wrong.
std::vector<host::Arg> ReadArguments(const FunctionInfo& function, const std::vector<std::string>& words) {
  try {
    std::vector<Given> given;
    for (const ArgInfo* const arg : GivenArguments(function, words.size()))
      given.push_back(ReadWord(*arg, words[given.size()]));
    return MakeArguments(function, given);
  } catch (const ToolError& error) {
    std::string message = error.what();
    message += "\n  expected: " + Signature(function) + "\n  example:  vorlix call " + Example(function);
    if (std::ranges::any_of(words, [](std::string_view word) { return word.starts_with("--"); }))
      message += "\nOptions stand before the function; all words behind it are arguments.";
    throw ToolError(Status::Usage, message);
  }
}

void PrintLines(int32_t code, const std::vector<Value>& values) {
  std::printf("code = %d\n", code);
  for (const Value& value : values) {
    std::printf("%s = %s\n", std::string(value.name).c_str(), ShowValue(value).c_str());
    if (value.is_text && IsXbuf(value.text)) std::fputs(ListItems(value.text).c_str(), stdout);
  }
}

Json JsonValue(const Value& value) {
  if (!value.is_text) return Json::parse(value.text);
  return IsUtf8(value.text) ? Json(value.text) : Json{{"hex", Hex(value.text)}};
}

void PrintJson(const FunctionInfo& function, int32_t code, const std::vector<Value>& values) {
  Json named = Json::object();
  for (const Value& value : values) named[std::string(value.name)] = JsonValue(value);
  const Json all{{"function", function.name}, {"code", code}, {"values", named}};
  std::puts(all.dump().c_str());
}

}  // namespace

Status CallFunction(const Options& options, const std::vector<std::string>& words, bool json) {
  const FunctionInfo& function = RequireFunction(words.at(0));
  const std::vector<host::Arg> args = ReadArguments(function, {words.begin() + 1, words.end()});
  const auto server = StartServer(options);
  const host::Result result = server->Call(function.name, args);
  const std::vector<Value> values = ReturnedValues(function, result);
  if (json) {
    PrintJson(function, result.code, values);
  } else {
    PrintLines(result.code, values);
  }
  return result.code == 0 ? Status::Ok : Status::OtherCode;
}

}  // namespace vorlix::tool
