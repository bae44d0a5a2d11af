#include "tools/check/rules.h"

#include <algorithm>
#include <iterator>

#include "dll/base/text.h"
#include "tools/scope.h"

namespace vorlix::tool {

const Rule* FindRule(std::string_view code) {
  const auto* const found =
      std::ranges::find_if(RULES, [&](const Rule* rule) { return EqualNoCase(rule->code, code); });
  return found != std::end(RULES) ? *found : nullptr;
}

const Rule* RuleOfMessage(std::string_view message) {
  const auto* const found = std::ranges::find_if(
      RULES, [&](const Rule* rule) { return !rule->message.empty() && Matches(message, rule->message); });
  return found != std::end(RULES) ? *found : nullptr;
}

}  // namespace vorlix::tool
