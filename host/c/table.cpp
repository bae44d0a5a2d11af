// The function table as C sees it, made when the library is compiled. Names of arguments are parts of their rows there;
// here they are copied, to end in NUL.
#include <algorithm>
#include <array>
#include <functional>

#include "dll/wire/arguments.h"
#include "dll/wire/functable.h"
#include "dll/wire/meanings.h"
#include "host/c/vorlix.h"

namespace vorlix::c {
namespace {

template <class Value>
using ForEachArgument = std::array<std::array<Value, MAX_DECLARED_ARGS>, FUNCTION_COUNT>;
using Name = std::array<char, 16>;

constexpr ForEachArgument<Name> NAMES = [] {
  ForEachArgument<Name> names{};
  for (size_t i = 0; i < FUNCTIONS.size(); ++i)
    for (size_t k = 0; k < FUNCTIONS[i].arg_count; ++k) {
      const std::string_view name = FUNCTIONS[i].args[k].name;
      if (name.size() >= names[i][k].size()) throw "the name of an argument is too long";
      std::ranges::copy(name, names[i][k].begin());
    }
  return names;
}();

const ForEachArgument<vorlix_argument> ARGUMENTS = [] {
  ForEachArgument<vorlix_argument> arguments{};
  for (size_t i = 0; i < FUNCTIONS.size(); ++i)
    for (size_t k = 0; k < FUNCTIONS[i].arg_count; ++k) {
      const ArgInfo& arg = FUNCTIONS[i].args[k];
      arguments[i][k] = {NAMES[i][k].data(), static_cast<vorlix_type>(arg.type),
                         static_cast<vorlix_direction>(arg.direction), WordsOf(FUNCTIONS[i].name, arg.name).data()};
    }
  return arguments;
}();

// All three texts are whole literals of a row, so they end in NUL.
constexpr std::array<vorlix_function, FUNCTION_COUNT> ROWS = [] {
  std::array<vorlix_function, FUNCTION_COUNT> rows{};
  std::ranges::transform(FUNCTIONS, rows.begin(), [](const FunctionInfo& info) {
    return vorlix_function{info.name.data(), info.sentence.data(), info.sample.data(), info.arg_count};
  });
  return rows;
}();

static_assert(VORLIX_STRING_ARRAY == static_cast<int>(DeclaredType::StringArray) &&
              VORLIX_IN_OUT == static_cast<int>(Direction::InOut));

// Whether a pointer that a program hands in is one that it got here.
bool IsRow(const vorlix_function* function) {
  constexpr std::less<const vorlix_function*> before;
  return !before(function, ROWS.data()) && before(function, ROWS.data() + ROWS.size());
}

}  // namespace
}  // namespace vorlix::c

using namespace vorlix::c;

const vorlix_function* vorlix_function_at(size_t index) { return index < ROWS.size() ? &ROWS.at(index) : nullptr; }

const vorlix_function* vorlix_function_find(const char* name) {
  if (name == nullptr) return nullptr;
  const auto* const found = std::ranges::find(ROWS, std::string_view(name), &vorlix_function::name);
  return found != ROWS.end() ? found : nullptr;
}

const vorlix_argument* vorlix_argument_at(const vorlix_function* function, size_t index) {
  if (!IsRow(function) || index >= function->argument_count) return nullptr;
  return &ARGUMENTS.at(static_cast<size_t>(function - ROWS.data())).at(index);
}

const char* vorlix_meaning(const char* function, const char* argument, int32_t number) {
  if (function == nullptr) return nullptr;
  const vorlix::Meaning* const meaning =
      vorlix::FindMeaning(function, argument != nullptr ? argument : vorlix::CODE, number);
  return meaning != nullptr ? meaning->words.data() : nullptr;
}
