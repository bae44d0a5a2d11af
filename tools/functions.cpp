// `vorlix functions`.
#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "dll/base/text.h"
#include "dll/wire/arguments.h"
#include "dll/wire/meanings.h"
#include "tools/commands.h"
#include "tools/example.h"
#include "tools/paint.h"
#include "tools/signature.h"

namespace vorlix::tool {
namespace {

using Json = nlohmann::ordered_json;

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
    case Direction::InOut: return "both";
  }
  return "";
}

// Whether a text has the word in it, without regard to case.
bool Has(std::string_view text, std::string_view word) {
  for (size_t at = 0; at + word.size() <= text.size(); ++at)
    if (EqualNoCase(text.substr(at, word.size()), word)) return true;
  return false;
}

std::vector<const FunctionInfo*> Search(std::string_view word) {
  std::vector<const FunctionInfo*> found;
  for (const FunctionInfo& function : FUNCTIONS)
    if (Has(function.name, word) || Has(function.sentence, word)) found.push_back(&function);
  return found;
}

// ---- For people -----------------------------------------------------------------------------------------------------

constexpr size_t NAME_COLUMN = 24;

std::string Padded(std::string_view text, size_t width) {
  return std::string(text) + std::string(width - std::min(width, text.size()), ' ');
}

void ListFamilies(const std::vector<const FunctionInfo*>& functions) {
  bool is_first = true;
  for (const Family& family : FAMILIES) {
    bool is_titled = false;
    for (const FunctionInfo* const function : functions) {
      if (!function->name.starts_with(family.prefix)) continue;
      if (!is_titled) std::printf("%s%s\n", is_first ? "" : "\n", Bold(family.title).c_str());
      is_titled = true;
      is_first = false;
      const std::string row = "  " + Padded(function->name, NAME_COLUMN - 2) + std::string(function->sentence);
      std::printf("%s\n", Fold(row, TerminalWidth()).c_str());
    }
  }
}

// "rc_p negative" and what it means; the rows of all functions are the call's own, and stand elsewhere.
void DescribeAnswers(const FunctionInfo& function) {
  constexpr size_t WIDTH = 17;
  bool is_first = true;
  for (const Meaning& meaning : MEANINGS) {
    if (meaning.functions == "*" || FindMeaning(function.name, meaning.value, meaning.number) != &meaning) continue;
    if (is_first) std::puts("");
    is_first = false;
    const std::string number = meaning.number == ERROR_NUMBER ? "negative" : std::to_string(meaning.number);
    std::printf("  %s%s\n", Padded(Padded(meaning.value, 8) + number, WIDTH).c_str(),
                Wrap(meaning.words, TerminalWidth(), WIDTH + 2).c_str());
  }
}

void Describe(const FunctionInfo& function, bool in_shell) {
  std::printf("%s - %s\n", Bold(function.name).c_str(),
              Wrap(function.sentence, TerminalWidth(), function.name.size() + 3).c_str());
  if (function.arg_count > 0) std::puts("");
  for (const ArgInfo& arg : function.Args()) {
    const std::string line = Padded(
        Padded(Padded(arg.name, 12) + std::string(ClassWord(arg)), 21) + std::string(DirectionWord(arg.direction)), 27);
    std::printf("  %s%s\n", line.c_str(),
                Wrap(WordsOf(function.name, arg.name), TerminalWidth(), line.size() + 2).c_str());
  }
  DescribeAnswers(function);
  const std::string example = in_shell ? ExampleScript(function) : ExampleCommand(function) + '\n';
  std::printf("\nExample:%c%s", std::ranges::count(example, '\n') == 1 ? ' ' : '\n', example.c_str());
}

// ---- As data --------------------------------------------------------------------------------------------------------

Json JsonFunction(const FunctionInfo& function) {
  Json args = Json::array();
  for (const ArgInfo& arg : function.Args())
    args.push_back({{"name", arg.name},
                    {"type", ClassWord(arg)},
                    {"declared", DECLARED_TYPE_NAMES.at(static_cast<size_t>(arg.type))},
                    {"direction", arg.direction == Direction::InOut ? "inout" : DirectionWord(arg.direction)},
                    {"meaning", WordsOf(function.name, arg.name)}});
  Json answers = Json::array();
  for (const Meaning& meaning : MEANINGS) {
    if (FindMeaning(function.name, meaning.value, meaning.number) != &meaning) continue;
    Json row = {{"value", meaning.value}, {"number", meaning.number}, {"meaning", meaning.words}};
    if (meaning.number == ERROR_NUMBER) row["number"] = "negative";
    answers.push_back(row);
  }
  return {{"name", function.name},
          {"sentence", function.sentence},
          {"arguments", args},
          {"answers", answers},
          {"sample", ExampleScript(function)}};
}

}  // namespace

Status ListFunctions(const std::string& word, ListForm form) {
  const FunctionInfo* const one = FindFunction(word);
  const std::vector<const FunctionInfo*> found = one != nullptr ? std::vector{one} : Search(word);
  if (found.empty()) RequireFunction(word);  // which says what is near
  if (form == ListForm::Json) {
    Json all = Json::array();
    for (const FunctionInfo* const function : found) all.push_back(JsonFunction(*function));
    std::puts(all.dump(2).c_str());
  } else if (one != nullptr) {
    Describe(*one, form == ListForm::Shell);
  } else {
    ListFamilies(found);
  }
  return Status::Ok;
}

}  // namespace vorlix::tool
