// Named variables against the same table searched from its front, in every order of setting and forgetting.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dll/server/functions.h"
#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix {
namespace {

using test::TestString;

TEST(Variables, AgreeWithASearchFromTheFront) {
  std::vector<std::pair<std::string, std::string>> model;  // a free entry has the value "free"
  const auto matches = [](const std::string& name) {
    return [&name](const auto& entry) { return entry.second != "free" && name.starts_with(entry.first); };
  };
  std::mt19937 random(1805);
  for (int step = 0; step < 40'000; ++step) {
    std::string name;
    for (size_t length = random() % 6; length > 0; --length) name.push_back("abA\xe4"[random() % 4]);
    if (random() % 2000 == 0)
      name.clear();  // matches everything from then on
    else
      name.insert(0, "x");
    auto entry = std::find_if(model.begin(), model.end(), matches(name));
    switch (random() % 4) {
      case 0:
        if (entry == model.end()) {
          entry = std::find_if(model.begin(), model.end(), [](const auto& e) { return e.second == "free"; });
          if (entry == model.end()) entry = model.emplace(entry);
          entry->first = name;
        }
        entry->second = std::to_string(step);
        ASSERT_EQ(v_Set(TestString(9, name), TestString(9, entry->second)), 0);
        break;
      case 1:
        if (entry != model.end()) *entry = {"", "free"};
        ASSERT_EQ(v_Unset(TestString(9, name)), 0);
        break;
      default: {
        TestString value(9);
        ASSERT_EQ(v_Get(TestString(9, name), value), 0);
        ASSERT_EQ(value.View(), entry != model.end() ? entry->second : "") << name << " at step " << step;
      }
    }
  }
  for (const auto& entry : model) v_Unset(TestString(9, entry.first));
}

// A long value needs new memory after that of the last one was given back.
TEST(Variables, GiveBackTheMemoryOfTheirValues) {
  const TestString name(1, "a");
  const TestString value(100, std::string(100, 'x'));
  for (const bool unset : {false, true}) {
    ASSERT_EQ(v_Set(name, value), 0);
    ASSERT_EQ(unset ? v_Unset(name) : v_Set(name, TestString(0)), 0);
    const test::FailAllocation fail(unset ? 1 : 0);  // the name comes first
    EXPECT_EQ(v_Set(name, value), 2) << unset;
    v_Unset(name);
  }
}

}  // namespace
}  // namespace vorlix
