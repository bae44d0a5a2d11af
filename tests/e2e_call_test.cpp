// Calls through the real server process: what comes back, from whatever block.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/decimal.h"
#include "host/server.h"
#include "tests/support/server.h"

namespace vorlix::host {
namespace {

using test::TestServer;

// A result in short: its code, then each argument by class and value, "&" in front when its by-reference flag is set.
std::string Show(const Result& result) {
  std::string text = std::to_string(result.code);
  for (const Arg& arg : result.args) {
    text += arg.by_ref ? " &" : " ";
    for (size_t k = 0; k < arg.Count(); ++k) {
      if (k > 0) text += ",";
      if (arg.Class() == HOST_INTEGER) text += std::to_string(arg.IntAt(k));
      if (arg.Class() == HOST_REAL) text += FormatDecimal(arg.RealAt(k));
      if (arg.Class() == HOST_STRING) text += arg.TextAt(k);
    }
  }
  return text;
}

TEST(Call, BringsBackCodesValuesLengthsAndFlags) {
  const struct {
    const char* function;
    std::vector<Arg> args;
    const char* shown;  // result code, then each argument
  } rows[] = {
      {"dll_Revision", {TextRef("abcde", 5)}, "0 &3.10"},
      {"dll_Revision", {Text("abcde")}, "0 3.10e"},
      {"dll_Revision", {}, "9"},
      {"dll_Revision", {OutText(4), Int(1)}, "9 & 1"},
      {"DLL_REVISION", {OutText(4)}, "7 &"},
      {"", {}, "7"},
      {"v_Get", {ByRef(Int(1)), OutText(4)}, "8 &1 &"},
      {"dll_Debug", {ByRef(Real("0.9"))}, "0 0.9"},
      {"dll_Debug", {ByRef(Text("0"))}, "8 &0"},
      {"v_Set", {ByRef(Text("name")), Text("value")}, "0 &name value"},
      {"dll_SetLocale", {ByRef(Text("LANG=C"))}, "0 LANG=C"},
      {"v_Get", {Text("name"), Texts({"123456789"})}, "0 name value6789"},
      {"v_Get", {Text("name"), TextRef("1234", 4)}, "18 name &1234"},
      {"l_CreateList", {IntRef(7), Text("list")}, "0 &1 list"},
      {"l_Add", {Real("1.99"), Text("a~$")}, "0 1.99 a~$"},
      {"l_GetIdx",
       {Ints({1, 99}), Ints({1, -7}), ByRef(Texts({"..", "...", "xyz"})), IntRef()},
       "0 1,99 1,-7 &a~$,...,xyz &0"},
      {"u_udata",
       {Text("FELD:N,10,2,1,>-0.5,1e40,m;"), OutText(1), Int(9), IntRef(), IntRef(), IntRef(), Real("1.50"),
        ByRef(Reals({{1, 1, 1, {7}}})), IntRef(5)},
       "0 feld:n,10,2,1,>-0.5,1e40,m; &N 10 &2 &1 &1 1.5 &1E+40 &1"},
  };
  Server server(TestServer());
  for (const auto& row : rows) EXPECT_EQ(Show(server.Call(row.function, row.args)), row.shown) << row.function;
  EXPECT_EQ(server.TakeStandardError(), "");
}

TEST(Call, WorksFromBlocksOfAllSizesMappedAnywhere) {
  Server server(TestServer());
  const uint32_t own = server.GetBlock().HostBase();
  const std::string value(500'000, '\0');
  for (const uint32_t base : {0u, 3u, own, own + 4, 0x7ffffff0u, 0x80000000u, 0xfff00000u, 0xfffffffeu}) {
    Block block(server.Memory(), base);
    PlaceCall(block, "v_Set", {Text("base"), Text(value + std::to_string(base))});
    EXPECT_EQ(server.Ring(), 0) << base;
    PlaceCall(block, "v_Get", {Text("base"), OutText(1'000'000)});
    EXPECT_EQ(server.Ring(), 0) << base;
    EXPECT_EQ(ReadBack(block).args[1].TextAt(), value + std::to_string(base));
  }
  EXPECT_THROW(server.Call("v_Get", {Text("base"), OutText(1 << 20)}), std::length_error);
  EXPECT_EQ(Show(server.Call("dll_Revision", {OutText(9)})), "0 &3.10") << "a call that does not fit is not placed";
}

}  // namespace
}  // namespace vorlix::host
