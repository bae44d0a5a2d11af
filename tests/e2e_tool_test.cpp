// The program `vorlix` as a shell sees it: what it prints where, and its exit status.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::tool {
namespace {

// A command for `sh` in a directory of its own, where $V is the program, s.vx the script, and the language C.
struct Case {
  std::string command;
  int status;
  std::string out;  // a pattern, as the next one
  std::string error;
  std::string script = "";
};

// Words as they are printed: bare where that is possible, with what a terminal cannot show as escapes. What is no
// UTF-8, or a control character, stands in the last two.
constexpr const char* WORDS =
    R"(=> x!="" x!=a-1.5% x!="a b" x!="=>" x!="until" x!="[5]" x!="\"\$\\" x!="\n\r\t\x1b\x7f\x00" x!="ä€")"
    R"( x!="m\xe4rz\xe2\x82" x!="\xc2\x9b\xc0\xaf\xe0\x80\xaf\xed\xa0\x80\xf4\x90\x80\x80\xf0\x8f\xbf\xbf\xe2\x82")"
    "\n";

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

TEST(Tool, LooksAtTheMachine) {
  const Case cases[] = {
      {"$V doctor", 0,
       "* server * answers, revision 3.10\n* round trip *\n* segments *\n* language * C (LANG), ANSI*\n*", ""},
      {"$V --server /none doctor --json", 1, "[\n*\"bad\"*\"subject\": \"server\"*/none*\"remedy\": \"See *]\n", ""},
      {"LANG=xx $V doctor", 1, "*bad * language * xx (LANG) is not installed: *\n * locale -a*", ""},
      {"VORLIX_RECORD=s.vx VORLIX_CLOCK=x $V doctor", 1, "*recording *s.vx is there already*VORLIX_CLOCK is x\n*", "*",
       "v_Set a b\n"},
      {"mkfifo f; $V shell <f >/dev/null & exec 3>f; sleep 0.3; $V ps; script -qec \"stty cols 40; $V ps\" "
       "/dev/null; $V ps --json; exec 3>&-; wait",
       0,
       "SERVER  HOST *vorlix (*) *C  * (16 MB)  *\nSERVER: *\nLANGUAGE: C\r\n*[*\"host_name\": "
       "\"vorlix\"*\"language\": \"C\"*",
       ""},
  };
  for (const Case& one : cases) Check(one);
}

TEST(Tool, ChecksFoldersAndProjects) {
  const Case cases[] = {
      {"mkdir -p d/e; cp $EXAMPLES/mistakes/name.dic d/e/B.DIC; cp $EXAMPLES/dict/muster.dic d/a.dic; $V check d", 1,
       "d/e/B.DIC:6:1: error VX201: *1 error, 0 warnings in 2 files\n", ""},
      {"mkdir d; $V check d; printf '[check]\nlanguage=xx_YY\n' >vorlix.ini; $V check $EXAMPLES/dict/muster.dic; $V "
       "check s.vx",
       2, "", "vorlix: there is no .dic and no .mdf file in d\nvorlix: this system has no locale 'xx_YY'; *"},
      // A week has the format of the language.
      {"printf '[check]\nlanguage=de_DE\n' >vorlix.ini; cp s.vx f.dic; $V show f.dic n --type 1,5; $V show --lang C "
       "f.dic n --type 1,5",
       1, "*Typed \"1,5\" *1.5*Typed \"1,5\" is refused*", "",
       "[catalog]\nA=B\n[a.n]\nPATH=n\nFTYP=N\nFLEN=9\nFPREC=2\nFVTYP=L\n"},
      {"mkfifo m; $V check --model m $EXAMPLES/dict/muster.dic", 2, "", "vorlix: a model: m is no regular file\n"},
  };
  for (const Case& one : cases) Check(one);
}

TEST(Tool, PacksRecordings) {
  const Case cases[] = {
      {"VORLIX_RECORD=r.vx $V run s.vx >/dev/null; $V bundle r.vx; $V bundle r.vx -o b; rm a.ini; $V run b; ls a.ini",
       2, "r.vx.tar.gz: 4 calls, 1 file\nb: 4 calls, 1 file\n*ini_GetString S x \"\" a.ini [32000] => 0 val=\"1\"\n*",
       "*a.ini*", "write a.ini \"[S]\\nx=1\\n\"\nini_GetString S x \"\" a.ini\nini_SetString S x 2 a.ini\n"},
      {"$V bundle s.vx; $V bundle none", 1, "", "vorlix: s.vx is no recording; *\nvorlix: cannot read none: *\n",
       "#\n"},
      {"echo '# Recorded by x' >r; touch r.tar.gz; $V bundle r", 1, "", "vorlix: r.tar.gz: File exists\n"},
      {"mkdir d; echo x >x; (cd d; tar czPf ../a ../x); $V run a; tar czf b x; $V run b; head -c 30 b >c; $V run c", 2,
       "", "vorlix: a: a name in it leads out of its directory\nvorlix: b holds no recording.vx\nvorlix: c: *\n"},
  };
  for (const Case& one : cases) Check(one);
}

