// The language of the real server: chosen from the environment, changed by the host, described to the host.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dll/shared/clilocal.h"
#include "host/csdx.h"
#include "host/server.h"
#include "tests/support/server.h"

namespace vorlix::host {
namespace {

constexpr const char* WARNING = "vorlix.dll: Warning!  The following language(s) are not available:\n";
constexpr const char* CONTINUING = "Continuing processing using default language.\n";

std::string Missing(const std::string& assignment) { return std::string(16, ' ') + assignment + "\n"; }

ServerOptions WithLanguage(const EnvironmentChanges& language) {
  ServerOptions options = test::TestServer();
  options.environment.insert(options.environment.end(), {{"LANG", {}}, {"LC_ALL", {}}});
  options.environment.insert(options.environment.end(), language.begin(), language.end());
  return options;
}

// Puts the description that the server offers in force here.
const LocaleStrings& Described(Server& server) {
  const Transfer description = FetchTransfer(server);
  EXPECT_EQ(description.code, 0);
  EXPECT_EQ(GetLocaleInfo(description.payload.data(), description.payload.size()), 0);
  return LocaleInForce().strings;
}

TEST(Language, IsChosenFromTheEnvironment) {
  const struct {
    EnvironmentChanges language;
    std::string standard_error;
    std::string sunday, march, decimal_point, thousands, grouping;
    uint16_t a_umlaut;  // class of byte 0xe4
  } rows[] = {
      {{}, "", "Sunday", "March", ".", "", "", 0},
      {{{"ZENDLANG", ""}, {"LANG", "de_DE"}}, "", "Sonntag", "M\xe4rz", ",", ".", "\3\3", 0x73},
      {{{"ZENDLANG", "de_DE@euro"}, {"LANG", "fr_FR"}}, "", "Sonntag", "M\xe4rz", ",", ".", "\3\3", 0x73},
      {{{"LANG", "de_DE.UTF-8"}}, "", "Sonntag", "M\xc3\xa4rz", ",", ".", "\3\3", 0},
      {{{"LANG", "fr_FR"}}, "", "dimanche", "mars", ",", "\xa0", "\3", 0x73},
      {{{"LANG", "C.UTF-8"}}, "", "Sunday", "March", ".", "", "", 0},
      {{{"LANG", "en_US"}, {"LC_CTYPE", "xx_CT"}},
       WARNING + Missing("LC_CTYPE=xx_CT") + CONTINUING,
       "Sunday",
       "March",
       ".",
       ",",
       "\3\3",
       0x73},
      {{{"LANG", "xx_YY"}},
       WARNING + Missing("LANG=xx_YY") + Missing("LC_COLLATE=xx_YY") + Missing("LC_CTYPE=xx_YY") + CONTINUING,
       "Sunday",
       "March",
       ".",
       "",
       "",
       0},
      {{{"LANG", "de_DE"}, {"LC_COLLATE", "xx_CO"}},
       WARNING + Missing("LC_COLLATE=xx_CO") + CONTINUING,
       "Sonntag",
       "M\xe4rz",
       ",",
       ".",
       "\3\3",
       0x73},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.language.empty() ? "no language" : *row.language.back().second);
    Server server(WithLanguage(row.language));
    const LocaleStrings& strings = Described(server);
    EXPECT_EQ(strings.weekdays[0], row.sunday);
    EXPECT_EQ(strings.months[2], row.march);
    EXPECT_EQ(strings.decimal_point, row.decimal_point);
    EXPECT_EQ(strings.thousands_separator, row.thousands);
    EXPECT_EQ(strings.grouping, row.grouping);
    EXPECT_EQ(LocaleInForce().classes[0xe4], row.a_umlaut);
    EXPECT_EQ(server.TakeStandardError(), row.standard_error);
  }
}

TEST(Language, DescriptionIsWrittenToTheLetter) {
  Server server(WithLanguage({}));
  const std::string payload = FetchTransfer(server, 60).payload;
  const auto piece = [&payload](size_t at, size_t size) { return payload.substr(at, size); };
  EXPECT_EQ(piece(4 * 'A', 4), "0E53");
  EXPECT_EQ(piece(4 * ' ', 4), "0940");
  EXPECT_EQ(piece(4 * 0xe4, 4), "0000");
  EXPECT_EQ(piece(1024 + 2 * 'a', 2), "41");
  EXPECT_EQ(piece(1536 + 2 * 'Z', 2), "7A");
  EXPECT_TRUE(payload.substr(2048).starts_with("3~Sun3~Mon3~Tue")) << payload.substr(2048, 40);
  const std::string tail = "11~%I:%M:%S %p1~.0~0~1~?1~-8~%d.%m.%y8~8~%d.%m.%y10~5~%H:%M5~2~5~%m/%y5~5~%W/%y5~";
  EXPECT_TRUE(payload.ends_with(tail)) << payload.substr(payload.size() - 120);
}

TEST(Language, IsChangedByTheHost) {
  const struct {
    const char* text;
    int32_t code;
    const char* trace;  // the refusal
    std::string sunday, decimal_point, thousands;
  } rows[] = {
      {"LANG=de_DE", 0, "", "Sonntag", ",", "."},
      {"LANG=de_DE,NUMERIC=C", 0, "", "Sonntag", ".", "."},  // the monetary separator takes the place of none
      {"LANG=de_DE,NUMERIC=C,MONETARY=C", 0, "", "Sonntag", ".", ""},
      {"TIME=fr_FR,", 0, "", "dimanche", ".", ""},
      {"COLLATE=de_DE", 0, "", "Sunday", ".", ""},
      {"LANG=fr_FR.UTF-8", 0, "", "dimanche", ",", "\xe2\x80\xaf"},
      {"", 0, "", "Sunday", ".", ""},
      {"CTYPE=C", 19, "Bad type", "", "", ""},
      {"lang=C", 19, "Bad type", "", "", ""},
      {" LANG=C", 19, "Bad type", "", "", ""},
      {"=C", 19, "Bad type", "", "", ""},
      {"LANG", 19, "Missing '='", "", "", ""},
      {"TIME=de_DE,NUMERIC", 19, "Missing '='", "", "", ""},
      {"TIME=xx_YY", 19, "setlocale() failed", "", "", ""},
  };
  Server server(WithLanguage({{"LANG", "de_DE"}}));
  server.Call("dll_SetDebugFlags", {Text("N1"), Text("")});
  FetchTransfer(server);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(server.Call("dll_SetLocale", {Text(row.text)}).code, row.code);
    if (row.code == 0) {
      const LocaleStrings& strings = Described(server);
      EXPECT_EQ(strings.weekdays[0], row.sunday);
      EXPECT_EQ(strings.decimal_point, row.decimal_point);
      EXPECT_EQ(strings.thousands_separator, row.thousands);
    } else {
      EXPECT_EQ(server.TakeStandardError(), "N1: define_locale(): " + std::string(row.trace) + "\n");
      EXPECT_EQ(FetchTransfer(server).code, 19) << "no description was built";
    }
  }
  server.Call("dll_SetLocale", {Text("LANG=de_DE")});
  const Result first = server.Call("dll_SendNext", {OutText(300), IntRef()});
  EXPECT_EQ(server.Call("dll_SetLocale", {Text("LANG=xx")}).code, 19);
  const Result second = server.Call("dll_SendNext", {OutText(300), IntRef()});
  EXPECT_TRUE(second.args[0].TextAt().starts_with("298~")) << "a refused text leaves a running transfer alone";
}

}  // namespace
}  // namespace vorlix::host
