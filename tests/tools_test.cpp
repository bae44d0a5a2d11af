#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/decimal.h"
#include "host/xbuf.h"
#include "tools/failure.h"
#include "tools/items.h"
#include "tools/quoting.h"
#include "tools/scope.h"
#include "tools/script.h"
#include "tools/signature.h"
#include "tools/values.h"

namespace vorlix::tool {
namespace {

/// What `work` gives, or the message of its failure.
template <class Work>
std::string Outcome(Work work) {
  try {
    return work();
  } catch (const ToolError& error) {
    return error.what();
  }
}

/// Words with "|" between them, names in "<>" and rooms in "[]".
std::string Describe(const std::vector<Word>& words) {
  std::string text;
  for (const Word& word : words) {
    if (&word != words.data()) text += '|';
    for (const Piece& piece : word.pieces) text += piece.is_name ? '<' + piece.text + '>' : piece.text;
    if (word.room) text += '[' + std::to_string(*word.room) + ']';
  }
  return text;
}

TEST(Words, AreSplitAsWritten) {
  const struct {
    const char* line;
    std::string words;
  } rows[] = {
      {"", ""},
      {" \t# comment", ""},
      {"a  b\tc\r", "a|b|c"},
      {"a#b # c", "a#b"},
      {R"("a b" "" "#")", "a b||#"},
      {R"(x"y z"w)", "xy zw"},
      {R"(\" \\ \$ \# \  \n\r\t "\x41\xfF")", "\"|\\|$|#| |\n\r\t|A\xff"},
      {R"("\x00")", std::string(1, '\0')},
      {"$a ${a}b $a.b.c $_1.len \"$x.\" $x.sum.3.4", "<a>|<a>b|<a.b>.c|<_1.len>|<x>.|<x.sum.3>.4"},
      {"${x.len}gth", "<x.len>gth"},
      {R"([40] "ab"[5] ""[0] ab[5] "ab"[5]c [A-Z]* [12]* [])", "[40]|ab[5]|[0]|ab[5]|ab[5]c|[A-Z]*|[12]*|[]"},
      {"m\xe4rz \xc3\xa4", "m\xe4rz|\xc3\xa4"},
      // Faults.
      {"\"a", "the quote is not closed"},
      {"a\\", "an escape is cut off"},
      {R"(\q)", R"(\q is no escape)"},
      {R"(\0)", R"(\0 is no escape)"},
      {R"(\x4)", "\\x needs two hexadecimal digits"},
      {R"("\x4g")", "\\x needs two hexadecimal digits"},
      {"$", "a $ stands before a name; write \\$ for the character"},
      {"$5", "a $ stands before a name; write \\$ for the character"},
      {"${a", "a ${ is not closed"},
      {"[99999999999]", "the room is too large"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Outcome([&] { return Describe(SplitWords(row.line)); }), row.words) << row.line;
}

TEST(Quoting, ShowsBytes) {
  const struct {
    std::string bytes, quoted, word, terminal;
  } rows[] = {
      {"", R"("")", R"("")", ""},
      {"a-1.5%", R"("a-1.5%")", "a-1.5%", "a-1.5%"},
      {"a b", R"("a b")", R"("a b")", "a b"},
      {"=>", R"("=>")", R"("=>")", "=>"},
      {"until", R"("until")", R"("until")", "until"},
      {"[5]", R"("[5]")", R"("[5]")", "[5]"},
      {"\"$\\", R"("\"\$\\")", R"("\"\$\\")", "\"$\\"},
      {"\n\t\x1b", R"("\n\t\x1b")", R"("\n\t\x1b")", "\n\t\\x1b"},
      {"\xc3\xa4\xe2\x82\xac", "\"\xc3\xa4\xe2\x82\xac\"", "\"\xc3\xa4\xe2\x82\xac\"", "\xc3\xa4\xe2\x82\xac"},
      {"m\xe4rz", R"("m\xe4rz")", R"("m\xe4rz")", R"(m\xe4rz)"},
      {"\xc2\x9b", R"("\xc2\x9b")", R"("\xc2\x9b")", R"(\xc2\x9b)"},                  // a control character
      {"\xc0\xaf", R"("\xc0\xaf")", R"("\xc0\xaf")", R"(\xc0\xaf)"},                  // overlong
      {"\xed\xa0\x80", R"("\xed\xa0\x80")", R"("\xed\xa0\x80")", R"(\xed\xa0\x80)"},  // a surrogate
      {"\xf4\x90\x80\x80", R"("\xf4\x90\x80\x80")", R"("\xf4\x90\x80\x80")", R"(\xf4\x90\x80\x80)"},  // too high
      {"\xe2\x82", R"("\xe2\x82")", R"("\xe2\x82")", R"(\xe2\x82)"},                                  // cut off
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Quote(row.bytes), row.quoted);
    EXPECT_EQ(QuoteWord(row.bytes), row.word);
    EXPECT_EQ(Printable(row.bytes), row.terminal) << row.quoted;
  }
}

TEST(Quoting, ReadsBackAsTheSameBytes) {
  for (int pair = 0; pair < 0x10000; ++pair) {
    const std::string bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
    const std::vector<Word> words = SplitWords(QuoteWord(bytes));
    ASSERT_TRUE(words.size() == 1 && words[0].pieces == std::vector<Piece>{{bytes}} && !words[0].room) << pair;
  }
}

/// Statements in one line each: kind, line, function, words, expectations, conditions of the loop and its body.
std::string Describe(const std::vector<Statement>& statements) {
  const auto conditions = [](const std::vector<Condition>& all) {
    std::string text;
    for (const Condition& one : all)
      text += ' ' + one.address + std::string(OperatorText(one.comparison)) + Describe(std::vector<Word>{one.expected});
    return text;
  };
  std::string text;
  for (const Statement& statement : statements) {
    if (statement.kind == Kind::Comment) continue;
    text += std::to_string(statement.line) + ':';
    if (statement.function != nullptr) text += std::string(statement.function->name) + ' ';
    text += Describe(statement.words) + (statement.expected.empty() ? "" : " =>" + conditions(statement.expected));
    if (statement.kind == Kind::Each)
      text += " until" + conditions(statement.until) + " {" + Describe(statement.body) + '}';
    text += ';';
  }
  return text;
}

TEST(Script, IsParsed) {
  const struct {
    const char* text;
    const char* statements;
  } rows[] = {
      {"", ""},
      {"# only\n\n  # comments", ""},
      {"l_DeleteAll", "1:l_DeleteAll ;"},
      {"\r\nl_Add 1 x\r\n", "2:l_Add 1|x;"},
      {"l_Add 1 => 2002", "s.vx:1: l_Add takes 2 arguments, not 1"},
      {"l_GetFirst 1 => 0 data=\"a = b\" eol!=$x data~a*", "1:l_GetFirst 1 => code=0 data=a = b eol!=<x> data~a*;"},
      {"l_GetFirst 1 [5] 7 => code~*", "1:l_GetFirst 1|[5]|7 => code~*;"},
      {"dict_Get D n => xbuf.len=3", "1:dict_Get D|n => xbuf.len=3;"},
      {"=> a.b.3=\"=>\"", "1: => a.b.3==>;"},
      {"set x \"\"", "1:x|;"},
      {"xbuf x Len=3 Sum.3:N=$y \nshow $x", "1:x|Len=3|Sum.3:N=<y>;2:<x>;"},
      {"each l_GetNext 1 => 0 \nend", "s.vx:1: write it as: each FUNCTION ARGUMENT... until EXPECTATION..."},
      {"each l_GetNext 1 until eol=1\n echo a\n each l_Del 1 until eol=1\n end\nend\necho b",
       "1:l_GetNext 1 until eol=1 {2:a;3:l_Del 1 until eol=1 {};};6:b;"},
      // Faults.
      {"l_GetFirst 1 =>", "s.vx:1: nothing is expected behind '=>'"},
      {"\n\nl_add 1 x", "s.vx:3: there is no function 'l_add'; did you mean l_Add?"},
      {"say hello", "s.vx:1: there is no function 'say'"},
      {"$x 1", "s.vx:1: a line begins with a function or a statement"},
      {"dll_Revision [5] 7", "s.vx:1: dll_Revision takes 0 to 1 argument, not 2"},
      {"v_Get a => name=a", "s.vx:1: 'name' is not returned: v_Get name:text -> value:text"},
      {"v_Set a b => \"0\"", "s.vx:1: an expectation reads NAME=TEXT, NAME!=TEXT or NAME~PATTERN, or is a result code"},
      {"=> 5x=3", "s.vx:1: an expectation reads NAME=TEXT, NAME!=TEXT or NAME~PATTERN, or is a result code"},
      {"set x", "s.vx:1: write it as: set NAME TEXT"},
      {"set 5 x", "s.vx:1: write it as: set NAME TEXT"},
      {"set \"x\" y", "s.vx:1: write it as: set NAME TEXT"},
      {"fetch", "s.vx:1: write it as: fetch NAME [ROOM]"},
      {"fetch x 40", "s.vx:1: write it as: fetch NAME [ROOM]"},
      {"set x \"y\"[5]", "s.vx:1: write it as: set NAME TEXT"},
      {"=> x=\"y\"[5]", "s.vx:1: an expectation reads NAME=TEXT, NAME!=TEXT or NAME~PATTERN, or is a result code"},
      {"xbuf x Len", "s.vx:1: an item reads NAME=TEXT, NAME.INDEX=TEXT, NAME:N=NUMBER or NAME.INDEX:N=NUMBER"},
      {"xbuf x Len.a=3", "s.vx:1: an item reads NAME=TEXT, NAME.INDEX=TEXT, NAME:N=NUMBER or NAME.INDEX:N=NUMBER"},
      {"xbuf x Len.4294967296=3",
       "s.vx:1: an item reads NAME=TEXT, NAME.INDEX=TEXT, NAME:N=NUMBER or NAME.INDEX:N=NUMBER"},
      {"each l_GetNext 1 until", "s.vx:1: nothing is expected behind 'until'"},
      {"each l_GetNext 1 until data2=1\nend",
       "s.vx:1: 'data2' is not returned: l_GetNext hdl:integer -> data:text eol:integer"},
      {"echo a\neach l_GetNext 1 until eol=1\necho b", "s.vx:2: the loop has no 'end'"},
      {"each l_GetNext 1 until eol=1\nend 1", "s.vx:2: 'end' stands alone"},
      {"end", "s.vx:1: 'end' without a loop"},
      {"echo \"a", "s.vx:1: the quote is not closed"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Outcome([&] { return Describe(ParseScript(row.text, "s.vx")); }), row.statements) << row.text;
  std::string loops;
  for (int k = 0; k < 1000; ++k) loops += "each l_Del 1 until eol=1\n";
  EXPECT_EQ(Outcome([&] { return Describe(ParseScript(loops, "s.vx")); }),
            "s.vx:101: loops lie too deep in each other");
}

TEST(Scope, FindsValuesAndItems) {
  Scope scope;
  scope.Set("x", "text");
  scope.Set("xbuf", host::WriteXbuf({{'X', "Dict_len", 0, "4$0"}, {'N', "sum", 0, "1"}, {'N', "sum", 3, "33"}}));
  const struct {
    const char* line;
    const char* text;
  } rows[] = {
      {"a${x}b", "atextb"},
      {"$xbuf.dict_len", "4$0"},
      {"$xbuf.LEN", "4$0"},
      {"$xbuf.sum", "1"},
      {"$xbuf.sum.3", "33"},
      {"$xbuf.sum.4", "the XBUF has no item 'sum.4'"},
      {"$xbuf.sum.4294967296", "the XBUF has no item 'sum.4294967296'"},
      {"$xbuf.dict", "the XBUF has no item 'dict'"},
      {"$y", "there is no value 'y' yet"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Outcome([&] { return scope.Expand(SplitWords(row.line).at(0)); }), row.text) << row.line;
  EXPECT_EQ(ListItems(scope.Find("xbuf")), "  dict_len = \"4\\$0\"\n  sum = 1\n  sum.3 = 33\n");
  EXPECT_TRUE(IsXbuf(scope.Find("xbuf")));
  for (const char* const other : {"", "$", "text", "X$", "Xa~0~1~b$ "}) EXPECT_FALSE(IsXbuf(other)) << other;
}

TEST(Scope, MatchesPatterns) {
  const struct {
    std::string text;
    const char* pattern;
    bool matches;
  } rows[] = {
      {"", "", true},           {"", "*", true},       {"", "?", false},           {"abc", "abc", true},
      {"abc", "ab", false},     {"abc", "a?c", true},  {"abc", "*c", true},        {"abc", "*b", false},
      {"aXbXc", "a*X*c", true}, {"aab", "*ab", true},  {"abcabd", "*ab?", true},   {"abc", "a**", true},
      {"a*c", "a*c", true},     {"ab", "a?*?", false}, {{"a\0b", 3}, "a?b", true}, {"\nx\n", "*x*", true},
  };
  for (const auto& row : rows) EXPECT_EQ(Matches(row.text, row.pattern), row.matches) << row.text << ' ' << row.pattern;
}

/// Arguments as class letter, "&" for by reference, value, and capacity of texts.
std::string Describe(const std::vector<host::Arg>& args) {
  std::string text;
  for (const host::Arg& arg : args) {
    if (!text.empty()) text += ' ';
    if (arg.by_ref) text += '&';
    if (arg.Class() == HOST_INTEGER) text += std::to_string(arg.IntAt());
    if (arg.Class() == HOST_REAL) text += 'R' + host::FormatDecimal(arg.RealAt());
    if (arg.Class() == HOST_STRING) text += Quote(arg.TextAt()) + std::to_string(arg.capacity);
  }
  return text;
}

std::vector<Given> GivenOf(std::string_view line) {
  std::vector<Given> given;
  for (const Word& word : SplitWords(line)) given.push_back({Scope().Expand(word), word.room});
  return given;
}

TEST(Values, BecomeArguments) {
  const struct {
    const char* function;
    const char* words;
    const char* args;
  } rows[] = {
      {"l_CreateList", "a", R"(&0 "a"1)"},
      {"l_CreateList", "7 a", R"(&7 "a"1)"},
      {"l_GetFirst", "-1", R"(-1 &""32000 &0)"},
      {"l_GetFirst", "1 [5]", R"(1 &""5 &0)"},
      {"l_GetFirst", "1 \"ab\"[5] 9", R"(1 &"ab"5 &9)"},
      {"l_Add", "1 \"ab\"[9]", R"(1 "ab"9)"},
      {"u_udata", "ab", R"(&"ab"32000 &""32000 &0 &0 &0 &0 &R0 &R0 &0)"},
      {"fmt_Num", "-.5 10 2 R", R"(R-0.5 10 2 "R"1 &""32000)"},
      {"l_SeekCurr", "2147483648", "R2147483648 &0"},
      {"l_SeekCurr", "1.5", "R1.5 &0"},
      {"l_DeleteList", "1", "&1"},
      // Faults.
      {"l_DeleteList", "2147483648", R"(hdl: "2147483648" is not a whole number of 32 bits)"},
      {"l_SeekCurr", "one", R"(hdl: "one" is not a number)"},
      {"l_SeekCurr", "\"\"", R"(hdl: "" is not a number)"},
      {"l_SeekCurr", "\"1\"[5]", "hdl is a number and has no room"},
      {"l_GetFirst", "1 ab", "data is only returned; it takes a room, such as [40]"},
      {"l_GetFirst", "", "l_GetFirst takes 1 to 3 arguments, not 0"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Outcome([&] { return Describe(MakeArguments(*FindFunction(row.function), GivenOf(row.words))); }),
              row.args)
        << row.function << ' ' << row.words;
}

TEST(Signature, HasAnExampleForEveryFunction) {
  for (const FunctionInfo& function : FUNCTIONS) {
    const std::vector<Given> words = GivenOf(Example(function));
    ASSERT_EQ(words.at(0).text, function.name);
    EXPECT_NO_THROW(MakeArguments(function, std::span(words).subspan(1))) << Example(function);
  }
}

}  // namespace
}  // namespace vorlix::tool
