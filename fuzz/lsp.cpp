// The language server as a client that may be of any kind: whole messages, nonsense, and edits of a dictionary.
#include <optional>
#include <string>

#include "fuzz/input.h"
#include "tools/lsp/frames.h"
#include "tools/lsp/server.h"

namespace vorlix::fuzz {
namespace {

using tool::Json;
using tool::LanguageServer;

constexpr const char* URI = "untitled:f.dic";
constexpr std::string_view METHODS[] = {"completion", "hover",          "definition",
                                        "references", "documentSymbol", "codeAction"};

void Tell(LanguageServer& server, const std::string& method, const Json& params) {
  const Json message = {{"jsonrpc", "2.0"}, {"method", method}, {"params", params}};
  server.Handle(message.dump(-1, ' ', false, Json::error_handler_t::replace));
}

tool::Position TakePosition(Input& input) { return {input.Byte() % 16U, input.Byte() % 32U}; }

// Edits, and questions about any place, as an editor sends them.
void Edit(LanguageServer& server, Input& input) {
  server.Handle(R"({"id":1,"method":"initialize","params":{}})");
  const std::string text = "[catalog]\nKD=KUNDE\n[kd.a]\nPATH=\u00e4\nFTYP=N\nFLEN=9\n[kd.b]\nMODEL=x\n";
  Tell(server, "textDocument/didOpen", {{"textDocument", {{"uri", URI}, {"version", 1}, {"text", text}}}});
  while (!input.Empty()) {
    const size_t what = input.Byte() % (std::size(METHODS) + 2);
    const tool::Range range = {TakePosition(input), TakePosition(input)};
    const Json document = {{"uri", URI}, {"version", 2}};
    if (what < std::size(METHODS)) {
      const Json params = {{"textDocument", document}, {"position", JsonOf(range.start)}, {"range", JsonOf(range)}};
      const Json message = {{"id", 2}, {"method", "textDocument/" + std::string(METHODS[what])}, {"params", params}};
      server.Handle(message.dump());
    } else {
      const std::string typed = tool::Decode(input.Text(input.Byte() % 24U), tool::TextEncoding::Latin1);
      const Json change = {{"range", JsonOf(range)}, {"text", typed}};
      Tell(server, "textDocument/didChange", {{"textDocument", document}, {"contentChanges", Json::array({change})}});
      if (what == std::size(METHODS)) server.Settle();
    }
  }
  server.Settle();
}

void Feed(LanguageServer& server, Input& input) {
  tool::FrameReader reader;
  reader.Feed(input.Rest());
  try {
    while (const std::optional<std::string> message = reader.Next()) server.Handle(*message);
  } catch (const tool::FramingLost&) {
    return;
  }
  server.Settle();
}

}  // namespace

void Run(Input input) {
  const auto take = [](const std::string& content) { Require(Json::accept(content), "what is sent is JSON"); };
  LanguageServer server({.models = {}, .ignore = {}, .kind = {}, .language = "C"}, take);
  if (input.Byte() % 2 == 0)
    Edit(server, input);
  else
    Feed(server, input);
}

}  // namespace vorlix::fuzz