TEST(Tool, Calls) {
  const Case cases[] = {
      {"$V call u_basename [3]", 0, "code = 0\nBaseObj = \"[3]\"\n", ""},
      {"$V call u_udata [3]", 0, "code = 0\nUdata = \"[3]\"\n*", ""},
      {"$V call u_basename ab [1]", 1, "code = 18 (a returned text has too little room)\nBaseObj = \"\"\n",
       "vorlix: give BaseObj more room, as [40000], *\n"},
      {"$V call l_SeekCurr -1", 1, "code = 2002 (no list has this handle)\neol = 0\n", ""},
      {"$V call dict_MapID KD", 1, "code = 19 (no dialog on the top level has this handle)\nid_p = \"\"\n",
       "vorlix: the server says:\n  D1: dict_MapID() failed: unknown dialog handle 'KD'\n"},
      {"$V call ini_Open nosuch ''", 0, "code = 0\nhdl = -2 (No such file or directory)\n",
       "vorlix: there is no file nosuch in /*\n"},
      {"$V call ini_SetString s e v no/f; $V call ini_SetString '' e ' v ;' f", 0, "*",
       "vorlix: no/f was not changed: No such file or directory\n"},
      {"cd $EXAMPLES/dict; $V call dict_Open K kundn.dic 1", 0, "*rc_p = -2*",
       "vorlix: there is no file kundn.dic; did you mean kunden.dic?\n"},
      {"cd $EXAMPLES/dict; $V call dict_OpenModel muster.dic K", 0, "*rc_p = -2*",
       "vorlix: there is no file K\n  muster.dic is one; expected: dict_OpenModel id:text *\n"},
      {"$V call --json u_udata 'feld:N,1,0,0,>-0.5,1e20,;'", 0,
       R"({"function":"u_udata","code":0,"values":{"Udata":"feld:*;",*"Numvon":-0.5,"Numbis":1e+20,"rc":1},"meanings":{"rc":"taken apart"}})"
       "\n",
       ""},
      {"$V --lang C call --json u_basename \"$(printf 'M\\344rz')\"", 0,
       "*\"values\":{\"BaseObj\":{\"hex\":\"6de4727a\"}}}\n", ""},
      // The option comes before all variables of the environment.
      {"export ZENDLANG=C LC_CTYPE=C; $V --lang de_DE call u_basename \"$(printf '\\304')\"", 0,
       "*BaseObj = \"\\xe4\"\n", ""},
      {"$V call --trace 1 dll_Revision", 0, "code = 0\n*",
       "return code is 0\n\ncalling dll_Revision, argc = 1\nreturn code is 0\n"},
      {"$V --flags D3 call dll_SetLocale LANG=C", 0, "code = 0\n", "D3: BuildLocale(): file *\n"},
      // Wrong usage.
      {"$V call l_Add x y", 2, "", "vorlix: hdl: \"x\" is not a number\n  expected: *\n  example: *\n"},
      {"$V call dll_Revision --json", 2, "",
       "*\nOptions stand before the function; all words behind it are arguments.\n"},
      {"$V -q run s.vx", 2, "", "vorlix: -q is an option of run and stands behind it\n"},
      {"$V call --tracee 1 dll_Revision; $V --tracee", 2, "",
       "vorlix: there is no option --tracee; *\nvorlix: there is no option --tracee; did you mean --trace?\n"},
      {"$V --flags d3 call dll_Revision", 2, "", "vorlix: --flags: categories are capital letters, *\n"},
      {"$V --color some call dll_Revision", 2, "", "vorlix: --color: some not in {auto,always,never}\n"},
      {"$V call", 2, "", "*NAME*\n"},
      {"$V </dev/null", 2, "", "vorlix: a command is required; vorlix help lists them\n"},
      {"$V dict_Gte", 2, "", "vorlix: there is no command 'dict_Gte'; did you mean vorlix call dict_Get?\n"},
      {"$V --lang xx_YY call dll_Revision", 2, "", "vorlix: this system has no locale 'xx_YY'; it has *de_DE*\n"},
      // Typed in UTF-8, and of a server in ISO 8859-1.
      {"$V --lang de_DE --encoding UTF-8 call u_basename Kunde.Ärger", 0, "code = 0\nBaseObj = \"ärger\"\n", ""},
      {"$V --encoding UTF-16 call u_basename a", 2, "", "vorlix: in UTF-16 ASCII is not ASCII*"},
      {"$V --lang de_DE --encoding UTF-8 call u_basename 5€", 2, "", "vorlix: * does not have what begins with \"€\"*"},
      {"$V --lang de_DE.UTF-8 call fmt_Text Ärger 10 ''", 0, "*",
       "vorlix: in UTF-8 the server counts a character beyond ASCII as its bytes\n"},
      {"$V --timeout 0 call dll_Revision", 2, "", "*--timeout*\n"},
      {"$V --timeout nan call dll_Revision", 2, "", "*--timeout*\n"},
      {"$V run nosuch.vx", 2, "", "vorlix: cannot read nosuch.vx: No such file or directory\n"},
      // No server that answers.
      {"$V --server ./nosuch call dll_Revision", 3, "", "vorlix: cannot start ./nosuch: No such file or directory\n"},
      {"printf 'v_Set a b\n.restart\nv_Get a\n.lang de_DE\nfmt_Text \303\244 3 CU\n.trace 2\n.trace off\n.save t.vx\n' "
       "| "
       "LANG=C.UTF-8 $V shell >/dev/null 2>&1; $V run -q t.vx && ! grep -q 'dll_Debug\\|v_Set' t.vx",
       0, "", ""},
      {"cp $(dirname $V)/vorlix.dll s.dll; (echo v_Set a b; sleep 0.3; rm s.dll; printf '.restart\nv_Get a\n') | $V "
       "--server ./s.dll shell",
       3, "v_Set a b => 0\nv_Get a => 0 value=\"b\"\n", "vorlix: cannot start ./s.dll: No such file or directory\n"},
      {"printf '.help l_Add\neach nosuch until code=5\nv_Get a\n.save \303\244.vx\n' | LANG=C.UTF-8 $V --lang de_DE "
       "shell "
       "&& ls ä.vx",
       2, "*\nExample:\nl_CreateList Kunden\nl_Add 1 Meier\nv_Get a => *written: ä.vx\n",
       "vorlix: there is no function 'nosuch'*"},
      {"printf '# \033[31m\n' | $V run -", 0, "# \\x1b[31m\n", ""},
      {"trap '' TERM; $V call v_Get a >got & kill $!; wait $! && cat got", 0, "code = 0\n*", ""},
      {"$V lsp </dev/null", 0, "", ""},
      {"printf '[catalog]\nA=B\n[a.\344]\nPATH=p\nFTYP=T\nFLEN=9\n' >a.dic; LANG=C.UTF-8 $V show --lang de_DE a.dic ä "
       "--type Ö",
       0, "a.ä, a.dic:3\n*Typed \"Ö\" is stored as \"Ö\"\n", ""},
      {"$V recrdo --help", 2, "", "vorlix: there is no command 'recrdo'; vorlix help lists them\n"},
      {"$V help dict_Gte", 2, "", "*did you mean vorlix call dict_Get?\n"},
      {"$V --server /tmp call dll_Revision", 3, "", "*; it is a directory\n"},
      {"$V call fmt_Num 1,5 10 2 R", 2, "", "*; decimals stand behind a point\n*"},
      {"$V --lang de_DE --encoding UTF-8 call u_basename '\xe4'", 2, "", "*is not UTF-8; --encoding*"},
      {"$V call u_basename 'a.\u202eb'", 0, "*\\xe2\\x80\\xaeb*", ""},
      {"$V --server /bin/false call dll_Revision", 5, "",
       "vorlix: *exit status 1; is /bin/false the server, vorlix.dll?\n"},
      {"touch dead; $V --server ./dead call dll_Revision", 3, "",
       "vorlix: cannot start ./dead: Permission denied; is it executable (chmod +x)?\n"},
      {"printf '#!/bin/sh\nexec %s \"$@\"' \"$SERVER\" >s; chmod +x s; $V --server ./s call v_Set a b", 0, "*", ""},
      // The server by itself.
      {"$SERVER", 2, "", "*vorlix.dll: Illegal call\n"},
      {"$SERVER 1 2", 2, "", "*vorlix.dll: Illegal call\n"},
      {"$SERVER -1", 2, "", "shmat: Invalid argument\n"},
      {"$SERVER x", 2, "", "shmat: Invalid argument\n"},
      // What needs no server.
      {"$V functions >/dev/full", 1, "", "vorlix: cannot write to standard output\n"},
      {"$V --version", 0, "vorlix ?.*, build ????????????\n", ""},
      {"$V functions l_gte", 2, "", "vorlix: there is no function 'l_gte'; did you mean l_Get?\n"},
      {"$V functions Leap; $V functions cursor | head -1", 0, "Lists of texts\n", "*"},
      {"$V --color always call l_SeekCurr 1", 1, "code = \x1b[31m2002 (no list has this handle)\x1b[0m\n*", ""},
      // Signals: nothing is left, and nothing is said.
      {"mkfifo f; sleep 2 >f & timeout --preserve-status -s INT 0.2 $V shell <f", 130, "", ""},
  };
  for (const Case& wanted : cases) Check(wanted);
}

