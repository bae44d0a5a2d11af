// What can be said of a dictionary: a row for each finding, with its code for good.
#pragma once

#include <string_view>

namespace vorlix::tool {

enum class Severity { Error, Warning };

struct Rule {
  std::string_view code;  // "VX201"
  Severity severity;
  std::string_view message;      // of the server, as a pattern; empty for what only the checker says
  std::string_view attribute;    // whose entry it is about; empty for the line or section that was read last
  std::string_view title;        // in a few words
  std::string_view explanation;  // why it is so
  std::string_view example;      // a dictionary that has it, "\n" at the ends of lines
  std::string_view remedy;       // what to do
};

#define RULE(code, severity, ...) inline constexpr Rule code = {#code, Severity::severity, __VA_ARGS__};
#include "tools/check/rules.def"
#undef RULE

inline constexpr const Rule* RULES[] = {
#define RULE(code, ...) &code,
#include "tools/check/rules.def"
#undef RULE
};

/// The rule of this code, without regard to case; null for none.
const Rule* FindRule(std::string_view code);

/// Throws ToolError (Usage) when there is no such finding, or it is an error: what the server refuses it refuses,
/// whatever is ignored.
void RequireIgnorable(std::string_view code);

/// The rule that a message of the server stands for; null for one that is none of the file.
const Rule* RuleOfMessage(std::string_view message);

}  // namespace vorlix::tool
