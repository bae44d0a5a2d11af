// The language that the real server chooses from the environment.
#include <gtest/gtest.h>

#include <string>

#include "host/csdx.h"
#include "host/server.h"
#include "tests/support/server.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::host {
namespace {

TEST(Language, IsChosenFromTheEnvironment) {
  const char* const ENGLISH = "*6~Sunday*5~March*1~.0~0~1~?*";
  const char* const GERMAN = "*7~Sonntag*4~M\xe4rz*1~,1~.4~03031~?*";
  const struct {
    EnvironmentChanges language;
    const char* described;     // a pattern of the description
    const char* broken_bar;    // the class of this byte, 0xa6, which is a letter in ISO-8859-15
    const char* warning = "";  // a pattern as well
  } rows[] = {
      {{}, ENGLISH, "0000"},
      {{{"ZENDLANG", ""}, {"LANG", "de_DE"}}, GERMAN, "00D0"},
      {{{"ZENDLANG", "de_DE@euro"}, {"LANG", "fr_FR"}}, GERMAN, "00D0"},
      {{{"LANG", "de_DE.UTF-8"}}, "*7~Sonntag*5~M\xc3\xa4rz*1~,1~.4~03031~?*", "0000"},
      {{{"LANG", "fr_FR"}}, "*8~dimanche*4~mars*1~,1~\xa0?~031~?*", "00D0"},
      {{{"LANG", "C.UTF-8"}}, ENGLISH, "0000"},
      {{{"LANG", "en_US"}, {"LC_CTYPE", "xx_CT"}}, "*6~Sunday*1~.1~,4~03031~?*", "00D0", "*:\n *LC_CTYPE=xx_CT\nCont*"},
      {{{"LANG", "xx_YY"}}, ENGLISH, "0000", "*:\n *LANG=xx_YY\n *LC_COLLATE=xx_YY\n *LC_CTYPE=xx_YY\nCont*"},
      {{{"LANG", "de_DE"}, {"LC_COLLATE", "xx_CO"}},
       GERMAN,
       "00D0",
       "vorlix.dll: Warning!  The following language(s) are not available:\n                LC_COLLATE=xx_CO\n"
       "Continuing processing using default language.\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.language.empty() ? "no language" : *row.language.back().second);
    ServerOptions options = test::TestServer();
    options.environment.insert(options.environment.end(), {{"LANG", {}}, {"LC_ALL", {}}});
    options.environment.insert(options.environment.end(), row.language.begin(), row.language.end());
    Server server(options);
    const std::string description = FetchTransfer(server).payload;
    EXPECT_TRUE(tool::Matches(description, row.described)) << description.substr(2048);
    EXPECT_EQ(description.substr(4 * 0xa6, 4), row.broken_bar);
    const std::string warning = server.TakeStandardError();
    EXPECT_TRUE(tool::Matches(warning, row.warning)) << warning;
  }
}

// A host that changes the language, or tries to, finds by name what it found before.
TEST(Language, LeavesTheLettersOfNames) {
  tool::ScratchDirectory scratch;
  const std::string path = scratch.Path() + "/dict";
  tool::WriteFile(path, "[catalog]\nK\xc4=\xd6\n[list]\n\xdc=u\n[k\xe4.stra\xdf\xc9]\nPATH=p\nFTYP=T\n");
  ServerOptions options = test::TestServer();
  options.environment.insert(options.environment.end(), {{"LC_ALL", {}}, {"ZENDLANG", "de_DE"}});
  Server server(options);
  server.Call("dict_Open", {Text("D\xc4"), Text(path), Int(1), IntRef()});
  for (const char* const assignment : {"", "LANG=C", "LANG=xx_YY", "TIME=de_DE"}) {
    if (*assignment != '\0') server.Call("dll_SetLocale", {Text(assignment)});
    EXPECT_NE(server.Call("dict_Get", {Text("d01\xf6"), Text("STRA\xdf\xe9"), OutText(999)}).args[2].TextAt(), "");
    EXPECT_EQ(server.Call("dict_MapID", {Text("k\xe4"), OutText(9)}).args[1].TextAt(), "D01\xd6") << assignment;
    EXPECT_EQ(server.Call("dict_List", {Text("D01\xd6"), Text("\xfc"), OutText(9)}).args[2].TextAt(), "u");
    EXPECT_EQ(server.Call("dict_ListFilterInit", {Text("D01\xd6"), Text("stra\xdf\xe9"), IntRef()}).args[2].IntAt(), 0);
    const Arg xbuf = Text("XSTRA\xdf\xc9~0~1~x$");
    EXPECT_EQ(server.Call("dict_XbufFilterInit", {Text("D01\xd6"), xbuf, IntRef()}).code, 0) << assignment;
    const Result opened = server.Call("dict_Open", {Text("d\xe4"), Text(path), Int(2), IntRef()});
    EXPECT_EQ(opened.args[3].IntAt(), 0) << assignment;
    server.Call("dict_Close", {Int(2)});
    EXPECT_EQ(server.Call("dict_Open", {Text("NEW"), Text(path), Int(2), IntRef()}).args[3].IntAt(), 0) << assignment;
    server.Call("dict_Close", {Int(2)});
  }
}

}  // namespace
}  // namespace vorlix::host
