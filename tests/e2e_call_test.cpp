// Calls through the real server process: what comes back, from whatever block.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "host/decimal.h"
#include "host/server.h"
#include "tests/support/server.h"

namespace vorlix::host {
namespace {

using test::TestServer;

// An argument in short: by class and value, "&" in front when its by-reference flag is set.
std::string Show(const Arg& arg) {
  std::string text = arg.by_ref ? "&" : "";
  for (size_t k = 0; k < arg.Count(); ++k) {
    if (k > 0) text += ",";
    if (arg.Class() == HOST_INTEGER) text += std::to_string(arg.IntAt(k));
    if (arg.Class() == HOST_REAL) text += FormatDecimal(arg.RealAt(k));
    if (arg.Class() == HOST_STRING) text += arg.TextAt(k);
  }
  return text;
}

std::string Show(const Result& result) {
  std::string text = std::to_string(result.code);
  for (const Arg& arg : result.args) text += " " + Show(arg);
  return text;
}

TEST(Call, BringsBackCodesValuesLengthsAndFlags) {
  struct Row {
    const char* function;
    std::vector<Arg> args;
    const char* shown;  // result code, then each argument
  };
  const Row rows[] = {
      {"dll_Revision", {OutText(4)}, "0 &3.10"},
      {"dll_Revision", {OutText(3)}, "18 &"},
      {"dll_Revision", {TextRef("abcde", 5)}, "0 &3.10"},
      {"dll_Revision", {Text("abcde")}, "0 3.10e"},
      {"dll_Revision", {}, "9"},
      {"dll_Revision", {OutText(4), Int(1)}, "9 & 1"},
      {"DLL_REVISION", {OutText(4)}, "7 &"},
      {"dll_Rev", {OutText(4)}, "7 &"},
      {"", {}, "7"},
      {"v_Get", {ByRef(Int(1)), OutText(4)}, "8 &1 &"},
      {"dll_Debug", {ByRef(Real("0.9"))}, "0 0.9"},
      {"dll_Debug", {ByRef(Text("0"))}, "8 &0"},
      {"v_Set", {Text("name"), Text("value")}, "0 name value"},
      {"v_Get", {Text("name"), OutText(9)}, "0 name &value"},
      {"v_Get", {Text("name"), Texts({"123456789"})}, "0 name value6789"},
      {"v_Get", {Text("name"), TextRef("1234", 4)}, "18 name &1234"},
      {"v_Get", {Text("none"), TextRef("1234", 4)}, "0 none &"},
      {"v_Set", {Text("name"), Text("")}, "0 name "},
      {"v_Get", {Text("name"), TextRef("1234", 4)}, "0 name &"},
      {"l_CreateList", {IntRef(7), Text("list")}, "0 &1 list"},
      {"l_HdlByName", {ByRef(Text("LIST")), IntRef()}, "0 LIST &1"},
      {"l_Add", {Real("1.99"), Text("a~$")}, "0 1.99 a~$"},
      {"l_GetFirst", {ByRef(Int(1)), OutText(3), IntRef(9)}, "0 1 &a~$ &0"},
      {"l_GetNext", {Int(1), TextRef("old", 3), IntRef(9)}, "0 1 &old &1"},
      {"l_GetNext", {Int(1), OutText(3), IntRef(9)}, "2003 1 & &9"},
      {"l_GetIdx",
       {Ints({1, 99}), Ints({1, -7}), ByRef(Texts({"..", "...", "xyz"})), IntRef()},
       "0 1,99 1,-7 &a~$,...,xyz &0"},
      {"u_udata",
       {TextRef("FELD:N,10,2,1,>-0.5,1e40,m;", 40), OutText(1), IntRef(), IntRef(), IntRef(), IntRef(), RealRef(),
        RealRef(), IntRef()},
       "0 &feld:n,10,2,1,>-0.5,1e40,m; &N &10 &2 &1 &1 &-0.5 &1E+40 &1"},
      {"u_udata",
       {Text(""), OutText(0), IntRef(), IntRef(), IntRef(), IntRef(), Real("1.50"), ByRef(Reals({{1, 1, 1, {7}}})),
        IntRef(5)},
       "0  & &0 &0 &0 &0 1.5 &0 &0"},
  };
  Server server(TestServer());
  for (const Row& row : rows) EXPECT_EQ(Show(server.Call(row.function, row.args)), row.shown) << row.function;
  EXPECT_EQ(server.TakeStandardError(), "");
}

TEST(Call, CarriesAsManyBytesAsTheSegmentHolds) {
  Server server(TestServer());
  const std::string value(500'000, '\0');
  EXPECT_EQ(server.Call("v_Set", {Text("large"), Text(value)}).code, 0);
  EXPECT_EQ(server.Call("v_Get", {Text("large"), OutText(1'000'000)}).args[1].TextAt(), value);
  EXPECT_THROW(server.Call("v_Get", {Text("large"), OutText(1 << 20)}), std::length_error);
  EXPECT_EQ(Show(server.Call("dll_Revision", {OutText(9)})), "0 &3.10");
}

TEST(Call, WorksFromBlocksMappedAnywhere) {
  Server server(TestServer());
  const uint32_t own = server.GetBlock().HostBase();
  for (const uint32_t base : {0u, 3u, own, own + 4, 0x7ffffff0u, 0x80000000u, 0xfff00000u, 0xfffffffeu}) {
    Block block(server.Memory(), base);
    const std::string value = std::to_string(base);
    PlaceCall(block, "v_Set", {Text("base"), Text(value)});
    EXPECT_EQ(server.Ring(), 0) << base;
    PlaceCall(block, "v_Get", {Text("base"), OutText(20)});
    EXPECT_EQ(server.Ring(), 0) << base;
    EXPECT_EQ(Show(ReadBack(block)), "0 base &" + value);
  }
}

// A well-formed u_basename call in a segment of 4096 bytes is changed in one way.
TEST(Call, TakesAnyLayoutAndRefusesWhatLeavesTheSegment) {
  constexpr uint32_t MAX = 0xffffffff;
  constexpr int32_t BIG = 0x7fffffff;
  struct Row {
    const char* what;
    int index;  // of the descriptor that is changed: 0 the name, 1 the path, 2 the base name
    std::function<void(ArgDescriptor&, Block&)> change;
    const char* shown;
  };
  const auto length = [](int32_t value) {
    return [value](ArgDescriptor& desc, Block& block) { block.Store(block.OffsetOf(desc.address), value); };
  };
  const Row rows[] = {
      {"nothing", 1, [](auto&, auto&) {}, "0 A.Be &be"},
      {"one element for both", 2, [](auto& d, Block& b) { d.address = b.LoadDescriptor(1).address; }, "0 be &be"},
      {"the last bytes", 2, [](auto& d, Block& b) { d.address = b.AddressOf(4096 - 24); }, "0 A.Be &be"},
      {"an odd address", 2, [](auto& d, auto&) { d.address += 1001; }, "0 A.Be &be"},
      {"no element", 2, [](auto& d, auto&) { d.count = 0; }, "0 A.Be &"},
      {"fewer than none", 2, [](auto& d, auto&) { d.count = -5; }, "0 A.Be &"},
      {"flag 0x100", 2, [](auto& d, auto&) { d.by_ref = 0x100; }, "0 A.Be &be"},
      {"one element needs no stride", 1, [](auto& d, auto&) { d.stride = 0; }, "0 A.Be &be"},
      {"elements over one another", 1, [](auto& d, auto&) { d.count = 3, d.stride = 0; }, "204"},
      {"a wide stride", 2, [](auto& d, auto&) { d.count = 3, d.stride = 300; }, "0 A.Be &be,,"},
      {"capacity past the end is cut", 2, [](auto& d, auto&) { d.capacity = BIG; }, "0 A.Be &be"},
      {"capacity cut to one", 2, [](auto& d, Block& b) { d.address = b.AddressOf(4096 - 5); }, "18 A.Be &"},
      {"capacity below 0", 2, [](auto& d, auto&) { d.capacity = -1; }, "18 A.Be &"},
      {"behind the end", 1, [](auto& d, Block& b) { d.address = b.AddressOf(4096); }, "204"},
      {"length word cut off", 1, [](auto& d, Block& b) { d.address = b.AddressOf(4096 - 3); }, "204"},
      {"before the start", 1, [](auto& d, Block& b) { d.address = b.AddressOf(0) - 4; }, "204"},
      {"far", 2, [](auto& d, auto&) { d.address += MAX / 2; }, "204"},
      {"stride past the end", 2, [](auto& d, auto&) { d.count = 3, d.stride = 2000; }, "204"},
      {"stride that wraps to itself", 2, [](auto& d, auto&) { d.count = 5, d.stride = 0x40000000; }, "204"},
      {"stride below 0", 2, [](auto& d, auto&) { d.count = 100, d.stride = -5; }, "204"},
      {"countless", 2, [](auto& d, auto&) { d.count = BIG, d.stride = BIG; }, "204"},
      {"length below 0", 1, length(-1), "204"},
      {"length past the end", 1, length(4096), "204"},
      {"length at the end of numbers", 1, length(BIG), "204"},
      {"name past the end", 0, length(4096), "204"},
      {"name below 0", 0, length(-10), "204"},
      {"name without class", 0, [](auto& d, auto&) { d.host_class = 0; }, "8"},
      {"class 4", 1, [](auto& d, auto&) { d.host_class = 4; }, "8"},
      {"class REAL", 2, [](auto& d, auto&) { d.host_class = HOST_REAL; }, "8"},
      {"no name", 0, [](auto&, Block& b) { b.Store(0, b.MakeHeader(0)); }, "9"},
      {"count below 0", 0, [](auto&, Block& b) { b.Store(0, b.MakeHeader(-1)); }, "9"},
      {"51 descriptors", 0, [](auto&, Block& b) { b.Store(0, b.MakeHeader(51)); }, "9"},
      {"52 descriptors", 0, [](auto&, Block& b) { b.Store(0, b.MakeHeader(52)); }, "606"},
      {"descriptors without end", 0, [](auto&, Block& b) { b.Store(0, b.MakeHeader(BIG)); }, "606"},
  };
  ServerOptions options = TestServer();
  options.segment_size = 4096;
  Server server(options);
  Block block(server.Memory(), 0xfffff800);
  for (const Row& row : rows) {
    std::fill(server.Memory().begin(), server.Memory().end(), std::byte{0});
    PlaceCall(block, "u_basename", {Text("A.Be"), OutText(20)});
    const auto index = static_cast<size_t>(row.index);
    ArgDescriptor desc = block.LoadDescriptor(index);
    row.change(desc, block);
    block.StoreDescriptor(index, desc);
    const int32_t code = server.Ring();
    const bool ran = code == 0 || code == RESULT_TOO_SHORT;
    EXPECT_EQ(ran ? Show(ReadBack(block)) : std::to_string(code), row.shown) << row.what;
  }
}

}  // namespace
}  // namespace vorlix::host
