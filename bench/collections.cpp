// Lists and variables as the call finds them, without the call itself, beside the containers of the standard library.
// The peers copy what they find into a buffer, as a call does.
#include <array>
#include <cstring>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bench/measure.h"
#include "dll/server/functions.h"

namespace {

using namespace vorlix;
using bench::Contender;
using bench::Expect;

constexpr double LIST_GOAL = 1.5;

std::array<char, 80> room;

DllString Room() { return {static_cast<int32_t>(room.size()), 0, room.data()}; }
DllString Borrow(const std::string& text) {
  return {static_cast<int32_t>(text.size()), static_cast<int32_t>(text.size()), const_cast<char*>(text.data())};
}
void CopyOut(const std::string& text) { std::memcpy(room.data(), text.data(), std::min(text.size(), room.size())); }

// As many runs as keep the whole work about the same for every count.
int Runs(size_t count) { return count > 10'000 ? 21 : 101; }
std::string Among(std::string_view what, size_t count) { return std::string(what) + " of " + std::to_string(count); }

void Compare(std::string_view what, const std::vector<Contender>& contenders, size_t count) {
  bench::Compare(Among(what, count), contenders, static_cast<int>(count), 1, Runs(count));
}

void MeasureList(const std::vector<std::string>& texts) {
  int32_t handle = 0;
  std::list<std::string> list;
  const auto fresh = [&] {
    l_DeleteAll();
    Expect(l_CreateList(IntByReference(&handle), Room()) == 0, "no list");
  };
  const auto add = [&] {
    for (const std::string& text : texts) Expect(l_Add(handle, Borrow(text)) == 0, "l_Add fails");
  };
  const auto add_std = [&] {
    for (const std::string& text : texts) list.emplace_back(text);
  };
  Compare("l_Add, one", {{"", add, 0, fresh}, {"std::list", add_std, LIST_GOAL, [&] { list.clear(); }}}, texts.size());

  const auto walk = [&] {
    DllString data = Room();
    int32_t eol = 0;
    l_GetFirst(handle, data, IntByReference(&eol));
    while (eol == 0) l_GetNext(handle, data, IntByReference(&eol));
  };
  const auto walk_std = [&] {
    for (const std::string& text : list) CopyOut(text);
  };
  Compare("l_GetNext, one", {{"", walk}, {"std::list", walk_std, LIST_GOAL}}, texts.size());
  l_DeleteAll();
}

void MeasureVariables(const std::vector<std::string>& texts) {
  std::unordered_map<std::string, std::string> map;
  const auto forget = [&] {
    for (const std::string& text : texts) v_Unset(Borrow(text));
  };
  const auto set = [&] {
    for (const std::string& text : texts) Expect(v_Set(Borrow(text), Borrow(text)) == 0, "v_Set fails");
  };
  const auto set_std = [&] {
    for (const std::string& text : texts) map[text] = text;
  };
  Compare("v_Set, one", {{"", set, 0, forget}, {"std::unordered_map", set_std, 0, [&] { map.clear(); }}}, texts.size());

  const auto get = [&] {
    for (const std::string& text : texts) {
      DllString value = Room();
      v_Get(Borrow(text), value);
      Expect(value.len == static_cast<int32_t>(text.size()), "a variable is not found");
    }
  };
  const auto get_std = [&] {
    for (const std::string& text : texts) CopyOut(map.find(text)->second);
  };
  Compare("v_Get, one", {{"", get}, {"std::unordered_map", get_std}}, texts.size());
  forget();
}

}  // namespace

int main() {
  bench::PinToOneCore();
  for (const size_t count : std::to_array<size_t>({100, 10'000, 100'000})) {
    std::vector<std::string> texts;
    for (size_t i = 0; i < count; ++i) texts.push_back("a customer's name " + std::to_string(count + i));
    MeasureList(texts);
    MeasureVariables(texts);
  }
  return 0;
}
