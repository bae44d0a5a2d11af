#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tools/check/manual.h"
#include "tools/files.h"
#include "tools/lsp/frames.h"
#include "tools/lsp/server.h"
#include "tools/scope.h"

namespace vorlix::tool {
namespace {

// A client whose only document is f.dic, beside models.dic.
class Lsp : public testing::Test {
 protected:
  Lsp()
      : server_({.models = {}, .ignore = {}, .kind = {}, .language = "C"}, [this](const std::string& content) {
          sent_ = content;
          ++count_;
        }) {
    WriteFile(scratch_.Path() + "/vorlix.ini", "[check]\nmodels=models.dic\n");
    WriteFile(scratch_.Path() + "/models.dic", "[sum]\nFTYP=N\nFLEN=12\nFPREC=2\n");
  }

  // What comes back.
  std::string Say(const std::string& message) {
    sent_.clear();
    server_.Handle(message);
    server_.Settle();
    return sent_;
  }
  std::string Ask(const std::string& method, const Json& params) {
    return Say(Json{{"jsonrpc", "2.0"}, {"id", 1}, {"method", method}, {"params", params}}.dump());
  }
  std::string Tell(const std::string& method, const Json& params) {
    return Say(Json{{"jsonrpc", "2.0"}, {"method", method}, {"params", params}}.dump());
  }
  std::string Open(const std::string& text) {
    return Tell("textDocument/didOpen", {{"textDocument", {{"uri", Uri()}, {"version", 1}, {"text", text}}}});
  }
  std::string Change(const Json& change) {
    return Tell("textDocument/didChange",
                {{"textDocument", {{"uri", Uri()}, {"version", 2}}}, {"contentChanges", Json::array({change})}});
  }
  std::string AskAt(const std::string& method, size_t line, size_t character, bool includes_declaration = true) {
    return Ask("textDocument/" + method, {{"textDocument", {{"uri", Uri()}}},
                                          {"position", JsonOf(Position{line, character})},
                                          {"context", {{"includeDeclaration", includes_declaration}}},
                                          {"range", JsonOf(Range{{line, character}, {line, character}})}});
  }
  std::string Uri(const std::string& name = "f.dic") { return UriOfPath(scratch_.Path() + '/' + name); }

