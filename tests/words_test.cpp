// The words beside the function table: each argument has some, and each row belongs to something.
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "dll/wire/arguments.h"
#include "dll/wire/meanings.h"

namespace vorlix {
namespace {

bool Answers(const FunctionInfo& function, std::string_view value) {
  return value == CODE || std::ranges::any_of(function.Args(), [&](const ArgInfo& arg) {
           return arg.name == value && arg.direction != Direction::In && arg.type == DeclaredType::IntByReference;
         });
}

TEST(Meanings, AreOfWhatTheirFunctionsAnswer) {
  for (const Meaning& row : MEANINGS) {
    EXPECT_TRUE(std::ranges::any_of(FUNCTIONS, [&](const FunctionInfo& f) { return row.IsOf(f.name); }))
        << row.functions << " are no functions";
    for (const FunctionInfo& function : FUNCTIONS)
      EXPECT_TRUE(!row.IsOf(function.name) || Answers(function, row.value))
          << function.name << " does not answer with " << row.value;
  }
}

TEST(ArgWords, AreThereForEachArgumentAndForNothingElse) {
  std::vector<std::string_view> used;
  for (const FunctionInfo& function : FUNCTIONS)
    for (const ArgInfo& arg : function.Args()) {
      const std::string_view words = WordsOf(function.name, arg.name);
      EXPECT_NE(words, "") << function.name << ' ' << arg.name;
      used.push_back(words);
    }
  for (const ArgWords& row : ARG_WORDS)
    EXPECT_TRUE(std::ranges::find(used, row.words) != used.end()) << row.functions << ' ' << row.argument;
}

}  // namespace
}  // namespace vorlix
