// Calls through the real server process: what comes back, from whatever block.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/decimal.h"
#include "host/server.h"
#include "tests/support/server.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::host {
namespace {

using test::TestServer;

// As no call script sends them.
TEST(Call, TakesArraysAndReturnsByValue) {
  Server server(TestServer());
  EXPECT_EQ(server.Call("dll_Revision", {Text("abcde")}).args[0].TextAt(), "3.10e") << "the length stays";
  const Arg two_reals = ByRef(Reals({Real("7").RealAt(), Real("8").RealAt()}));
  const Result described = server.Call("u_udata", {Text("feld:N,10,2,1,>-0.5,1e40,m;"), OutText(1), Int(9), IntRef(),
                                                   IntRef(), IntRef(), Real("1.50"), two_reals, IntRef()});
  EXPECT_EQ(described.args[2].IntAt(), 10);
  EXPECT_EQ(FormatDecimal(described.args[6].RealAt()), "1.5");
  EXPECT_EQ(FormatDecimal(described.args[7].RealAt(0)) + " " + FormatDecimal(described.args[7].RealAt(1)), "1E+40 8");
  server.Call("l_CreateList", {ByRef(Ints({7, 8})), Text("list")});
  EXPECT_FALSE(server.Call("l_Add", {ByRef(Real("1.99")), Texts({"a~$", "b"})}).args[0].by_ref) << "declared by value";
  const Arg texts = ByRef(Texts({"..", "...", "xyz"}));
  const Arg got = server.Call("l_GetIdx", {Ints({1, 99}), Ints({1, -7}), texts, IntRef()}).args[2];
  EXPECT_EQ(got.TextAt(0) + got.TextAt(1) + got.TextAt(2), "a~$...xyz");
  EXPECT_EQ(server.TakeStandardError(), "");
}

TEST(Call, TracesWhatAModelDefinitionHoldsInVain) {
  tool::ScratchDirectory scratch;
  const std::string path = scratch.Path() + "/mdf";
  tool::WriteFile(path, "[all]\nTitle=no\nTEXT=x\nREV=1\nGRUPPE=123456789\nGRUPPE=123456789\nx=%d\n");
  const std::vector<Arg> args = {Text(path), Text("all"), Text("mod,x,,Mdf_a,%s,Mdf_,b"), OutText(300), IntRef()};
  Server server(TestServer());
  server.Call("mdf_Get", args);
  server.Call("dll_Debug", {Int(1)});
  EXPECT_EQ(server.TakeStandardError(), "return code is 0\n");
  server.Call("mdf_Get", args);
  EXPECT_EQ(server.TakeStandardError(),
            "\ncalling mdf_Get, argc = 5\nmdf_Get: section = all\n"
            "mdf_Get: do_filter: ignored: x\nmdf_Get: do_filter: ignored: \nmdf_Get: do_filter: ignored: a\n"
            "mdf_Get: do_filter: ignored: %s\nmdf_Get: do_read: ignored: TITLE (no)\n"
            "mdf_Get: GRUPPE exceeds limit of 18 (len = 19)\nmdf_Get: do_read: ignored: X (%d)\nreturn code is 0\n");
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
  EXPECT_EQ(server.Call("dll_Revision", {OutText(9)}).args[0].TextAt(), "3.10")
      << "a call that does not fit is not placed";
}

}  // namespace
}  // namespace vorlix::host