  ScratchDirectory scratch_;
  LanguageServer server_;
  std::string sent_;
  int count_ = 0;
};

TEST_F(Lsp, AsksToBeToldOfFiles) {
  const Json registers = {{"workspace", {{"didChangeWatchedFiles", {{"dynamicRegistration", true}}}}}};
  Ask("initialize", {{"capabilities", registers}});
  EXPECT_NE(Tell("initialized", Json::object()).find("**/vorlix.ini"), std::string::npos);
  LanguageServer other({.models = {}, .ignore = {}, .kind = {}, .language = "C"},
                       [this](const std::string&) { ++count_; });
  count_ = 0;
  other.Handle(R"({"id":1,"method":"initialize","params":{"capabilities":{"workspace":17}}})");
  other.Handle(R"({"method":"initialized","params":{}})");
  EXPECT_EQ(count_, 1) << "a client that cannot be asked";
}

TEST_F(Lsp, AnswersNonsenseWithErrors) {
  const std::pair<std::string, std::string> rows[] = {
      {"{", "-32700"},
      {"\"\xff\"", "-32700"},
      {std::string(200'000, '[') + std::string(200'000, ']'), "-32700"},  // more than the stack holds
      {"[]", "-32600"},
      {"17", "-32600"},
      {R"({"id":1})", "-32600"},
      {R"({"id":1,"result":null})", ""},  // an answer to what nobody asked
      {R"({"id":1,"method":"textDocument/hover","params":{}})", "-32002"},
      {R"({"method":"textDocument/didOpen","params":{}})", ""},
      {R"({"id":1,"method":"initialize","params":{}})", "\"hoverProvider\":true"},
      {R"({"id":1,"method":"initialize","params":{}})", "-32600"},
      {R"({"id":"a","method":"nosuch"})", R"("id":"a")"},
      {R"({"id":1,"method":"$/nosuch"})", "-32601"},
      {R"({"method":"$/cancelRequest","params":{"id":1}})", ""},
      {R"({"id":1,"method":"textDocument/hover"})", "-32602"},
      {R"({"id":1,"method":"textDocument/hover","params":[1]})", "-32602"},
      {R"({"id":1,"method":"textDocument/hover","params":{"textDocument":{"uri":"file:///nosuch"}}})",
       "\"result\":null"},
      {R"({"method":"textDocument/didChange","params":{"textDocument":{"uri":"x"},"contentChanges":[{"text":"a"}]}})",
       ""},
      {R"({"method":"textDocument/didOpen","params":{"textDocument":{"uri":7}}})", ""},
      {R"({"id":1,"method":"shutdown"})", "\"result\":null"},
      {R"({"id":1,"method":"textDocument/hover"})", "-32600"},
  };
  for (const auto& [message, wanted] : rows) {
    const std::string answer = Say(message);
    EXPECT_TRUE(wanted.empty() ? answer.empty() : answer.find(wanted) != std::string::npos) << message << '\n'
                                                                                            << answer;
  }
  EXPECT_FALSE(server_.IsOver());
  Say(R"({"method":"exit"})");
  EXPECT_TRUE(server_.IsOver() && server_.IsShutDown());
}

TEST_F(Lsp, TakesAnyPath) {
  Ask("initialize", Json::object());
  WriteFile(scratch_.Path() + "/vorlix.ini", "[check]\nmodels=m\xff.dic\n");
  EXPECT_NE(Open("").find("m\xef\xbf\xbd.dic"), std::string::npos) << "a model that is not there\n" << sent_;
}

TEST_F(Lsp, FollowsWhatIsTyped) {
  Ask("initialize", Json::object());
  const std::string clean = "[catalog]\nKD=KUNDE\n[kd.a]\nPATH=\u00e4\u20ac\U0001f600\nMODEL=sum\n";
  EXPECT_NE(Open(clean).find("\"diagnostics\":[]"), std::string::npos) << sent_;
  // Behind two characters of one unit and one of two units.
  Change({{"range", JsonOf(Range{{3, 9}, {3, 9}})}, {"text", "\nFTPY=N"}});
  EXPECT_NE(sent_.find(R"("range":{"end":{"character":4,"line":4},"start":{"character":0,"line":4}})"),
            std::string::npos)
      << sent_;
  EXPECT_NE(AskAt("codeAction", 4, 2).find(R"("newText":"FTYP")"), std::string::npos) << sent_;
  Change({{"range", JsonOf(Range{{4, 0}, {5, 0}})}, {"text", ""}});
  EXPECT_NE(sent_.find("\"diagnostics\":[]"), std::string::npos) << sent_;
  // A model that is open counts as it stands there; the disk counts again when it is closed.
  Tell("textDocument/didOpen",
       {{"textDocument", {{"uri", Uri("models.dic")}, {"version", 1}, {"text", "[other]\nFTYP=N\n"}}}});
  EXPECT_NE(AskAt("hover", 4, 8).find("to inherit from"), std::string::npos) << sent_;
  count_ = 0;
  Tell("textDocument/didClose", {{"textDocument", {{"uri", Uri("models.dic")}}}});
  EXPECT_EQ(count_, 2) << "no more findings of the one, and those of the other anew";
  EXPECT_NE(AskAt("hover", 4, 8).find("FPREC=2"), std::string::npos) << sent_;
  // A burst is judged once.
  count_ = 0;
  for (int k = 0; k < 1000; ++k)
    server_.Handle(Json{{"method", "textDocument/didChange"},
                        {"params",
                         {{"textDocument", {{"uri", Uri()}, {"version", k}}},
                          {"contentChanges", {{{"range", JsonOf(Range{{99, 9}, {99, 9}})}, {"text", "x"}}}}}}}
                       .dump());
  server_.Settle();
  EXPECT_EQ(count_, 1);
  EXPECT_NE(sent_.find("VX611"), std::string::npos) << "a line without =\n" << sent_;
  // A model that cannot be read.
  WriteFile(scratch_.Path() + "/vorlix.ini", "[check]\nmodels=nosuch.dic\n");
  EXPECT_NE(Tell("textDocument/didSave", Json::object()).find("cannot read"), std::string::npos) << sent_;
  EXPECT_NE(sent_.find("there is no model sum"), std::string::npos) << "and all else\n" << sent_;
  Change({{"text", "[catalog]\nKD=KUNDE\n[kd.a]\nPATH=a\nFTYP=D\nFVTYP=JMT\nFLEN=8\nERLAUBT=[0-9.]*\n"}});
  EXPECT_NE(AskAt("codeAction", 0, 0).find(R"("kind":"source.fixAll")"), std::string::npos) << sent_;
  EXPECT_TRUE(sent_.find("YMD") != std::string::npos && sent_.find("\"VALID\"") != std::string::npos) << sent_;
}

TEST_F(Lsp, TellsCompletesAndGoes) {
  WriteFile(scratch_.Path() + "/models.dic", "[sum]\nFTYP=N\nFLEN=12\nFPREC=2\n[\xe4]\nMODEL=sum\n");
  Ask("initialize", Json::object());
  Open(
      "[catalog]\nKD=KUNDE\nAN=ORT\n[kd.a]\nPATH=a\nMODEL=sum\nFMAX=9\n\n[an.b]\nPATH=b\nFTYP=D\nFVTYP=YMD\nFFMT=%d.%m."
      "%y\nFLEN=8\n"
      "[kd.]\nFTYP=N\nFFMT=lR\n");
  struct Row {
    std::string method;
    size_t line, character;
    std::vector<std::string> wanted;  // none: null
  };
  const Row rows[] = {
      {"hover", 1, 1, {"D01KUNDE", "2 fields"}},
      {"hover",
       3,
       2,
       {"| FLEN | `12` |", "models.dic, line 3", "| FMAX | `9` | line 7 |", "`1234.5` shows as `     1234.50`"}},
      {"hover", 6, 1, {"highest value"}},
      {"hover", 10, 5, {"**D**: date"}},
      {"hover", 12, 6, {"`d`: day, month", "shows as `"}},
      {"hover", 16, 6, {"`l`: not: left-aligned", "`R`: right-aligned"}},
      {"hover", 7, 0, {}},
      {"hover", 999, 0, {}},
      {"completion", 7, 0, {"\"FTYP=\"", "\"FLEN=\""}},
      {"completion", 5, 6, {"\"sum\"", "FPREC=2", "\"\xc3\xa4\""}},  // a model file in ISO 8859-1
      {"completion", 11, 6, {"GREG"}},
      {"completion", 12, 6, {"\"newText\":\"d\"", "last two digits"}},
      {"completion", 14, 1, {"\"KD.\"", "the dialog KUNDE"}},
      {"completion", 14, 4, {"\"kd.b\""}},
      {"completion", 999, 0, {"\"VALID=\""}},
      {"definition", 5, 7, {"models.dic", R"("line":0)"}},
      {"definition", 3, 2, {R"("line":1)"}},
      {"definition", 1, 0, {R"("line":3)"}},
      {"definition", 4, 0, {}},
      {"references", 1, 0, {R"("line":1)", R"("line":3)", R"("line":14)"}},
      {"references", 5, 7, {"models.dic", R"("character":6,"line":5)"}},
      {"documentSymbol", 0, 0, {R"("name":"KUNDE")", R"("name":"b")", R"("detail":"a")"}},
  };
  for (const auto& [method, line, character, wanted] : rows) {
    const std::string answer = AskAt(method, line, character);
    for (const std::string& text : wanted)
      EXPECT_NE(answer.find(text), std::string::npos) << text << "\nin\n" << answer;
    EXPECT_EQ(answer.find("\"result\":null") != std::string::npos, wanted.empty()) << method << ' ' << line << answer;
  }
  EXPECT_EQ(AskAt("references", 1, 0, false).find(R"("line":1,)"), std::string::npos) << sent_;
  EXPECT_EQ(AskAt("references", 5, 7, false).find(R"("line":0)"), std::string::npos) << sent_;
  Change({{"text", "[kunden]\nTITEL=Customers\nENTRY=1\nnosuch=1\n"}});
  EXPECT_NE(AskAt("hover", 1, 1).find("Mdf_title, up to 60 characters"), std::string::npos) << sent_;
  EXPECT_NE(AskAt("hover", 0, 2).find("`nosuch` is no item"), std::string::npos) << sent_;
  Change({{"text", "[catalog]\nKD=K\n[kdd.a]\nPATH=a\nFTYP=T\nFLEN=9\n"}});
  EXPECT_NE(AskAt("codeAction", 2, 2).find(R"("newText":"KD","range":{"end":{"character":4,)"), std::string::npos)
      << sent_;
}

TEST_F(Lsp, ReadsFilesInLatin1) {
  WriteFile(scratch_.Path() + "/f.dic", "[catalog]\nKD=\xc4\n");
  Ask("initialize", Json::object());
  // 82 characters: as bytes of UTF-8 they would be too long for a path.
  Open("[catalog]\nKD=K\n[kd.a]\nFTYP=T\nFLEN=9\nDEFAULT=\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\nPATH=a\n");
  EXPECT_NE(sent_.find("\"diagnostics\":[]"), std::string::npos) << sent_;
  Change({{"text", "[catalog]\nKD=K\n[kd.\u00e4]\nMODEL=\u00e4\u00e4\n"}});
  EXPECT_NE(sent_.find("there is no model \u00e4\u00e4"), std::string::npos) << sent_;
  EXPECT_NE(sent_.find(R"("end":{"character":8,"line":3})"), std::string::npos) << sent_;
}

// A pipe that nobody writes to never comes to an end.
TEST_F(Lsp, ReadsRegularFilesAlone) {
  Ask("initialize", Json::object());
  ASSERT_EQ(mkfifo((scratch_.Path() + "/f.dic").c_str(), 0600), 0);
  EXPECT_NE(Open("[a]\nTITEL=x\nENTRY=12\n").find("VX401"), std::string::npos);
}

TEST(Frames, AreTakenApart) {
  FrameReader reader;
  const std::string two = Frame("{}") + "content-length:  3 \r\nX: y\r\n\r\nabc";
  for (const char c : two.substr(0, two.size() - 1)) reader.Feed({&c, 1});
  EXPECT_EQ(reader.Next(), "{}");
  EXPECT_EQ(reader.Next(), std::nullopt);
  reader.Feed("c");
  EXPECT_EQ(reader.Next(), "abc");
  for (const std::string wrong : {"Content-Length: x\r\n\r\n", "Content-Length: 99999999999\r\n\r\n", "A: b\r\n\r\n"}) {
    FrameReader other;
    other.Feed(wrong);
    EXPECT_THROW(other.Next(), FramingLost) << wrong;
  }
  FrameReader other;
  other.Feed(std::string(5000, 'x'));
  EXPECT_THROW(other.Next(), FramingLost);
}

// The words are those of the manual, each in a row of one of its tables.
TEST(ManualWords, AreThoseOfTheManual) {
  const std::string docs = std::string(VORLIX_EXAMPLES) + "/../docs/";
  const std::string pages = ReadFile(docs + "dictionary-format.md") + ReadFile(docs + "formats.md");
  for (const ManualWord& word : MANUAL_WORDS)
    EXPECT_NE(pages.find(word.meaning), std::string::npos) << word.word << ": " << word.meaning;
}

}  // namespace
}  // namespace vorlix::tool
