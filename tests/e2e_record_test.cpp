// What a server records of its calls, when its environment asks for it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "host/server.h"
#include "tests/support/server.h"
#include "tools/commands.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::host {
namespace {

namespace fs = std::filesystem;
using test::TestServer;

class Recorded : public testing::Test {
 protected:
  ServerOptions Options(const EnvironmentChanges& more = {}) {
    ServerOptions options = TestServer();
    options.environment.emplace_back("VORLIX_RECORD", Path());
    options.environment.insert(options.environment.end(), more.begin(), more.end());
    return options;
  }

  std::string Path() { return scratch_.Path() + "/r.vx"; }

  // The lines without head, times and comments of one line.
  std::string Lines() {
    std::string text = tool::ReadFile(Path());
    text = std::regex_replace(text, std::regex("  # [0-9:.]+, [0-9]+ us\n"), "\n");
    return text.substr(text.find("\nserver ") + 1);
  }

  void Plays() {
    const fs::path program = fs::path(VORLIX_TOOL);
    const std::string command = program.string() + " run " + Path() + " >" + scratch_.Path() + "/out 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << tool::ReadFile(scratch_.Path() + "/out");
  }

  tool::ScratchDirectory scratch_;
};

HostReal WithAZero(HostReal real) {
  real.digit_count = 3;  // as no host normalises it
  return real;
}

TEST_F(Recorded, SaysHowAHostSentItsArguments) {
  Arg wide = Text("Name");
  wide.capacity = 40;
  Arg narrow = ByRef(Text("Meier"));
  narrow.capacity = 3;
  const struct {
    const char* function;
    std::vector<Arg> args;
    const char* line;
  } rows[] = {
      {"v_Set", {Text("Name"), Text("Mei er\n\xe4$")}, "v_Set Name \"Mei er\\n\\xe4\\$\" => 0"},
      {"v_Get", {Text("Name"), TextRef("old", 40)}, "v_Get Name \"\"[40] => 0 value=\"Mei er\\n\\xe4\\$\""},
      {"v_Get", {Text("Name"), TextRef("old", 4)}, "v_Get Name \"old\"[4] => 18 value=\"old\""},
      {"v_Get", {wide, OutText(9)}, "v_Get \"Name\"[40] [9] => 0 value=\"Mei er\\n\\xe4\\$\""},
      {"v_Set", {ByRef(Text("a")), narrow}, "place v_Set &t:\"a\"[1] &t:\"Meier\"[3] => 0"},
      {"v_Get", {Text("a"), Text("xx")}, "place v_Get t:\"a\"[1] t:\"xx\"[2] => 18"},
      {"v_Set", {Texts({"b", "c"}), Text("\xc3\xa4")}, "place v_Set t:\"b\"[1] +\"c\" t:\"ä\"[2] => 0"},
      {"dict_Y2kMode", {Real("0.00")}, "place dict_Y2kMode r:0 => 0"},
      {"fmt_Num",
       {Int(7), Int(3), Int(0), Text(""), OutText(9)},
       "place fmt_Num i:7 i:3 i:0 t:\"\"[0] &t:\"\"[9] => 0 result=\"7\""},
      {"fmt_Num",
       {Real("-12.3456789012345"), Int(5), Int(1), Text(""), OutText(9)},
       "fmt_Num -12.3456789012345 5 1 \"\" [9] => 0 result=\"-12.3\""},
      {"fmt_Num",
       {Real(WithAZero(Real("1.5").RealAt())), Int(5), Int(1), Text(""), OutText(9)},
       "place fmt_Num r:0x010001030132000000000000 i:5 i:1 t:\"\"[0] &t:\"\"[9] => 0 result=\"1.5\""},
      {"v_Set", {Text("a")}, "place v_Set t:\"a\"[1] => 9"},
      {"v_Set", {Int(1), Text("a")}, "place v_Set i:1 t:\"a\"[1] => 8"},
      {"no such", {}, "place \"no such\" => 7"},
  };
  std::string expected = "server LANG=\"C\"\n";
  {
    Server server(Options());
    for (const auto& row : rows) {
      server.Call(row.function, row.args);
      expected += row.line + std::string("\n");
      EXPECT_EQ(Lines(), expected);
    }
  }
  EXPECT_EQ(Lines(), expected + "# the server was ended by SIGTERM\n");
  Plays();
}

TEST_F(Recorded, TellsOfCallsThatNoScriptCanSend) {
  Server server(Options());
  Block block = server.GetBlock();
  server.Call("v_Get", {Text("a"), OutText(4)});
  ArgDescriptor desc = block.LoadDescriptor(1);
  desc.host_class = 7;
  block.StoreDescriptor(1, desc);
  EXPECT_EQ(server.Ring(), 8);
  block.Store(0, block.MakeHeader(0));
  EXPECT_EQ(server.Ring(), 9);
  const std::string lines = Lines();
  EXPECT_NE(lines.find("# a call that no script can send: 3 descriptors"), std::string::npos) << lines;
  EXPECT_NE(lines.find("\n#   1: class 7, by reference 0, at "), std::string::npos) << lines;
  EXPECT_NE(lines.find("\n#   => 8\n"), std::string::npos) << lines;
  EXPECT_NE(lines.find(": 0 descriptors, the block has 1048576 bytes\n#   => 9\n"), std::string::npos) << lines;
  Plays();
}

TEST_F(Recorded, KeepsFilesAsTheyWereWhenTheyWereNamed) {
  const std::string ini = scratch_.Path() + "/a.ini";
  tool::WriteFile(ini, "[S]\nx=1\n");
  {
    Server server(Options());
    server.Call("ini_SetString", {Text("S"), Text("x"), Text("2"), Text(ini)});
    server.Call("ini_GetString", {Text("S"), Text("x"), Text(""), Text(ini), OutText(9)});
    tool::WriteFile(ini, "[S]\nx=333\n");  // by somebody else
    server.Call("ini_GetString", {Text("S"), Text("x"), Text(""), Text(ini), OutText(9)});
    server.Call("ini_GetString", {Text("S"), Text("x"), Text(""), Text(scratch_.Path()), OutText(9)});
  }
  fs::remove(ini);
  const std::string lines = Lines();
  EXPECT_NE(lines.find("file \"" + ini + "\" \"[S]\\nx=1\\n\"\nini_SetString"), std::string::npos) << lines;
  EXPECT_EQ(lines.find("x=2"), std::string::npos) << "the server's own change is none that is told";
  EXPECT_NE(lines.find("\\nx=333\\n\"\nini_GetString"), std::string::npos) << lines;
  EXPECT_NE(lines.find("\" directory\nini_GetString"), std::string::npos) << lines;
  Plays();
  EXPECT_FALSE(fs::exists(ini)) << "playing touches no file of the recording";
}

TEST_F(Recorded, HasTracesInOneOrder) {
  Server server(Options({{"VORLIX_DEBUG", "1"}, {"VORLIX_FLAGS", "D1"}}));
  server.Call("dict_MapID", {Text("K\xe4"), OutText(9)});
  const std::string shown =
      "\ncalling dict_MapID, argc = 2\nD1: dict_MapID() failed: unknown dialog handle 'K\xe4'\n"
      "return code is 19\n";
  EXPECT_EQ(server.TakeStandardError(), shown);
  EXPECT_EQ(Lines(),
            "server LANG=\"C\"\ndict_MapID \"K\\xe4\" [9] => 19 id_p=\"\"\n#   calling dict_MapID, argc = 2\n"
            "#   D1: dict_MapID() failed: unknown dialog handle 'K\\xe4'\n#   return code is 19\n");
}

TEST_F(Recorded, TellsOfTheCallInWhichTheServerEnds) {
  for (const int signal : {SIGSEGV, SIGABRT, SIGTERM}) {
    fs::remove(Path());
    Server server(Options({{"VORLIX_FLAGS", "D1"}}));
    const HostReal invalid = {0, REAL_INVALID, 0, {}};
    // A number marked invalid ends the server by SIGABRT; the others come from outside.
    std::jthread killer([&, pid = server.Pid()] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      if (signal != SIGABRT) kill(pid, signal);
    });
    if (signal == SIGABRT) {
      EXPECT_THROW(server.Call("fmt_Num", {Real(invalid), Int(1), Int(1), Text(""), OutText(1)}), ServerError);
    }
    killer.join();
    server.End();
    const std::string lines = Lines();
    const std::string end =
        signal == SIGTERM ? "# the server was ended by SIGTERM\n"
                          : "# the server was ended here by signal " + std::string(signal == SIGSEGV ? "11\n" : "06\n");
    EXPECT_TRUE(lines.ends_with(end)) << lines;
    if (signal == SIGABRT) {
      EXPECT_NE(lines.find("\nplace fmt_Num r:0x0000ff00"), std::string::npos) << lines;
    }
  }
}

