// What is found in a file.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/check/layout.h"
#include "tools/check/rules.h"

namespace vorlix::tool {

/// A place in some other file that has to do with it.
struct Related {
  std::string file;
  Span span;
  std::string text;
};

struct Finding {
  const Rule* rule;
  Span span;
  std::string text;    // what is wrong here, without an end
  std::string remedy;  // what to do here; that of the rule where it is empty
  std::vector<Related> related = {};
  std::optional<std::string> instead = {};  // what to write in this place
};

/// All of a file, in the order of their places.
struct Findings {
  std::string file;
  Layout layout;
  std::vector<Finding> list = {};
  bool opens = true;  // whether the server opens it

  bool HasErrors() const {
    for (const Finding& finding : list)
      if (finding.rule->severity == Severity::Error) return true;
    return false;
  }
};

inline void SortByPlace(Findings& findings) {
  std::ranges::stable_sort(findings.list, {},
                           [](const Finding& one) { return std::pair(one.span.line, one.span.begin); });
}

}  // namespace vorlix::tool
