#include "tools/check/rules.h"

#include <algorithm>
#include <iterator>

#include "dll/base/text.h"
#include "tools/failure.h"
#include "tools/scope.h"

namespace vorlix::tool {

const Rule* FindRule(std::string_view code) {
  const auto* const found =
      std::ranges::find_if(RULES, [&](const Rule* rule) { return EqualNoCase(rule->code, code); });
  return found != std::end(RULES) ? *found : nullptr;
}

void RequireIgnorable(std::string_view code) {
  const Rule* const rule = FindRule(code);
  if (rule == nullptr)
    throw ToolError(Status::Usage, "there is no finding " + std::string(code) + "; vorlix check --list has them all");
  if (rule->severity == Severity::Error)
    throw ToolError(Status::Usage, std::string(rule->code) + " cannot be ignored: the server refuses the file for it");
}

const Rule* RuleOfMessage(std::string_view message) {
  const auto* const found = std::ranges::find_if(
      RULES, [&](const Rule* rule) { return !rule->message.empty() && Matches(message, rule->message); });
  return found != std::end(RULES) ? *found : nullptr;
}

}  // namespace vorlix::tool