TEST_F(Recorded, IsANewFileOrNone) {
  const std::string other = scratch_.Path() + "/other";
  const auto refused = [&](const char* why) {
    Server server(Options());
    EXPECT_EQ(server.Call("v_Set", {Text("a"), Text("b")}).code, 0);
    const std::string told = server.TakeStandardError();
    EXPECT_TRUE(told.starts_with("vorlix.dll: cannot record in " + Path() + ": " + why)) << told;
    EXPECT_EQ(told.find('\n') + 1, told.size()) << "said once";
  };
  fs::create_symlink(other, Path());
  refused("Too many levels of symbolic links\n");
  EXPECT_FALSE(fs::exists(other));
  fs::remove(Path());
  tool::WriteFile(Path(), "a text of somebody's\n");
  refused("File exists; ");
  EXPECT_EQ(tool::ReadFile(Path()), "a text of somebody's\n");
  fs::remove(Path());
  ASSERT_EQ(mkfifo(Path().c_str(), 0600), 0);
  refused("No such device or address\n");
  fs::remove(Path());

  tool::WriteFile(Path(), "");  // as mktemp makes it
  chmod(Path().c_str(), 0644);
  Server server(Options());
  server.Call("v_Set", {Text("a"), Text("b")});
  EXPECT_EQ(Lines(), "server LANG=\"C\"\nv_Set a b => 0\n");
  EXPECT_EQ(fs::status(Path()).permissions(), fs::perms::owner_read | fs::perms::owner_write);

  Server named(Options({{"VORLIX_RECORD", scratch_.Path() + "/%p-%%"}}));
  named.Call("v_Set", {Text("a"), Text("b")});
  EXPECT_TRUE(fs::exists(scratch_.Path() + '/' + std::to_string(named.Pid()) + "-%"));
}

TEST_F(Recorded, EndsAtItsLimit) {
  Server server(Options({{"VORLIX_RECORD_MAX", "1K"}}));
  for (int k = 0; k < 5; ++k) EXPECT_EQ(server.Call("v_Set", {Text("a"), Text(std::string(300, 'x'))}).code, 0);
  const std::string lines = Lines();
  EXPECT_TRUE(lines.ends_with("VORLIX_RECORD_MAX\n")) << lines;
  EXPECT_LE(fs::file_size(Path()), 1200U);
  Server wrong(Options({{"VORLIX_RECORD", "/"}, {"VORLIX_RECORD_MAX", "12x"}}));
  wrong.Call("v_Set", {Text("a"), Text("b")});
  EXPECT_EQ(wrong.TakeStandardError(),
            "vorlix.dll: VORLIX_RECORD_MAX=12x is no size such as 500000 or 64M\n"
            "vorlix.dll: cannot record in /: Is a directory\n");
}

}  // namespace
}  // namespace vorlix::host
