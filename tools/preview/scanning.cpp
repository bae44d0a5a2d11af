#include "tools/preview/scanning.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "dll/base/quote.h"
#include "host/decimal.h"
#include "tools/check/manual.h"
#include "tools/quoting.h"
#include "tools/signature.h"
#include "tools/values.h"

namespace vorlix::tool {
namespace {

// What the scanners answer in rc.
constexpr int32_t NOTHING_TYPED = -1;
constexpr int32_t NOT_OF_ITS_KIND = 1;
constexpr int32_t OUT_OF_RANGE = 2;
constexpr int32_t NOT_ALLOWED = 3;

constexpr int32_t ROOM = 4096;

struct Scanner {
  std::string_view type;
  std::string_view function;
};
constexpr std::array SCANNERS = {Scanner{"N", "scan_Num"}, Scanner{"D", "scan_Date"}, Scanner{"Z", "scan_Time"},
                                 Scanner{"K", "scan_Week"}, Scanner{"M", "scan_Month"}};

const FunctionInfo& ScannerOf(const FormField& field) {
  const auto* const found = std::ranges::find(SCANNERS, field.type, &Scanner::type);
  return RequireFunction(found != SCANNERS.end() ? found->function : "scan_Text");
}

// What the scanner gets for an argument that it only reads.
std::string Sent(const FormField& field, std::string_view argument, const std::string& text) {
  if (argument == "in") return text;
  if (argument == "pfvt") return field.value_type;
  if (argument == "pfmt" || argument == "pflags") return field.format;
  if (argument == "pprec") return std::to_string(field.decimals);
  if (argument == "plen") return std::to_string(field.length);
  if (argument == "pmin") return field.minimum;
  if (argument == "pmax") return field.maximum;
  return field.valid;
}

// Whether the character is in the field's set: a decimal comma can be, where the language has a point. The scanner
// leaves out blanks at the ends.
bool IsValid(Session& session, const FormField& field, const std::string& character) {
  if (character == " ") return field.valid.find(' ') != std::string::npos;
  const host::Result result = session.Call("scan_Text", {host::Text(character), host::Int(1), host::Text(""),
                                                         host::Text(field.valid), host::OutText(ROOM), host::IntRef()});
  return result.code == 0 && result.args.at(5).IntAt() == 0;
}

// The scanner says one thing of what is no number and of a number that the field's value type does not hold; without
// the value type it takes the second.
std::string NoNumber(Session& session, const FormField& field, const std::string& text) {
  const host::Result result = session.Call(
      "scan_Num", {host::Text(text), host::Text(""), host::Int(field.decimals), host::Real(REAL_ZERO),
                   host::Real(REAL_ZERO), host::Text(""), host::RealRef(), host::OutText(ROOM), host::IntRef()});
  if (result.code != 0 || result.args.back().IntAt() != 0) return "not a number";
  const ManualWord* const type = FindManualWord(WordKind::NumberValue, field.value_type);
  if (type == nullptr) return "not a number";
  return "not a number of the value type " + std::string(type->word) + ", which holds " + std::string(type->meaning);
}

// What the scanner takes for none of its kind, with what would be one.
std::string NoneOfItsKind(Session& session, const FunctionInfo& function, const FormField& field,
                          const std::string& text) {
  if (function.name == "scan_Num") return NoNumber(session, field, text);
  const std::string now = field.sample.substr(0, field.sample.find_last_not_of(' ') + 1);
  return std::string(MeaningOf(function, "rc", NOT_OF_ITS_KIND)) + (now.empty() ? "" : "; a valid one is " + now);
}

// By the field, where the function alone says less.
std::string ReasonOf(Session& session, const FunctionInfo& function, const FormField& field, const std::string& text,
                     const Typed& typed) {
  if (typed.rc == NOTHING_TYPED) return field.is_required ? "must be filled in" : "nothing was typed";
  if (typed.rc == OUT_OF_RANGE) return "only " + field.minimum + " to " + field.maximum + " is accepted";
  if (typed.rc == NOT_OF_ITS_KIND) return NoneOfItsKind(session, function, field, text);
  if (typed.rc != NOT_ALLOWED) return MeaningOf(function, "rc", typed.rc);
  if (typed.refused.empty())
    return field.valid.empty() ? NoneOfItsKind(session, function, field, text) : "VALID is wrong: " + field.valid;
  const std::string refused = '"' + typed.refused + '"';
  if (field.valid.empty()) return refused + " is no character for it";
  return IsValid(session, field, typed.refused) ? refused + " does not belong there in this language"
                                                : refused + " is not allowed: VALID is " + field.valid;
}

std::string Outcome(const FunctionInfo& function, const host::Result& result) {
  std::string outcome = " =>" + (result.code != 0 ? ' ' + std::to_string(result.code) : "");
  for (const Value& value : ReturnedValues(function, result))
    outcome += ' ' + std::string(value.name) + '=' + (value.is_text ? ScriptWord(value.text) : value.text);
  return outcome;
}

}  // namespace

std::string ScriptWord(std::string_view text) {
  const bool is_ascii = std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  const std::string quoted = is_ascii ? QuoteWord(text) : Quote(text);
  std::string word;
  for (const char c : quoted) {
    if (static_cast<unsigned char>(c) < 0x80) {
      word += c;
    } else {
      AppendHex(word += "\\x", c);
    }
  }
  return word;
}

Typed TypeInto(Session& session, const FormField& field, const std::string& text) {
  const FunctionInfo& function = ScannerOf(field);
  std::vector<Given> given;
  std::string line(function.name);
  for (const ArgInfo& arg : function.Args()) {
    if (arg.direction != Direction::In) continue;
    given.push_back({Sent(field, arg.name, text), {}});
    line += ' ' + ScriptWord(given.back().text);
  }
  const host::Result result = session.Call(function.name, MakeArguments(function, given));
  Typed typed;
  typed.function = function.name;
  typed.code = result.code;
  typed.line = line + Outcome(function, result);
  typed.reason = MeaningOf(function, "code", result.code);
  for (const Value& value : ReturnedValues(function, result)) {
    if (value.name == "rc") typed.rc = std::atoi(value.text.c_str());
    if (value.name == "result" || (value.name == "out" && function.name == "scan_Text")) typed.stored = value.text;
    if (value.name == "out") typed.refused = value.text;
  }
  if (typed.rc != NOT_ALLOWED) typed.refused.clear();
  if (typed.rc != 0) typed.reason = ReasonOf(session, function, field, text, typed);
  const bool may_be_empty = typed.rc == NOTHING_TYPED && !field.is_required;
  typed.is_accepted = typed.code == 0 && (typed.rc == 0 || may_be_empty);
  if (!typed.is_accepted) typed.stored.clear();
  return typed;
}

}  // namespace vorlix::tool
