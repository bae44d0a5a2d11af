// Functions of the server's own state: lists, variables, object paths, field descriptions.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix {
namespace {

using test::FailAllocation;
using test::TestString;
using namespace std::string_literals;

// A script of list calls on one list: what is called, with which number or data, and what comes back.
struct Step {
  const char* call;
  int32_t number;
  std::string data;
  int32_t code;
  std::string read;
  int32_t eol;  // -7: not set
};

void PrintTo(const Step& step, std::ostream* out) { *out << step.call << " " << step.number << " " << step.data; }

class Lists : public testing::Test {
 protected:
  ~Lists() override { l_DeleteAll(); }

  int32_t Create(const std::string& name) {
    int32_t handle = -1;
    code_ = l_CreateList(IntByReference(&handle), TestString(40, name));
    return handle;
  }
  void Run(const Step& step) {
    SCOPED_TRACE(testing::PrintToString(step));
    TestString data(8, "unread");
    int32_t eol = -7;
    const IntByReference end(&eol);
    const TestString input(64, step.data);
    const std::string call = step.call;
    int32_t code = -99;
    if (call == "add") code = l_Add(handle_, TestString(64, step.data));
    if (call == "ins") code = l_Ins(handle_, TestString(64, step.data));
    if (call == "set") code = l_Set(handle_, TestString(64, step.data));
    if (call == "del") code = l_Del(handle_, end);
    if (call == "get") code = l_Get(handle_, step.number, data, end);
    if (call == "idx") code = l_GetIdx(handle_, step.number, data, end);
    if (call == "seek") code = l_Seek(handle_, step.number, end);
    if (call == "seekidx") code = l_SeekIdx(handle_, step.number, end);
    EXPECT_EQ(code, step.code);
    EXPECT_EQ(eol, step.eol);
    EXPECT_EQ(data.View(), step.read);
  }
  int32_t handle_ = 0;
  int32_t code_ = 0;
};

TEST_F(Lists, WalkAndChange) {
  handle_ = Create("numbers");
  const std::string unread = "unread";
  const Step steps[] = {
      {"get", 0, "", 0, unread, 1},
      {"get", 3, "", 2003, unread, -7},
      {"get", 4, "", 2003, unread, -7},
      {"ins", 0, "x", 2003, unread, -7},
      {"set", 0, "x", 2003, unread, -7},
      {"del", 0, "", 2003, unread, -7},
      {"get", 1, "", 0, unread, 1},
      {"get", 2, "", 0, unread, 1},
      {"add", 0, "a", 0, unread, -7},
      {"get", 0, "", 0, unread, 1},
      {"add", 0, "b\0c"s, 0, unread, -7},
      {"add", 0, "", 0, unread, -7},
      {"get", 1, "", 0, "a", 0},
      {"get", 3, "", 0, "b\0c"s, 0},
      {"get", 3, "", 0, "", 0},
      {"get", 3, "", 0, unread, 1},
      {"get", 3, "", 2003, unread, -7},
      {"get", 2, "", 0, "", 0},
      {"get", 99, "", 0, "", 0},
      {"get", -1, "", 0, "", 0},
      {"idx", 2, "", 0, "b\0c"s, 0},
      {"ins", 0, "between", 0, unread, -7},
      {"get", 0, "", 0, "between", 0},
      {"get", 4, "", 0, "a", 0},
      {"set", 0, "123456789", 0, unread, -7},
      {"get", 0, "", 18, unread, 0},
      {"set", 0, "12345678", 0, unread, -7},
      {"get", 0, "", 0, "12345678", 0},
      {"ins", 0, "first", 0, unread, -7},
      {"get", 1, "", 0, "first", 0},
      {"get", 4, "", 0, unread, 1},
      {"idx", 0, "", 2002, unread, -7},
      {"idx", -5, "", 2002, unread, -7},
      {"idx", 6, "", 0, unread, 1},
      {"seekidx", 5, "", 0, unread, 0},
      {"del", 0, "", 0, unread, 1},
      {"seekidx", 2, "", 0, unread, 0},
      {"del", 0, "", 0, unread, 0},
      {"get", 0, "", 0, "between", 0},
      {"seek", 2, "", 0, unread, 0},
      {"get", 0, "", 0, "b\0c"s, 0},
      {"seek", 3, "", 0, unread, 1},
      {"seek", 4, "", 2003, unread, -7},
      {"seekidx", 2147483647, "", 0, unread, 1},
      {"seekidx", 0, "", 2002, unread, -7},
  };
  for (const Step& step : steps) Run(step);
}

TEST_F(Lists, HandlesAndNames) {
  for (int32_t expected = 1; expected <= 10; ++expected) EXPECT_EQ(Create("list" + std::to_string(expected)), expected);
  EXPECT_EQ(Create("eleventh"), 0);
  EXPECT_EQ(code_, 2000);
  int32_t handle = 3;
  EXPECT_EQ(l_DeleteList(IntByReference(&handle)), 0);
  EXPECT_EQ(handle, 0);
  EXPECT_EQ(l_DeleteList(IntByReference(&handle)), 2002);
  EXPECT_EQ(Create("LIST7\0hidden"s), 3) << "the lowest free slot";
  const struct {
    const char* name;
    int32_t handle;
  } names[] = {{"list7", 3}, {"LIST10", 10}, {"list", 0}, {"", 0}};
  for (const auto& row : names) {
    int32_t found = -1;
    EXPECT_EQ(l_HdlByName(row.name, IntByReference(&found)), 0);
    EXPECT_EQ(found, row.handle) << row.name;
  }
  TestString name(5);
  EXPECT_EQ(l_Name(3, name), 0);
  EXPECT_EQ(name.View(), "LIST7");
  EXPECT_EQ(l_Name(10, name), 18);
  l_DeleteAll();
  for (const int32_t invalid : {0, 11, -1, 3, INT32_MIN}) {
    handle_ = invalid;
    for (const char* call : {"add", "ins", "set", "del", "get", "idx", "seek", "seekidx"})
      Run({call, 1, "x", 2002, "unread", -7});
    EXPECT_EQ(l_Name(invalid, name), 2002);
  }
}

TEST_F(Lists, SurviveMissingMemory) {
  const std::string data(100, 'd');
  handle_ = Create("full");
  l_Add(handle_, TestString(200, "kept"));
  const auto each_allocation = [](int32_t code, const auto& call) {
    int failed = 0;
    for (bool hit = true; hit; ++failed) {
      const FailAllocation fail(failed);
      const int32_t result = call();
      hit = fail.Hit();
      if (hit) {
        EXPECT_EQ(result, code) << "allocation " << failed;
      }
    }
    EXPECT_GT(failed, 1) << "nothing was allocated";
  };
  const TestString text(200, data);
  each_allocation(2001, [&] { return l_Add(handle_, text); });
  int32_t eol = 0;
  l_SeekFirst(handle_, IntByReference(&eol));
  each_allocation(2001, [&] { return l_Set(handle_, text); });
  each_allocation(2001, [&] { return l_Ins(handle_, text); });
  each_allocation(2001, [&] {
    int32_t handle = -1;
    const int32_t code = l_CreateList(IntByReference(&handle), text);
    EXPECT_EQ(handle == 0, code != 0);
    return code;
  });
  TestString read(200);
  for (const std::string& element : {data, data, data}) {
    EXPECT_EQ(l_GetCurr(handle_, read, IntByReference(&eol)), 0);
    EXPECT_EQ(read.View(), element);
    l_SeekNext(handle_, IntByReference(&eol));
  }
  EXPECT_EQ(eol, 1) << "one element for each call that succeeded";
}

// ---- Variables ------------------------------------------------------------------------------------------------------

struct VariableStep {
  char call;  // s, u, g
  std::string name, value;
  int32_t code = 0;
};

void RunVariables(const std::vector<VariableStep>& steps) {
  for (const VariableStep& step : steps) {
    SCOPED_TRACE(step.call + (" " + step.name));
    const TestString name(80, step.name);
    TestString value(8, "unread");
    switch (step.call) {
      case 's': EXPECT_EQ(v_Set(name, TestString(80, step.value)), step.code); break;
      case 'u': EXPECT_EQ(v_Unset(name), step.code); break;
      default: EXPECT_EQ(v_Get(name, value), step.code); EXPECT_EQ(value.View(), step.value);
    }
  }
}

TEST(Variables, AStoredNameMatchesWhatBeginsWithIt) {
  RunVariables({
      {'g', "AB", ""},
      {'s', "AB", "x"},
      {'g', "AB", "x"},
      {'g', "ABC", "x"},
      {'g', "A", ""},
      {'g', "ab", ""},
      {'s', "ABC", "y"},
      {'g', "AB", "y"},
      {'s', "A", "z"},
      {'g', "AB", "y"},
      {'g', "A", "z"},
      {'s', "B\xff", "b\0\xff"s},
      {'g', "B\xff", "b\0\xff"s},
      {'s', "C", "123456789"},
      {'g', "C", "unread", 18},
      {'s', "C", ""},
      {'g', "C", ""},
      {'u', "ABX", ""},
      {'g', "AB", "z"},
      {'s', "AB", "w"},
      {'g', "A", "w"},
      {'u', "A", ""},
      {'u', "A", ""},
      {'g', "A", ""},
      {'s', "AX", "1"},
      {'s', "", "empty"},
      {'g', "B\xff", "empty"},
      {'u', "Q", ""},
      {'g', "B\xff", "b\0\xff"s},
      {'g', "Q", ""},
      {'u', "B\xff", ""},
      {'u', "C", ""},
      {'u', "AX", ""},
  });
}

TEST(Variables, TableGrowsAndSurvivesMissingMemory) {
  for (int i = 1000; i < 1350; ++i) RunVariables({{'s', std::to_string(i), std::to_string(-i)}});
  for (int i = 1000; i < 1350; ++i) RunVariables({{'g', std::to_string(i), std::to_string(-i)}});
  const std::string long_value(60, 'v');
  int failed = 0;
  for (bool hit = true; hit; ++failed) {
    const TestString name(20, "the name of it");
    const TestString value(80, long_value);
    const FailAllocation fail(failed);
    const int32_t code = v_Set(name, value);
    hit = fail.Hit();
    EXPECT_EQ(code, hit ? 2 : 0);
    if (hit) RunVariables({{'g', "the name of it", ""}});
  }
  EXPECT_GT(failed, 1);
  RunVariables({{'u', "the name of it", ""}});
  for (int i = 1000; i < 1350; ++i) RunVariables({{'u', std::to_string(i), ""}});
}

// ---- Object paths and field descriptions ----------------------------------------------------------------------------

TEST(ObjectPaths, AreTakenApart) {
  const struct {
    std::string path, base, first, rest;
  } rows[] = {
      {"Kunde.Adresse.Ort", "ort", "kunde", "adresse.ort"},
      {"Ort", "ort", "", ""},
      {"Kunde.", "", "kunde", ""},
      {".Ort", "ort", "", "ort"},
      {"", "", "", ""},
      {".", "", "", ""},
      {"A..B", "b", "a", ".b"},
      {"\xc4.\xd6", "\xd6", "\xc4", "\xd6"},
  };
  for (const auto& row : rows) {
    TestString base(20), first(20), rest(20);
    EXPECT_EQ(u_basename(TestString(40, row.path), base) + u_pathname(TestString(40, row.path), first) +
                  u_rempath(TestString(40, row.path), rest),
              0);
    EXPECT_EQ(base.View(), row.base) << row.path;
    EXPECT_EQ(first.View(), row.first) << row.path;
    EXPECT_EQ(rest.View(), row.rest) << row.path;
  }
  TestString small(2, "??");
  EXPECT_EQ(u_basename(TestString(40, "A.Ort"), small), 18);
  EXPECT_EQ(u_pathname(TestString(40, "Ort.A"), small), 18);
  EXPECT_EQ(u_rempath(TestString(40, "A.Ort"), small), 18);
  EXPECT_EQ(small.View(), "??");
  TestString same(20, "Kunde.Ort");
  EXPECT_EQ(u_rempath(same, same), 0);
  EXPECT_EQ(same.View(), "ort") << "the path's own String takes the result";
}

TEST(FieldDescriptions, AreDecoded) {
  const struct {
    std::string text, type;
    int32_t length, decimals, num_type, mandatory;
    double low, high;
    int32_t rc;
  } rows[] = {
      {"Text FELD:N,10,2,1,>0,9999,m; more", "N", 10, 2, 1, 1, 0, 9999, 1},
      {"feld:d,8,o;", "D", 8, 0, 4, 0, 0, 0, 1},
      {"feld:d,8,o", "", 0, 0, 0, 0, 0, 0, -1},
      {"feld d,8,o;", "", 0, 0, 0, 0, 0, 0, 0},
      {";feld:A,5,M;", "A", 5, 0, 0, 1, 0, 0, 1},
      {"feld:k,3;", "K", 3, 0, 7, 0, 0, 0, 1},
      {"feld:x,3,m;", "X", 0, 0, 0, 0, 0, 0, 1},
      {"feld:;", "", 0, 0, 0, 0, 0, 0, 1},
      {"feld:n;", "N", 0, 0, 0, 0, 0, 0, 1},
      {"feld:n,,,,,5,;", "N", 0, 0, 0, 0, 0, 5, 1},  // an empty part does not read on into the next
      {"feld:n,1,2,3,>,-7.5e1,x;", "N", 1, 2, 3, 0, 0, -75, 1},
      {"feld:n,99999999999,-99999999999,+7 x,>-1.5;", "N", 2147483647, -2147483647 - 1, 7, 0, -1.5, 0, 1},
      {"feld:abcdefg,4;", "", 4, 0, 0, 0, 0, 0, 1},  // a type longer than its String
      {"feld:n,7\0;"s, "", 0, 0, 0, 0, 0, 0, -1},
      {std::string(2000, 'x') + "feld:u,12,m;", "U", 12, 0, 0, 1, 0, 0, 1},
      {"feld:u,1" + std::string(50, ',') + ";", "U", 1, 0, 0, 0, 0, 0, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text.substr(0, 60));
    TestString text(static_cast<int32_t>(row.text.size()), row.text);
    TestString type(5, "old");
    std::array<int32_t, 5> ints{9, 9, 9, 9, 9};
    double low = 9, high = 9;
    EXPECT_EQ(u_udata(text, type, IntByReference(&ints[0]), IntByReference(&ints[1]), IntByReference(&ints[2]),
                      IntByReference(&ints[3]), low, high, IntByReference(&ints[4])),
              0);
    EXPECT_EQ(type.View(), row.type);
    EXPECT_EQ(ints, (std::array<int32_t, 5>{row.length, row.decimals, row.num_type, row.mandatory, row.rc}));
    EXPECT_EQ(low, row.low);
    EXPECT_EQ(high, row.high);
    EXPECT_EQ(text.View().find_first_of("FELDNM"), std::string::npos) << "turned into lower case in place";
    EXPECT_TRUE(text.GuardsIntact());
  }
}

}  // namespace
}  // namespace vorlix
