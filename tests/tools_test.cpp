#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/failure.h"
#include "tools/items.h"
#include "tools/player.h"
#include "tools/script.h"

namespace vorlix::tool {
namespace {

// Plays a script against a server that gives back what it is given.
void Play(const std::string& script) {
  const auto echo = [](std::string_view, const std::vector<host::Arg>& args) { return host::Result{0, args}; };
  Player({.place = echo}, "s.vx", {.quiet = true}).Play(ParseScript(script, "s.vx"));
}

// What a script that is right does is for the call scripts to show.
TEST(Script, IsRefusedForItsFirstFault) {
  const std::string condition = "an expectation reads NAME=TEXT, NAME!=TEXT or NAME~PATTERN, or is a result code";
  const std::string item = "an item reads NAME=TEXT, NAME.INDEX=TEXT, NAME:N=NUMBER or NAME.INDEX:N=NUMBER";
  std::string loops;
  for (int k = 0; k < 100; ++k) loops += "each l_Del 1 until eol=1\n";
  const std::pair<std::string, std::string> rows[] = {
      // Words.
      {"echo \"a", "1: the quote is not closed"},
      {"echo a\\", "1: an escape is cut off"},
      {R"(echo \q)", R"(1: \q is no escape)"},
      {R"(echo \0)", R"(1: \0 is no escape)"},
      {R"(echo \x4)", "1: \\x needs two hexadecimal digits"},
      {R"(echo "\x4g")", "1: \\x needs two hexadecimal digits"},
      {"echo $5", "1: the script was given no argument 5"},
      {"echo ${a", "1: a ${ is not closed"},
      {"echo [99999999999]", "1: the room is too large"},
      // Statements.
      {"l_Add 1 => 2002", "1: l_Add takes 2 arguments, not 1"},
      {"l_GetFirst 1 =>", "1: nothing is expected behind '=>'"},
      {"\r\n \t# c\nl_add 1 x\nsay", "3: there is no function 'l_add'; did you mean l_Add?"},
      {"say\thello\r", "1: there is no function 'say'; vorlix functions lists all"},
      {"$x 1", "1: a line begins with a function or a statement"},
      {"dll_Revision [5] 7", "1: dll_Revision takes 0 to 1 argument, not 2"},
      {"v_Get a => name=a", "1: 'name' is not returned: v_Get name:text -> value:text"},
      {"v_Set a b => \"0\"", "1: " + condition},
      {"v_Set a b => 99999999999", "1: " + condition},
      {"=> 5x=3", "1: " + condition},
      {"=> x=\"y\"[5]", "1: " + condition},
      {"set x", "1: write it as: set NAME TEXT"},
      {"set 5 x", "1: write it as: set NAME TEXT"},
      {"set \"x\" y", "1: write it as: set NAME TEXT"},
      {"set x \"y\"[5]", "1: write it as: set NAME TEXT"},
      {"fetch x 40", "1: write it as: fetch NAME, or fetch NAME [32000] for a room"},
      {"xbuf x Len", "1: " + item},
      {"xbuf x Len.a=3", "1: " + item},
      {"xbuf x Len.2147483648=3", "1: " + item},
      {"xbuf x _Len=3", "1: " + item},
      {"each l_Del 1 => 0\nend", "1: write it as: each FUNCTION ARGUMENT... until EXPECTATION..."},
      {"each l_Del 1 until eof=1\nend", "1: 'eof' is not returned: l_Del hdl:integer -> eol:integer"},
      {"echo a\neach l_Del 1 until eol=1\necho b", "2: the loop has no 'end'"},
      {"each l_Del 1 until eol=1\nend 1", "2: 'end' stands alone"},
      {"end\r\n", "1: 'end' without a loop"},
      {loops, "100: the loop has no 'end'"},
      {loops + loops, "101: loops lie too deep in each other"},
      // Values.
      {"set x $y", "1: there is no value 'y' yet"},
      {"xbuf x dict_sum:N=1\n=> x.sum=1 x.sum.4=1", "2: the XBUF has no item 'sum.4'"},
      {"xbuf x dict_sum:N=1\n=> x.SUM.4294967296=1", "2: the XBUF has no item 'SUM.4294967296'"},
      {"xbuf x dict_sum:N=1\n=> x.dict=1", "2: the XBUF has no item 'dict'"},
      {"set x text\n=> x.dict=1", "2: \"text\" is no XBUF: bad type letter, name or element index at offset 0"},
      {"l_DeleteList 2147483648", R"(1: hdl: "2147483648" is not a whole number of 32 bits)"},
      {"l_SeekCurr one", R"(1: hdl: "one" is not a number)"},
      {"l_SeekCurr \"1\"[5]", "1: hdl is a number and has no room"},
      {"l_GetFirst 1 ab", "1: data is only returned; it takes a room, such as [40]"},
      // Expectations.
      {"l_Get 1 2 \"a\"[5] 3 => data=a eol!=4 data~* eol=4", "1: eol is 3, not 4"},
      {"l_Get 1 2 \"a\"[5] 3 => data!=a", "1: data is a, which it should not be"},
      {"set x abc\n=> x~ab", "2: x is abc, which is not like \"ab\""},
      {"set x \"\"\n=> x~?", "2: x is \"\", which is not like \"?\""},
      {"set x abc\n=> x~ab*?c", "2: x is abc, which is not like \"ab*?c\""},
      {"set x abc\n=> x~*b", "2: x is abc, which is not like \"*b\""},
      {"l_Get 1 2 => 18", "1: code is 0, not 18"},
      {"set x 7\neach l_Get 1 2 \"a\"[5] $x until eol=1 => eol=7\nset x 8\nend", "2: eol is 8, not 7"},
  };
  for (const auto& [script, fault] : rows) {
    try {
      Play(script);
      ADD_FAILURE() << "played " << script;
    } catch (const ToolError& error) {
      const std::string said = error.what();
      EXPECT_EQ(said.substr(0, said.find("\n  expected: ")), "s.vx:" + fault) << script;
    }
  }
}

TEST(Items, AreListedOfWholeXbufsAlone) {
  EXPECT_TRUE(IsXbuf("Xa~0~1~b$"));
  for (const char* const other : {"", "$", "text", "X$", "Xa~0~1~b$ ", "Xa~0~1~b$ $"})
    EXPECT_FALSE(IsXbuf(other)) << other;
}

}  // namespace
}  // namespace vorlix::tool
