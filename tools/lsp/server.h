// The language server: messages in, messages out.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "tools/lsp/features.h"
#include "tools/lsp/workspace.h"

namespace vorlix::tool {

class LanguageServer {
 public:
  using Sender = std::function<void(const std::string& content)>;

  /// `send` takes the content of each message for the client.
  LanguageServer(CheckOptions options, Sender send) : workspace_(std::move(options)), send_(std::move(send)) {}

  /// Takes a message, and answers it when it is a request. What is none, or nonsense, is answered with an error.
  void Handle(std::string_view content);

  /// Tells the findings of the documents that have changed: to be called when no further message waits, so that a burst
  /// of changes is judged once.
  void Settle();

  /// Whether the client said that this is the end; and whether it had asked for it in the way it should.
  bool IsOver() const { return is_over_; }
  bool IsShutDown() const { return state_ == State::ShutDown; }

 private:
  enum class State { New, Ready, ShutDown };

  Json Answer(const std::string& method, const Json& params);
  Json Initialize(const Json& params);
  void Register();
  void Notice(const std::string& method, const Json& params);
  void Publish(const Json& diagnostics);
  void Reply(const Json& id, const std::string& key, const Json& value);
  void Send(Json message);

  Workspace workspace_;
  Sender send_;
  State state_ = State::New;
  bool is_told_of_files_ = false;  // the client tells of changes on the disk when it is asked to
  bool is_over_ = false;
};

}  // namespace vorlix::tool
