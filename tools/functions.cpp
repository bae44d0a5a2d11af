// `vorlix functions`.
#include <algorithm>
#include <array>
#include <cstdio>

#include "tools/commands.h"
#include "tools/signature.h"

namespace vorlix::tool {
namespace {

struct Family {
  std::string_view prefix;
  std::string_view title;
};
constexpr std::array FAMILIES = {
    Family{"dll_", "The server itself: traces, language, large results"},
    Family{"dict_", "Dictionaries and the fields of dialogs"},
    Family{"mdf_", "Model definition files"},
    Family{"fmt_", "Values formatted for display"},
    Family{"scan_", "Input scanned into values"},
    Family{"chk_", "Input checked"},
    Family{"ini_", "INI files"},
    Family{"l_", "Lists of texts"},
    Family{"v_", "Named variables"},
    Family{"u_", "Object paths and field descriptions"},
};

consteval bool EveryFunctionHasAFamily() {
  return std::ranges::all_of(FUNCTIONS, [](const FunctionInfo& function) {
    return std::ranges::any_of(FAMILIES,
                               [&](const Family& family) { return function.name.starts_with(family.prefix); });
  });
}
static_assert(EveryFunctionHasAFamily());

std::string_view DirectionWord(Direction direction) {
  switch (direction) {
    case Direction::In: return "in";
    case Direction::Out: return "out";
    case Direction::InOut: return "in and out";
  }
  return "";
}

// A view for "%.*s".
int Size(std::string_view text) { return static_cast<int>(text.size()); }

void ListFamilies() {
  for (const Family& family : FAMILIES) {
    std::printf("%s%.*s\n", &family == FAMILIES.data() ? "" : "\n", Size(family.title), family.title.data());
    for (const FunctionInfo& function : FUNCTIONS)
      if (function.name.starts_with(family.prefix))
        std::printf("  %-20.*s  %.*s\n", Size(function.name), function.name.data(), Size(function.sentence),
                    function.sentence.data());
  }
}

void Describe(const FunctionInfo& function) {
  std::printf("%.*s - %.*s\n\n", Size(function.name), function.name.data(), Size(function.sentence),
              function.sentence.data());
  for (const ArgInfo& arg : function.Args()) {
    const std::string_view word = ClassWord(arg);
    const std::string_view direction = DirectionWord(arg.direction);
    std::printf("  %-12.*s  %-8.*s %.*s\n", Size(arg.name), arg.name.data(), Size(word), word.data(), Size(direction),
                direction.data());
  }
  std::printf("%sExample: vorlix call %s\n", function.arg_count == 0 ? "" : "\n", Example(function).c_str());
}

}  // namespace

Status ListFunctions(const std::string& name) {
  if (name.empty()) {
    ListFamilies();
  } else {
    Describe(RequireFunction(name));
  }
  return Status::Ok;
}

}  // namespace vorlix::tool
