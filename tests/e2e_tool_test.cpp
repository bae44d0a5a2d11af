// The program `vorlix` as a shell sees it: what it prints where, and its exit status.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::tool {
namespace {

/// A command for `sh` in a directory of its own, where $V is the program, s.vx the script, and the language C.
struct Case {
  std::string command;
  int status;
  const char* out;  // a pattern, as the next one
  const char* error;
  std::string script = "";
};

/// A server that never answers.
constexpr const char* MUTE =
    "printf '#!/bin/sh\\nexec sleep 0.4' >mute; chmod +x mute; $V --server ./mute --timeout 0.1 ";

void Check(const Case& wanted) {
  SCOPED_TRACE(wanted.command + '\n' + wanted.script);
  ScratchDirectory scratch;
  const std::string& directory = scratch.Path();
  WriteFile(directory + "/command", wanted.command);
  WriteFile(directory + "/s.vx", wanted.script);
  const std::string shell = "cd " + directory +
                            " && unset ZENDLANG LC_COLLATE LC_CTYPE; LANG=C V='" VORLIX_TOOL "' SERVER='" VORLIX_SERVER
                            "' EXAMPLES='" VORLIX_EXAMPLES "' sh ./command >out 2>error";
  const int ended = std::system(shell.c_str());
  EXPECT_TRUE(WIFEXITED(ended) && WEXITSTATUS(ended) == wanted.status) << ended;
  const std::string printed = ReadFile(directory + "/out");
  const std::string failure = ReadFile(directory + "/error");
  EXPECT_TRUE(Matches(printed, wanted.out)) << "printed\n" << printed << "not\n" << wanted.out;
  EXPECT_TRUE(Matches(failure, wanted.error)) << "on standard error\n" << failure << "not\n" << wanted.error;
}

TEST(Tool, Calls) {
  const Case cases[] = {
      {"$V call dll_Revision", 0, "code = 0\nstr = \"3.10\"\n", ""},
      {"$V call dll_Revision [3]", 1, "code = 18\nstr = \"\"\n", ""},
      {"$V call u_basename [3]", 0, "code = 0\nBaseObj = \"[3]\"\n", ""},
      {"$V call u_udata [3]", 0, "code = 0\nUdata = \"[3]\"\n*", ""},
      {"$V call u_basename ab [1]", 1, "code = 18\nBaseObj = \"\"\n", ""},
      {"$V call l_SeekCurr -1", 1, "code = 2002\neol = 0\n", ""},
      {"$V call u_basename 'a.B$ \t'", 0, "code = 0\nBaseObj = \"b\\$ \\t\"\n", ""},
      {"$V call --json u_udata 'feld:N,1,0,0,>-0.5,1e20,;'", 0,
       R"({"function":"u_udata","code":0,"values":{"Udata":"feld:n,1,0,0,>-0.5,1e20,;","Feldtyp":"N",)"
       R"("Fld_length":1,"Fld_nk":0,"Numtyp":0,"Mussfeld":0,"Numvon":-0.5,"Numbis":1e+20,"rc":1}})"
       "\n",
       ""},
      {"$V --lang C call --json u_basename \"$(printf 'M\\344rz')\"", 0,
       "*\"values\":{\"BaseObj\":{\"hex\":\"6de4727a\"}}}\n", ""},
      // The option comes before all variables of the environment.
      {"export ZENDLANG=C LC_CTYPE=C; $V --lang de_DE call u_basename \"$(printf '\\304')\"", 0,
       "*BaseObj = \"\\xe4\"\n", ""},
      {"$V call --lang nosuch dll_Compiled", 0, "code = 0\n*", "*Warning!*LANG=nosuch\n*"},
      {"$V call --trace 1 dll_Revision", 0, "code = 0\n*",
       "return code is 0\n\ncalling dll_Revision, argc = 1\nreturn code is 0\n"},
      {"$V --flags D3 call dll_SetLocale LANG=C", 0, "code = 0\n", "D3: BuildLocale(): file *\n"},
      // Wrong usage.
      {"$V call l_Add 1", 2, "",
       "vorlix: l_Add takes 2 arguments, not 1\n  expected: l_Add hdl:integer data:text\n"
       "  example:  vorlix call l_Add 1 Meier\n"},
      {"$V call l_Add x y", 2, "", "vorlix: hdl: \"x\" is not a number\n  expected: *\n  example: *\n"},
      {"$V call dll_Revision --json", 2, "",
       "*\nOptions stand before the function; all words behind it are arguments.\n"},
      {"$V call l_add 1 x", 2, "", "vorlix: there is no function 'l_add'; did you mean l_Add?\n"},
      {"$V call", 2, "", "*NAME*\n"},
      {"$V", 2, "", "*subcommand*\n"},
      {"$V --timeout 0 call dll_Revision", 2, "", "*--timeout*\n"},
      {"$V --timeout nan call dll_Revision", 2, "", "*--timeout*\n"},
      {"$V run nosuch.vx", 2, "", "vorlix: cannot read nosuch.vx: No such file or directory\n"},
      {"$V functions l_add", 2, "", "*did you mean l_Add?\n"},
      // No server that answers.
      {"$V --server ./nosuch call dll_Revision", 3, "", "vorlix: cannot start ./nosuch: No such file or directory\n"},
      {"$V --server /etc/passwd call dll_Revision", 3, "", "vorlix: cannot start /etc/passwd: Permission denied\n"},
      {std::string(MUTE) + "call dll_Revision", 4, "", "vorlix: *\n"},
      {"$V --server /bin/false call dll_Revision", 5, "", "vorlix: *exit status 1\n"},
      // The server by itself.
      {"$SERVER", 2, "", "*vorlix.dll: Illegal call\n"},
      {"$SERVER 1 2", 2, "", "*vorlix.dll: Illegal call\n"},
      {"$SERVER -1", 2, "", "shmat: Invalid argument\n"},
      {"$SERVER x", 2, "", "shmat: Invalid argument\n"},
      // What needs no server.
      {"$V functions >/dev/full", 1, "", "vorlix: cannot write to standard output\n"},
      {"$V --version", 0, "vorlix ?.*\n", ""},
      {"$V functions l_Add", 0,
       "l_Add - Appends an element at the end; the cursor stays.\n\n  hdl           integer  in\n"
       "  data          text     in\n\nExample: vorlix call l_Add 1 Meier\n",
       ""},
      {"$V functions", 0, "*\n\nLists of texts\n  l_CreateList *\n", ""},
  };
  for (const Case& wanted : cases) Check(wanted);
}

TEST(Tool, RunsScripts) {
  const Case cases[] = {
      {"$V run s.vx", 0, "v_Set a \"b c\" => 0\nv_Get a => 0 value=\"b c\"\n", "",
       "v_Set a \"b c\" => 0\nv_Get a => value~b*\n"},
      {"$V run -q - <s.vx", 0, "a\\x1b \\xff b\n\n", "", "# Only this:\nl_DeleteAll\necho \"a\\x1b \\xff\" b\necho\n"},
      {"$V run s.vx", 0, "  len = \"3\"\n  sum.2 = 4\n=> x.sum.2=4\n", "",
       "xbuf x Len=3 Sum.2:N=4\nshow $x\n=> x.sum.2=4"},
      {"$V run s.vx", 0, "l_CreateList 1 => 0 hdl=1\n  # $count\nl_CreateList 2 => 0 hdl=2\n=> *\n", "",
       "each l_CreateList $round until hdl=2\n # $count\nend\n=> count=1 round=2\n"},
      {"mkdir t; TMPDIR=t $V run s.vx; ls t", 0, "a\nb\n", "", "write $tmp/f \"a\\nb\"\nread x $tmp/f\necho $x"},
      {"mkdir d; mv s.vx d; echo text >d/f; $V run d/s.vx", 0, "text\n\n", "", "read x $here/f\necho $x\n"},
      // What is printed is a script that expects what came back.
      {"$V run $EXAMPLES/02-variables.vx >t; $V run t >u; cmp t u", 0, "", ""},
      // Faults of a run.
      {"$V run s.vx", 1, "dll_Revision => *\n", "vorlix: s.vx:1: str is 3.10, not 3.11\n", "dll_Revision => str=3.11"},
      {"$V run -q - <s.vx", 1, "", "vorlix: -:2: l_GetCurr answered 2002\n", "\nl_GetCurr 1 => data=\"\""},
      {"$V run -q s.vx", 1, "", "vorlix: s.vx:1: l_SeekNext answered 2002\n", "each l_SeekNext 1 until eol=1\nend"},
      {"$V run -q s.vx", 1, "", "vorlix: s.vx:2: hdl is 2, not 1\n", "each l_CreateList x until hdl=9\n=> hdl=1\nend"},
      {"$V run s.vx", 2, "", "vorlix: s.vx:2: hdl: \"a\" is not a number\n", "set x a\nl_GetCurr $x"},
      {"$V run s.vx", 1, "", "vorlix: s.vx:1: cannot read nosuch: No such file or directory\n", "read x nosuch"},
      {"$V run s.vx", 1, "", "vorlix: s.vx:1: cannot read .: Is a directory\n", "read x ."},
      {"$V run s.vx", 1, "", "vorlix: s.vx:1: cannot write no/f: No such file or directory\n", "write no/f x"},
      {"$V run s.vx", 2, "", "vorlix: s.vx:1: *\n", "v_Set a \"b\"[99000000]"},
      // A fault anywhere in a script ends it before its first call.
      {"$V run s.vx", 2, "", "vorlix: s.vx:2: there is no function*\n", "l_DeleteAll\nl_deleteAll"},
      {"$V --server /bin/true run s.vx", 5, "*", "vorlix: s.vx:3: *exit status 0\n", "\n\nl_DeleteAll"},
      {std::string(MUTE) + "run s.vx", 4, "", "vorlix: s.vx:1: *\n", "l_DeleteAll"},
  };
  for (const Case& wanted : cases) Check(wanted);
}

}  // namespace
}  // namespace vorlix::tool
