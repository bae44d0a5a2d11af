#include "tools/check/check.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tools/check/checker.h"
#include "tools/check/fix.h"
#include "tools/check/report.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::tool {
namespace {

class CheckTest : public testing::Test {
 protected:
  CheckTest() {
    WriteFile(File("models.dic"), "[text]\nFTYP=T\nFLEN=30\n[deep]\nMODEL=text\nVALID=[A-Z\n[circle]\nMODEL=circle\n");
  }

  std::string File(const std::string& name) { return scratch_.Path() + '/' + name; }

  // "LINE:COLUMN CODE" of each finding, with blanks between.
  std::string Places(const std::string& text, const CheckOptions& options = {}) {
    CheckOptions with_models = options;
    with_models.language = "C";
    with_models.models.push_back(File("models.dic"));
    const Findings findings = Checker(with_models).Check(File("f.dic"), &text).findings;
    std::string places;
    for (const Finding& finding : findings.list) {
      const ShownPlace place = PlaceIn(findings.layout, finding.span);
      places += (places.empty() ? "" : " ") + std::to_string(place.line) + ':' + std::to_string(place.column) + ' ' +
                std::string(finding.rule->code);
    }
    return places;
  }

  ScratchDirectory scratch_;
};

const std::string HEAD = "[catalog]\nKD=KUNDE\n[kd.a]\nPATH=a\n";

// What the reading of a file says has a finding each, but for what is not about the file, or comes of none.
TEST(Rules, AreThereForAllMessages) {
  const std::regex call(R"rx((?:DebugPrint\(TRACE_DICT, [12],|return Fail\()\s*"([^"]*)")rx");
  const std::regex about(R"(Ob(Set|Check).*|InheritObject.*|OpenDict.*|AddDlgLevel.*)");
  const std::regex not_of_the_file(".*(heap overflow|cannot set new format|out of phase|missing catalog|note:).*");
  int count = 0;
  for (const char* const name : {"dictfile", "dictcheck", "dictattr", "dlglevel"}) {
    const std::string source = ReadFile(std::string(VORLIX_EXAMPLES) + "/../dll/shared/" + name + ".cpp");
    for (std::sregex_iterator at(source.begin(), source.end(), call), end; at != end; ++at) {
      const bool is_reason = (*at)[0].str().starts_with("return");
      const std::string text = is_reason ? "ObCheck() failed: " + (*at)[1].str() + ", section '%s'" : (*at)[1].str();
      const std::string message = std::regex_replace(text, std::regex(R"(%(\.\*)?s)"), "x");
      if (!std::regex_match(message, about) || std::regex_match(message, not_of_the_file)) continue;
      if (message == "ObCheck() failed: x, section 'x'") continue;  // the reasons stand by themselves
      EXPECT_NE(RuleOfMessage(message), nullptr) << name << ": " << message;
      ++count;
    }
  }
  EXPECT_GT(count, 15) << "the pattern does not fit any more";
}

TEST_F(CheckTest, FindsWhatIsWrongWhereItStands) {
  const std::pair<std::string, std::string> rows[] = {
      {HEAD + "FTYP=T\nFLEN=3\n", ""},
      {"", "1:1 VX101"},
      // All of a section, and none that merely follows.
      {"[catalog]\nKD=KUNDE\n[kd.a]\nFLEN=-1\nFPREC=-1\nFFMT=R\nVALID=[a\n",
       "3:2 VX206 3:2 VX208 4:6 VX211 5:7 VX212 7:7 VX210"},
      {HEAD + "TYP=T\nFTYPE=TT\n", "5:1 VX201 6:1 VX201"},
      {HEAD + "FTYP=TXT\nFLEN=-1\nMODEL=txt\nVALID=[a\n", "5:6 VX202 6:6 VX211 7:7 VX204 8:7 VX210"},
      {HEAD + "FTYP=D\nFVTYP=YY\nFLENGTH=1\n", "6:7 VX209 7:1 VX201"},
      {HEAD + "FTYP=TXT\n[kd.b]\nPATH=b\nFTYP=T\nFLEN=2\nDEFAULT=abc\n", "5:6 VX202 10:9 VX622"},
      // A catalog that got lost is one finding.
      {"\xef\xbb\xbf" + HEAD + "FTYP=T\nFLEN=3\n", "1:1 VX303 1:1 VX604"},
      {"[catalog" + HEAD.substr(9) + "FTYP=T\nFLEN=3\n[kd.b]\nPATH=b\nFTYP=T\nFLEN=3\n", "1:1 VX303"},
      {"  " + HEAD + "FTYP=T\nFLEN=3\n", "1:1 VX303"},
      {"[catalogue]" + HEAD.substr(9) + "FTYP=T\nFLEN=3\n", "1:2 VX303"},
      {HEAD.substr(19) + "FTYP=T\nFLEN=3\n[catalog]\nKD=K\n", "5:2 VX303"},
      {HEAD + "FTYP=T\nFLEN=3\n[catalog]\nKX=K\n", "7:2 VX303"},
      {HEAD.substr(19) + "FTYP=T\nFLEN=3\n", "1:1 VX303"},
      // A header that is missing is no row of attributes that come twice.
      {HEAD + "FTYP=T\nFLEN=3\nPATH=b\nFTYP=N\nFLEN=2\n", "7:1 VX614"},
      {HEAD + "FTYP=T\nFLEN=3\nFLEN=4\n", "7:1 VX614"},
      {HEAD + "FTYP=TXT\nOBJTYPE=XX\nNOTIFY=now\n", "5:6 VX202 6:9 VX203 7:8 VX203"},
      // Models: where the line is, and where it comes from.
      {HEAD + "MODEL=text\n", ""},
      {HEAD + "MODEL=txt\n", "5:7 VX204"},
      {HEAD + "MODEL=circle\n", "5:7 VX205"},
      {HEAD + "MODEL=deep\n", "3:2 VX210"},
      {HEAD + "MODEL=text\nFLEN=30\n", "6:1 VX628"},
      // Levels.
      {HEAD + "FTYP=T\nFLEN=3\n[b]\nPATH=b\nFTYP=T\nFLEN=3\n[kk.c]\nPATH=c\nFTYP=T\nFLEN=3\n", "7:2 VX301 11:2 VX302"},
      // Comments behind values, and what only looks like one.
      {HEAD + "FTYP=T ; a text\nFLEN=3# three\nDEFAULT=\"a;b\"\nVALID=#\n", "6:7 VX601 7:11 VX601 8:7 VX503"},
      {HEAD + "FTYP=T\nFLEN=3\nVALID=[A#]*\n", "7:7 VX210"},  // for it ends there
      // Characters, not bytes.
      {HEAD + "FTYP=T\nFLEN=30\nDEFAULT=\xc3\xa4\xc3\xb6;x\n", "7:11 VX601"},
      {HEAD + "FTYP=T\nFLEN=30\nDEFAULT=\xe4\xf6;x\n", "7:11 VX601"},
      // Ends of lines.
      {"[catalog]\r\nKD=KUNDE\r\n[kd.a]\r\nPATH=a\r\nFTYP=T\r\nFLEN=3x\r\n", "6:7 VX619"},
      {"[catalog]\rKD=KUNDE\r", "1:1 VX606"},
      // Switched off for a line.
      {HEAD + "FTYP=T\nFLEN=3x ; vorlix: ignore VX619\n", ""},
      {HEAD + "FTYP=T\n; vorlix: ignore\nFLEN=3x\n", ""},
      {HEAD + "FTYP=T\n; vorlix: ignore VX618\nFLEN=3x\n", "7:7 VX619"},
      {HEAD + "FTYP=T\nFLEN=3x ; vorlix: ignore vx618, vx619\n", ""},
      {HEAD + "; vorlix: ignore VX201\nFTPY=T\n", "6:1 VX201"},  // the server does not
      // Fields and what they hold.
      {HEAD + "FTYP=N\nFLEN=5\nFMIN=-9\nFMAX=9\nVALID=[0-9]*\nDEFAULT=10\n", "9:7 VX625 10:9 VX622"},
      {HEAD + "FTYP=T\nFLEN=2\nDEFAULT=abc\n", "7:9 VX622"},
      {HEAD + "FTYP=N\nFLEN=9\nFMIN=inf\nFMAX=0x10\nDEFAULT=nan\n", "7:6 VX619 8:6 VX619 9:9 VX622"},
      {HEAD + "FTYP=N\nFLEN=99999999999\nFMAX=1e5\n", "6:6 VX619"},
      {HEAD + "FTYP=N\nFVTYP=I\nFLEN=9\nDEFAULT=40000\n", "8:9 VX622"},
      {HEAD + "FTYP=N\nFLEN=9\nFPREC=1\nDEFAULT=1.25\n", "8:9 VX622"},
      {HEAD + "FTYP=N\nFLEN=12\nFPREC=2\nFFMT=RG\nDEFAULT=-1234.5\n", ""},
      {HEAD + "FTYP=D\nFVTYP=CYMD\nFLEN=10\nDEFAULT=20261331\n", "8:9 VX622"},
      {HEAD + "FTYP=D\nFVTYP=YMD\nFLEN=10\nDEFAULT=261231\n", ""},
      {HEAD + "FTYP=M\nFLEN=7\nDEFAULT=202613\n", "7:9 VX622"},
      {HEAD + "FTYP=RB\nDEFAULT=0\n", "3:2 VX507"},  // typed as a text
      {HEAD + "FTYP=T\nFLEN=3\nDEFAULT=a" + std::string(1, '\0') + "b\n", "7:10 VX631"},
      {HEAD + "FTYP=D\nFVTYP=CYMD\nFLEN=10\nDEFAULT=$DATE\n", ""},
      {HEAD + "FTYP=N\nFLEN=5\nFFMT=lRbzTPgLq\n", "7:13 VX617 7:14 VX616"},
  };
  for (const auto& [text, places] : rows) EXPECT_EQ(Places(text), places) << text;
}

TEST_F(CheckTest, ReadsModules) {
  const std::string title(61, 't');
  const std::pair<std::string, std::string> rows[] = {
      {"[A]\nTITEL=a\nentry=1\nTEXT=" + std::string(300, 'x') + "\nDSETS=x\n", "4:261 VX602"},
      {"[A]\nTITEL=" + title + "\nENTRY=12\n", "2:7 VX401 3:7 VX401"},
      // The sum of the lines, of which the first that is too much is told.
      {"[A]\nGRUPPE=123456789\nMODUL=m\nGRUPPE=123456789\nGRUPPE=x\n", "4:8 VX401"},
      {"[A]\nTITLE=a\nMODUL=m\nENTRY=x\nDLG=k\nREV=1;2\nDIALOG=a\n", "2:1 VX650 4:7 VX651 5:1 VX650 6:6 VX601"},
      // A section that comes again is never read.
      {"[A]\nTITEL=a\n[a]\nENTRY=12\n", "3:2 VX612"},
  };
  for (const auto& [text, places] : rows) EXPECT_EQ(Places(text), places) << text;
  // A dictionary of one entry is no module file, unless it is said so.
  const std::string few = "[A]\nMODEL=b\n";
  EXPECT_EQ(Places(few), "");
  EXPECT_EQ(Places(few, {.models = {}, .ignore = {}, .kind = FileKind::Module, .language = ""}), "2:1 VX650");
  WriteFile(File("f.dic"), few);
  WriteFile(File("vorlix.ini"), "[check]\nmodules=f.dic\n");
  EXPECT_EQ(Places(few), "2:1 VX650");
}

// Models that are refused are none, and the file is said to be the cause.
TEST_F(CheckTest, SaysWhyAModelIsMissing) {
  WriteFile(File("models.dic"), "[text]\nFTYP=T\nFLEN=30\nFTPY=T\n");
  const std::string text = HEAD + "MODEL=text\n";
  Checker checker({.models = {File("models.dic")}, .ignore = {}, .kind = {}, .language = "C"});
  const Findings findings = checker.Check(File("f.dic"), &text).findings;
  ASSERT_EQ(findings.list.size(), 1U);
  EXPECT_FALSE(findings.list[0].instead) << "nothing else was meant";
  ASSERT_EQ(findings.list[0].related.size(), 1U);
  EXPECT_EQ(findings.list[0].related[0].span.line, 3U);
}

TEST_F(CheckTest, RefusesAProjectThatSaysNothing) {
  const std::pair<std::string, std::string> rows[] = {
      {"[chek]\nmodels=m.dic\n", ":1: there is no section [chek]; did you mean check?"},
      {"[check]\n\nmodles=m.dic\n", ":3: there is no entry modles; did you mean models?"},
      {"[check]\nignore=VX620, VX62\n", ":2: there is no finding VX62;"},
      {"[check]\nignore=VX201\n", ":2: VX201 cannot be ignored"},
  };
  for (const auto& [project, wanted] : rows) {
    WriteFile(File("vorlix.ini"), project);
    try {
      Places(HEAD);
      ADD_FAILURE() << project;
    } catch (const ToolError& error) {
      EXPECT_NE(std::string(error.what()).find(wanted), std::string::npos) << error.what();
    }
  }
}

TEST_F(CheckTest, IgnoresWhatIsNotWanted) {
  const std::string text = HEAD + "FTYP=X\nFLEN=3x\n";
  EXPECT_EQ(Places(text), "5:6 VX620 6:7 VX619");
  EXPECT_EQ(Places(text, {.models = {}, .ignore = {"vx620"}, .kind = {}, .language = ""}), "6:7 VX619");
  WriteFile(File("vorlix.ini"), "[check]\nmodels=models.dic\nignore=VX619, VX620\n");
  EXPECT_EQ(Places(text), "");
}

TEST_F(CheckTest, IsReportedToPrograms) {
  const std::string text = HEAD + "FTYP=T\nFLEN=3x\nDEFAULT=\"%,\n";
  std::vector<Findings> all;
  all.push_back(
      Checker({.models = {}, .ignore = {}, .kind = {}, .language = "C"}).Check("d r/f\xff.dic", &text).findings);
  const auto json = nlohmann::json::parse(FindReportFormat("json")->write(all));
  EXPECT_EQ(json.at(0).at("file"), "d r/f\xef\xbf\xbd.dic") << "a path can hold any byte";
  EXPECT_EQ(json.at(0).at("line"), 6);
  EXPECT_EQ(json.at(0).at("column"), 7);
  EXPECT_EQ(json.at(0).at("severity"), "warning");
  EXPECT_EQ(json.at(0).at("code"), "VX619");
  const auto sarif = nlohmann::json::parse(FindReportFormat("sarif")->write(all));
  EXPECT_EQ(sarif.at("version"), "2.1.0");
  EXPECT_EQ(sarif.at("runs").at(0).at("results").at(0).at("ruleId"), "VX619");
  const auto& place = sarif.at("runs").at(0).at("results").at(0).at("locations").at(0).at("physicalLocation");
  EXPECT_EQ(place.at("artifactLocation").at("uri"), "d%20r/f%ff.dic");
  EXPECT_TRUE(FindReportFormat("github")->write(all).starts_with(
      "::warning file=d r/f\xc3\xbf.dic,line=6,col=7,title=VX619::FLEN is read as 3"));
}

TEST_F(CheckTest, FixesWhatMeansTheSame) {
  const std::string before =
      "\xef\xbb\xbf; old\n[catalog]\nKD=KUNDE\n[kd.a]\nPATH=a\nFTYP=D\nFVTYP=jjmt ; old\nERLAUBT=[0-9.]*\n"
      "[kd.b]\r\nPATH=b\r\nFTYP=N\r\nFLEN=5\r\nFFMT=ZB\r\n";
  const std::string after =
      "; old\n[catalog]\nKD=KUNDE\n[kd.a]\nPATH=a\nFTYP=D\nFVTYP=CYMD ; old\nVALID=[0-9.]*\n"
      "[kd.b]\r\nPATH=b\r\nFTYP=N\r\nFLEN=5\r\nFFMT=lRBZTPg\r\n";
  WriteFile(File("f.dic"), before);
  Checker checker({.models = {}, .ignore = {}, .kind = {}, .language = "C"});
  Findings findings = checker.Check(File("f.dic")).findings;
  FixFile(findings, false, checker);
  EXPECT_EQ(ReadFile(File("f.dic")), after);
  EXPECT_TRUE(findings.list.empty());
  // A mark that hid the catalog is the one reason why the file was refused.
  WriteFile(File("f.dic"), "\xef\xbb\xbf" + HEAD + "FTYP=T\nFLEN=3\n");
  Findings refused = checker.Check(File("f.dic")).findings;
  EXPECT_FALSE(refused.opens);
  FixFile(refused, false, checker);
  EXPECT_EQ(ReadFile(File("f.dic")), HEAD + "FTYP=T\nFLEN=3\n");
}

}  // namespace
}  // namespace vorlix::tool