TEST(Tool, RunsScripts) {
  const Case cases[] = {
      {"$V run s.vx", 0, "# a\n", "",
       "\xef\xbb\xbf"
       "echo a"},
      {"$V run s.vx", 0, std::string("set x 1\n") + WORDS, "", std::string("set x 1\n") + WORDS},
      {"$V run -q - <s.vx", 0, "a\\x1b \\xff b\n\n", "", "# Only this:\nl_DeleteAll\necho \"a\\x1b \\xff\" b\necho\n"},
      {"$V run s.vx", 0, "set x *\n#   len = \"3\"\n#   sum.2 = 4\n=> x.sum.2=4\n", "",
       "xbuf x Len=3 Sum.2:N=4\nshow $x\n=> x.sum.2=4"},
      {"$V run s.vx", 0, "l_CreateList 1 => 0 hdl=1\n# $count\nl_CreateList 2 => 0 hdl=2\n# => *\n", "",
       "each l_CreateList $round until hdl=2\n # $count\nend\n=> count=1 round=2\n"},
      {"mkdir t; TMPDIR=t $V run s.vx; ls t", 0, "write $tmp/f \"a\\nb\"\nread x $tmp/f\n# a\n# b\n", "",
       "write $tmp/f \"a\\nb\"\nread x $tmp/f\necho $x"},
      {"$V run s.vx Meier 'a b'", 0, "v_Set Meier \"a b\" => 0\n", "", "v_Set $1 $2"},
      {"$V run -q s.vx", 2, "", "vorlix: s.vx:1: the script was given no argument 1\n", "echo $1"},
      {"yes 'echo x' | head -20000 >s.vx; $V run s.vx | head -1", 0, "# x\n", ""},
      {"mkdir t; printf 'write $tmp/f a\neach v_Get a until value=b\nend' >s.vx; TMPDIR=t timeout -s INT 0.3 $V run -q "
       "s.vx; ls t",
       0, "", ""},
      // Faults of a run.
      {"$V run s.vx", 1, "dll_Revision => *\n", "vorlix: s.vx:1: str is 3.10, not 3.11\n", "dll_Revision => str=3.11"},
      {"$V run -q - <s.vx", 1, "", "vorlix: -:2: l_GetCurr answered 2002 (no list has this handle)\n",
       "\nl_GetCurr 1 => data=\"\""},
      {"$V run -q s.vx", 1, "", "vorlix: s.vx:1: l_SeekNext answered 2002 (no list has this handle)\n",
       "each l_SeekNext 1 until eol=1\nend"},
      {"$V run -q s.vx", 1, "",
       "vorlix: s.vx:2: rc_p is 1 (the file was read and refused), not 0\n  D1: ObCheck() failed: missing PATH, "
       "section 'a.x'\n  line 3: the object has no PATH; vorlix check * tells this and 1 more\n",
       "write $tmp/a \"[Catalog]\\nA=B\\n[A.x]\\nFLEN=3\\n\"\ndict_Open A $tmp/a 1 => rc_p=0"},
      {"$V run -qk s.vx", 1, "on\n",
       "vorlix: s.vx:1: l_GetCurr answered 2002 (no list has this handle)\nvorlix: s.vx:3: round is 1, not 2\nvorlix: "
       "s.vx:6: cannot read "
       "nosuch: *\n"
       "vorlix: s.vx: 4 lines failed\n",
       "l_GetCurr 1\neach l_CreateList a until hdl=2\n=> round=2\nend\necho on\nread x nosuch\nl_GetCurr $x\n"},
      // What a file was refused for is told where the script fails of it.
      {"cp $EXAMPLES/dict/* .; $V run -q s.vx", 1, "",
       "vorlix: s.vx:2: dict_Get answered 19 (there is no such dialog)\n  D1: dict_Get() failed: *\n  no dictionary is "
       "open; dict_Open opens one\n  before that, s.vx:1: dict_Open answered rc_p 1: the file was read and refused\n  "
       "D1: InheritObject() failed: unknown model 'betrag', section 'kd.umsatz'\n  it needs a model dictionary, which "
       "has to be "
       "opened before it: dict_OpenModel MODELS muster.dic\n",
       "dict_Open K kunden.dic 1 => 0\ndict_Get D01KUNDE name"},
      // A line that expects nothing is told of at once.
      {"$V run -q s.vx", 1, "",
       "vorlix: s.vx:2: dict_Open answered rc_p -2: No such file or directory\n  there is no file nosuch *\n"
       "vorlix: s.vx:4: D01B has no field m; did you mean n?\nvorlix: s.vx:5: nothing came back\n  D01B has no field "
       "m; did you mean n?\n",
       "write $tmp/a.dic \"[catalog]\\nA=B\\n[a.n]\\nPATH=n\\nFTYP=N\\nFLEN=9\\n\"\ndict_Open A nosuch 1\n"
       "dict_Open A $tmp/a.dic 1\ndict_Get D01B m\ndict_Get D01B m => xbuf.len=9\n"},
      {"$V run -q s.vx", 1, "", "vorlix: s.vx:1: no/f was not changed: No such file or directory\n",
       "ini_SetString s e v no/f\n"},
      {"$V run -q s.vx", 0, "", "vorlix: s.vx:1: ${tmp} is a directory\n", "ini_GetInt s e 1 $tmp\n"},
      {"cp $EXAMPLES/dict/* .; $V run -qk s.vx", 1, "",
       "*no dialog has the ID D01KU; did you mean D01KUNDE?\n*; open are *\n*has no field nmae; did you mean name?\n*",
       "dict_OpenModel muster muster.dic => rc_p=0\ndict_Open K kunden.dic 1\ndict_First D01KU\ndict_First "
       "XYZ\ndict_Get D01KUNDE nmae => xbuf!=\"\""},
      {"$V run -q s.vx", 2, "", "vorlix: s.vx:2: hdl: \"a\" is not a number\n  expected: l_GetCurr *\n",
       "set x a\nl_GetCurr $x"},
      {"$V run -q s.vx", 2, "", "*did you mean echo?\n", "ehco a\n"},
      {"$V run -q s.vx", 2, "", "*a blank stands behind =>*", "l_DeleteAll =>code=0\n"},
      {"$V run -q s.vx", 0, "", "*Is a directory\n  . is there, and cannot be read\n", "dict_Open K . 1\n"},
      {"$V run -q s.vx", 1, "", "vorlix: s.vx:1: nosuch answered 7 *", "place nosuch i:1\n"},
      {"$V run s.vx", 1, "", "vorlix: s.vx:1: cannot read nosuch: No such file or directory\n", "read x nosuch"},
      {"$V run s.vx", 1, "", "vorlix: s.vx:1: cannot read .: Is a directory\n", "read x ."},
      {"$V run s.vx", 1, "", "vorlix: s.vx:1: cannot write no/f: No such file or directory\n", "write no/f x"},
      {"$V --segment 1 run s.vx", 2, "", "vorlix: s.vx:1: * needs a segment of *; --segment makes it larger\n",
       "v_Set a \"b\"[2000000]"},
      // A fault anywhere in a script ends it before its first call.
      {"$V run s.vx", 2, "", "vorlix: s.vx:2: there is no function*\n", "l_DeleteAll\nl_deleteAll"},
      {"$V --server /bin/true run s.vx", 5, "*", "vorlix: *exit status 0; is /bin/true the server*", "\n\nl_DeleteAll"},
      // A server that never answers.
      {"printf '#!/bin/sh\\nexec sleep 0.4' >mute; chmod +x mute; $V --server ./mute --timeout 0.1 run s.vx", 4, "",
       "vorlix: the server has not answered within 100 ms; --timeout SECONDS waits longer\n", "l_DeleteAll"},
  };
  for (const Case& wanted : cases) Check(wanted);
}

}  // namespace
}  // namespace vorlix::tool
