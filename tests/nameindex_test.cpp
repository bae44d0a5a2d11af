// Lists with an index against a walk through the list, in languages whose case differs.
#include "dll/base/nameindex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <random>
#include <string>
#include <vector>

namespace vorlix::test {
namespace {

std::string_view NameOf(const std::string& name) { return name; }

// Names go in while a language or "C" is in force and are found while either is.
TEST(NameIndexes, FindTheFirstOfTheName) {
  const std::string letters = "aAiI1.\xe4\xc4\xdd\xfd\xff";
  std::mt19937 random(1);
  const auto make_name = [&](size_t longest) {
    std::string name(random() % (longest + 1), ' ');
    for (char& c : name) c = letters[random() % letters.size()];
    return name;
  };
  for (const char* const own : {"C", "de_DE", "tr_TR"}) {
    ASSERT_NE(std::setlocale(LC_CTYPE, own), nullptr) << own;
    FixNameLetters();
    NamedList<std::string, NameOf> list;
    std::vector<std::string> model;
    for (int step = 0; step < 3000; ++step) {
      if (!model.empty() && random() % 3 == 0) {
        list.RemoveLast();
        model.pop_back();
      } else {
        model.push_back(make_name(step % 8 == 0 ? 40 : 3));
        list.Append(model.back());
      }
      const std::string wanted = make_name(3);
      for (const char* const language : {"C", own}) {
        std::setlocale(LC_CTYPE, language);
        const auto same = [&](const std::string& name) { return EqualNoCase(name, wanted); };
        const auto first = static_cast<size_t>(std::ranges::find_if(model, same) - model.begin());
        ASSERT_EQ(list.Find(wanted), first < model.size() ? first : SIZE_MAX)
            << wanted << " in " << own << "/" << language;
      }
    }
    EXPECT_TRUE(std::ranges::equal(list, model)) << own;
  }
  std::setlocale(LC_CTYPE, "C");
  FixNameLetters();
}

}  // namespace
}  // namespace vorlix::test
