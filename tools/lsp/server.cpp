#include "tools/lsp/server.h"

#include <algorithm>

namespace vorlix::tool {
namespace {

// Errors of JSON-RPC and of the protocol.
constexpr int PARSE_ERROR = -32700;
constexpr int INVALID_REQUEST = -32600;
constexpr int METHOD_NOT_FOUND = -32601;
constexpr int INVALID_PARAMS = -32602;
constexpr int INTERNAL_ERROR = -32603;
constexpr int NOT_INITIALIZED = -32002;

constexpr int SYNC_INCREMENTAL = 2;

class RequestError : public std::runtime_error {
 public:
  RequestError(int code, const std::string& message) : runtime_error(message), code_(code) {}
  int Code() const { return code_; }

 private:
  int code_;
};

struct Feature {
  std::string_view method;
  Json (*answer)(Workspace& workspace, const Json& params);
};
constexpr Feature FEATURES[] = {
    {"textDocument/completion", Complete},       {"textDocument/hover", Hover},
    {"textDocument/definition", FindDefinition}, {"textDocument/references", FindReferences},
    {"textDocument/documentSymbol", Outline},    {"textDocument/codeAction", OfferFixes},
};

void TakeOpened(Workspace& workspace, const Json& params) {
  const Json& document = params.at("textDocument");
  workspace.Open(document.at("uri"), document.at("text"), document.at("version"));
}

void TakeChanges(Workspace& workspace, const Json& params) {
  const Json& document = params.at("textDocument");
  const std::string uri = document.at("uri");
  for (const Json& change : params.at("contentChanges")) {
    const auto range = change.find("range");
    const bool is_part = range != change.end() && !range->is_null();
    workspace.Change(uri, is_part ? std::optional(RangeFrom(*range)) : std::nullopt, change.at("text"));
  }
  const auto version = document.find("version");
  if (version != document.end() && version->is_number()) workspace.SetVersion(uri, *version);
}

void TakeClosed(Workspace& workspace, const Json& params) { workspace.Close(params.at("textDocument").at("uri")); }

void TakeSaved(Workspace& workspace, const Json&) { workspace.Refresh(); }

struct Notification {
  std::string_view method;
  void (*take)(Workspace& workspace, const Json& params);
};
constexpr Notification NOTIFICATIONS[] = {
    {"textDocument/didOpen", TakeOpened},           {"textDocument/didChange", TakeChanges},
    {"textDocument/didClose", TakeClosed},          {"textDocument/didSave", TakeSaved},
    {"workspace/didChangeWatchedFiles", TakeSaved},
};

template <class Row>
const Row* FindRow(std::span<const Row> rows, std::string_view method) {
  const auto found = std::ranges::find(rows, method, &Row::method);
  return found != rows.end() ? &*found : nullptr;
}

// Parses a message. What is nested deeper than anything that a client says would need as much of the stack.
Json ParseMessage(std::string_view content) {
  constexpr int DEEPEST = 100;
  return Json::parse(content, [](int depth, Json::parse_event_t, const Json&) {
    if (depth > DEEPEST) throw RequestError(PARSE_ERROR, "the message is nested too deep");
    return true;
  });
}

Json ErrorOf(int code, const std::string& message) { return {{"code", code}, {"message", message}}; }

}  // namespace

void LanguageServer::Handle(std::string_view content) {
  Json message;
  try {
    message = ParseMessage(content);
  } catch (const std::exception& error) {
    return Reply(nullptr, "error", ErrorOf(PARSE_ERROR, error.what()));
  }
  const auto id = message.is_object() ? message.find("id") : message.end();
  const bool is_request = message.is_object() && id != message.end();
  const auto method = message.is_object() ? message.find("method") : message.end();
  if (method == message.end() || !method->is_string()) {
    const bool is_response = is_request && (message.contains("result") || message.contains("error"));
    if (!is_response) Reply(nullptr, "error", ErrorOf(INVALID_REQUEST, "a message without a method"));
    return;
  }
  static const Json NO_PARAMS = Json::object();
  const auto found = message.find("params");
  const Json& params = found != message.end() ? *found : NO_PARAMS;
  try {
    if (!is_request && *method == "initialized" && state_ == State::Ready) return Register();
    if (!is_request) return Notice(*method, params);
    Reply(*id, "result", Answer(*method, params));
  } catch (const RequestError& error) {
    Reply(*id, "error", ErrorOf(error.Code(), error.what()));
  } catch (const Json::exception& error) {
    if (is_request) Reply(*id, "error", ErrorOf(INVALID_PARAMS, error.what()));
  } catch (const std::exception& error) {
    if (is_request) Reply(*id, "error", ErrorOf(INTERNAL_ERROR, error.what()));
  }
}

Json LanguageServer::Answer(const std::string& method, const Json& params) {
  if (method == "initialize" && state_ == State::New) return Initialize(params);
  if (state_ == State::New) throw RequestError(NOT_INITIALIZED, "the first request is initialize");
  if (state_ == State::ShutDown || method == "initialize")
    throw RequestError(INVALID_REQUEST, method + " has no place here");
  if (method == "shutdown") {
    state_ = State::ShutDown;
    return nullptr;
  }
  const Feature* const feature = FindRow<Feature>(FEATURES, method);
  if (feature == nullptr) throw RequestError(METHOD_NOT_FOUND, "there is no method " + method);
  return feature->answer(workspace_, params);
}

Json LanguageServer::Initialize(const Json& params) {
  state_ = State::Ready;
  const Json::json_pointer registers("/capabilities/workspace/didChangeWatchedFiles/dynamicRegistration");
  is_told_of_files_ = params.contains(registers) && params[registers] == true;
  const Json sync = {{"openClose", true}, {"change", SYNC_INCREMENTAL}, {"save", true}};
  const Json capabilities = {{"textDocumentSync", sync},
                             {"completionProvider", {{"triggerCharacters", {"=", "[", ".", "%"}}}},
                             {"hoverProvider", true},
                             {"definitionProvider", true},
                             {"referencesProvider", true},
                             {"documentSymbolProvider", true},
                             {"codeActionProvider", {{"codeActionKinds", {"quickfix", "source.fixAll"}}}}};
  return {{"capabilities", capabilities}, {"serverInfo", {{"name", "vorlix"}, {"version", VORLIX_VERSION}}}};
}

// Asks the client to tell of files that others change: models and projects that are not open there. It is the one
// request of this server, and its answer says nothing.
void LanguageServer::Register() {
  if (!is_told_of_files_) return;
  Json watchers = Json::array();
  for (const char* const pattern : {"**/*.dic", "**/*.mdf", "**/vorlix.ini"})
    watchers.push_back({{"globPattern", pattern}});
  const Json registration = {
      {"id", "files"}, {"method", "workspace/didChangeWatchedFiles"}, {"registerOptions", {{"watchers", watchers}}}};
  Send({{"id", "register"},
        {"method", "client/registerCapability"},
        {"params", {{"registrations", Json::array({registration})}}}});
}

// Nobody hears of what is wrong with a notification; those that are not known are passed over.
void LanguageServer::Notice(const std::string& method, const Json& params) {
  if (method == "exit") is_over_ = true;
  if (state_ != State::Ready) return;
  const Notification* const notification = FindRow<Notification>(NOTIFICATIONS, method);
  if (notification == nullptr) return;
  notification->take(workspace_, params);
  if (method == "textDocument/didClose")
    Publish({{"uri", params.at("textDocument").at("uri")}, {"diagnostics", Json::array()}});
}

void LanguageServer::Settle() {
  if (state_ != State::Ready) return;
  for (const Document* const document : workspace_.TakeNew()) Publish(Diagnostics(workspace_, *document));
}

void LanguageServer::Publish(const Json& diagnostics) {
  Send({{"method", "textDocument/publishDiagnostics"}, {"params", diagnostics}});
}

void LanguageServer::Reply(const Json& id, const std::string& key, const Json& value) {
  Send({{"id", id}, {key, value}});
}

// A path that is no UTF-8 stands in messages with replacement characters.
void LanguageServer::Send(Json message) {
  message["jsonrpc"] = "2.0";
  send_(message.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace vorlix::tool
