// Lists with an index against a walk through the list, in languages whose case differs.
#include "dll/shared/nameindex.h"

#include <gtest/gtest.h>

#include <clocale>
#include <random>
#include <string>
#include <vector>

namespace vorlix::test {
namespace {

using namespace std::string_literals;

std::string_view NameOf(const std::string& name) { return name; }

class NameIndexes : public testing::TestWithParam<const char*> {
 protected:
  NameIndexes() {
    EXPECT_NE(std::setlocale(LC_CTYPE, GetParam()), nullptr);
    TakeCaseFolding();
  }
  ~NameIndexes() override {
    std::setlocale(LC_CTYPE, "C");
    TakeCaseFolding();
  }
};

// Names go in while a language or "C" is in force and are found while either is.
TEST_P(NameIndexes, FindTheFirstOfTheName) {
  const std::string letters = "aAiI1.\xe4\xc4\xdd\xfd\xff";
  std::mt19937 random(1);
  const auto make_name = [&](size_t longest) {
    std::string name(random() % (longest + 1), ' ');
    for (char& c : name) c = letters[random() % letters.size()];
    return name;
  };
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
    for (const char* const language : {"C", GetParam()}) {
      ASSERT_NE(std::setlocale(LC_CTYPE, language), nullptr) << language;
      size_t first = 0;
      while (first < model.size() && !EqualNoCase(model[first], wanted)) ++first;
      ASSERT_EQ(list.Find(wanted), first < model.size() ? first : SIZE_MAX) << wanted << " in " << language;
    }
  }
  ASSERT_EQ(std::vector<std::string>(list.begin(), list.end()), model);
}

INSTANTIATE_TEST_SUITE_P(Languages, NameIndexes, testing::Values("C", "de_DE", "tr_TR"));

}  // namespace
}  // namespace vorlix::test
