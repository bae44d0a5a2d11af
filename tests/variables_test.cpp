// Named variables against the same table searched from its front, in every order of setting and forgetting.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix {
namespace {

using test::TestString;

// A free entry has no value.
struct Entry {
  std::string name, value;
};

std::string PickName(std::mt19937& random) {
  if (random() % 2000 == 0) return "";  // matches everything from then on
  std::string name = "x";
  for (auto left = random() % 6; left > 0; --left) name += "abA\xe4"[random() % 4];
  return name;
}

TEST(Variables, AgreeWithASearchFromTheFront) {
  std::vector<Entry> model;
  std::mt19937 random(1805);
  for (int step = 0; step < 40'000; ++step) {
    const std::string name = PickName(random);
    auto entry =
        std::ranges::find_if(model, [&](const Entry& own) { return !own.value.empty() && name.starts_with(own.name); });
    const bool known = entry != model.end();
    switch (random() % 4) {
      case 0:
        if (!known) entry = std::ranges::find(model, "", &Entry::value);
        if (entry == model.end()) entry = model.emplace(entry);
        *entry = {known ? entry->name : name, std::to_string(step)};
        ASSERT_EQ(v_Set(TestString(9, name), TestString(9, entry->value)), 0);
        break;
      case 1:
        if (known) entry->value.clear();
        ASSERT_EQ(v_Unset(TestString(9, name)), 0);
        break;
      default:
        TestString value(known ? 9 : -1);  // where there is nothing, no room is too small
        ASSERT_EQ(v_Get(TestString(9, name), value), 0);
        ASSERT_EQ(value.View(), known ? entry->value : "") << name << " at step " << step;
    }
  }
  for (const Entry& entry : model) v_Unset(TestString(9, entry.name));
}

// Of a field description only the parts that come back are looked at, and only the room that there is changes.
TEST(FieldDescriptions, TakeNeitherMemoryNorRoomThatIsNotTheirs) {
  const struct {
    std::string text;
    int32_t room;
    std::string begins;  // afterwards
  } rows[] = {{"FELD:U,7,M" + std::string(4'000'000, ',') + ";", 6, "feld:u,7,M,"}, {"FELD:U,7,M;", -1, "FELD:U,7,M;"}};
  for (const auto& row : rows) {
    std::string memory = row.text;
    DllString udata{row.room, static_cast<int32_t>(memory.size()), memory.data()};
    TestString type(1);
    int32_t length = 0;
    int32_t rest = 0;
    int32_t mandatory = 0;
    int32_t rc = 0;
    double real = 0;
    {
      const test::FailAllocation fail(0, true);
      u_udata(udata, type, IntByReference(&length), IntByReference(&rest), IntByReference(&rest),
              IntByReference(&mandatory), real, real, IntByReference(&rc));
    }
    EXPECT_EQ(type.View(), "U") << row.room;
    EXPECT_TRUE(rc == 1 && length == 7 && mandatory == 1) << row.room << ": " << rc;
    EXPECT_EQ(memory.substr(0, row.begins.size()), row.begins) << row.room;
  }
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
