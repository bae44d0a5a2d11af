// The words that options choose from: the command line checks them, and shells complete them.
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace vorlix::tool {

struct Choice {
  std::string_view type;  // as the help names it
  std::vector<std::string> words;
};

inline const std::array<Choice, 3>& Choices() {
  static const std::array<Choice, 3> choices = {{{"WHEN", {"auto", "always", "never"}},
                                                 {"FORMAT", {"text", "json", "sarif", "github"}},
                                                 {"KIND", {"dictionary", "model", "module"}}}};
  return choices;
}

/// The words of a type; none for any other.
inline std::vector<std::string> ChoicesOf(std::string_view type) {
  const auto found = std::ranges::find(Choices(), type, &Choice::type);
  return found != Choices().end() ? found->words : std::vector<std::string>();
}

}  // namespace vorlix::tool
