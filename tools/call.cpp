// `vorlix call`. In JSON a text is a string, or {"hex": "..."} when it is not UTF-8.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>

#include "dll/wire/meanings.h"
#include "tools/commands.h"
#include "tools/example.h"
#include "tools/hint.h"
#include "tools/items.h"
#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/signature.h"
#include "tools/tell.h"
#include "tools/values.h"
#include "tools/words.h"

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
std::vector<host::Arg> ReadArguments(const FunctionInfo& function, const std::vector<std::string>& words,
                                     const Encoding& encoding) {
  try {
    std::vector<Given> given;
    for (const ArgInfo* const arg : GivenArguments(function, words.size()))
      given.push_back(ReadWord(*arg, NamesFile(*arg) ? words[given.size()] : encoding.ToServer(words[given.size()])));
    return MakeArguments(function, given);
  } catch (const ToolError& error) {
    std::string message = error.what();
    message += "\n  example:  " + ExampleCommand(function);
    if (std::ranges::any_of(words, [](std::string_view word) { return word.starts_with("--"); }))
      message += "\nOptions stand before the function; all words behind it are arguments.";
    throw ToolError(Status::Usage, message);
  }
}

void PrintLines(const FunctionInfo& function, int32_t code, const std::vector<Value>& values,
                const Conversion& to_outside) {
  const std::string told = InWords(std::to_string(code), MeaningOf(function, CODE, code));
  std::printf("code = %s\n", (code == 0 ? Green(told) : Red(told)).c_str());
  for (const Value& value : values) {
    const std::string text = ShowValue({value.name, value.is_text, to_outside(value.text)});
    const std::string shown = InWords(Shorten(text), MeaningOf(function, value));
    std::printf("%s = %s\n", std::string(value.name).c_str(), shown.c_str());
    if (value.is_text && IsXbuf(value.text)) std::fputs(ListItems(value.text, to_outside).c_str(), stdout);
  }
}

Json JsonValue(const Value& value) {
  if (!value.is_text) return Json::parse(value.text);
  return IsUtf8(value.text) ? Json(value.text) : Json{{"hex", Hex(value.text)}};
}

void PrintJson(const FunctionInfo& function, int32_t code, const std::vector<Value>& values) {
  Json named = Json::object();
  Json meanings = Json::object();
  if (const std::string meaning = MeaningOf(function, CODE, code); !meaning.empty()) meanings["code"] = meaning;
  for (const Value& value : values) {
    named[std::string(value.name)] = JsonValue(value);
    if (const std::string meaning = MeaningOf(function, value); !meaning.empty())
      meanings[std::string(value.name)] = meaning;
  }
  Json all{{"function", function.name}, {"code", code}, {"values", named}};
  if (!meanings.empty()) all["meanings"] = meanings;
  std::puts(all.dump().c_str());
}

}  // namespace

Status CallFunction(const Options& options, const std::vector<std::string>& words, bool json) {
  const FunctionInfo& function = RequireFunction(words.at(0));
  const Encoding encoding = EncodingFor(options, true);
  const std::vector<host::Arg> args = ReadArguments(function, {words.begin() + 1, words.end()}, encoding);
  Session session(options, true);
  const host::Result result = session.Call(function.name, args);
  const auto to_outside = [&](std::string_view text) { return encoding.ToOutside(text); };
  std::vector<Value> values = ReturnedValues(function, result);
  if (json) {
    for (Value& value : values) value.text = to_outside(value.text);
    PrintJson(function, result.code, values);
  } else {
    PrintLines(function, result.code, values, to_outside);
  }
  std::fflush(stdout);
  if (!session.Reasons().empty()) Tell("the server says:" + session.Reasons());
  const std::string hint = HintFor(std::bind_front(&Session::Ask, &session), to_outside, function, result);
  if (!hint.empty()) Tell(std::string_view(hint).substr(std::string_view("\n  ").size()));
  const bool is_lost = function.name == "ini_SetString" && !hint.empty();
  return result.code == 0 && !is_lost ? Status::Ok : Status::OtherCode;
}

}  // namespace vorlix::tool
