// A request is answered when it names this address as its host, comes from no other origin, and has the token at the
// beginning of its path. All others get a short refusal and learn nothing.
#include "tools/preview/serve.h"

#include <httplib.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <nlohmann/json.hpp>
#include <thread>
#include <vector>

#include "tools/ending.h"
#include "tools/preview/pages.h"
#include "tools/preview/web.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;

constexpr const char* LOOPBACK = "127.0.0.1";
constexpr size_t MOST_BYTES = 100'000;      // of a request
constexpr size_t THREADS = 8 * MOST_PAGES;  // a browser keeps up to six connections
constexpr int LONGEST_SILENCE = 1;          // seconds, of a connection
constexpr std::chrono::seconds LONGEST_END{2};
constexpr milliseconds LOOK_AGAIN{150};  // at the files
constexpr milliseconds LONGEST_WAIT{15'000};

constexpr const char* POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src data:; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'";

// A port belongs to one program, and is free again as soon as that has ended.
void SetSocketOptions(socket_t socket) {
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

class PreviewServer {
 public:
  PreviewServer(const Options& options, const PreviewCommand& command)
      : options_(options), command_(command), token_(RandomToken()) {
    web_.set_socket_options(SetSocketOptions);
    web_.set_payload_max_length(MOST_BYTES);
    web_.set_keep_alive_timeout(LONGEST_SILENCE);
    web_.set_read_timeout(LONGEST_SILENCE);
    web_.new_task_queue = [] { return new httplib::ThreadPool(THREADS); };
    web_.set_default_headers({{"Content-Security-Policy", POLICY},
                              {"X-Content-Type-Options", "nosniff"},
                              {"Referrer-Policy", "no-referrer"},
                              {"Cache-Control", "no-store"}});
    web_.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
      if (IsOurs(request)) return httplib::Server::HandlerResponse::Unhandled;
      response.status = 403;
      response.set_content("refused\n", "text/plain");
      return httplib::Server::HandlerResponse::Handled;
    });
    AddFiles();
    AddCalls();
    Bind(command.port.value_or(0));
  }

  std::string Address() const { return "http://" + Host() + Root(); }

  // Until a signal comes.
  void Run() {
    std::future<bool> listening = std::async(std::launch::async, [this] { return web_.listen_after_bind(); });
    while (!web_.is_running() && listening.wait_for(milliseconds(1)) != std::future_status::ready) {
    }  // one that does not listen yet cannot be told to end
    while (EndingSignal() == 0) {
      std::this_thread::sleep_for(LOOK_AGAIN);
      pages_.CloseIdle();
    }
    web_.stop();
    if (listening.wait_for(LONGEST_END) == std::future_status::ready) return;
    // Somebody keeps a connection busy, which cannot be told to end.
    pages_.CloseAll();
    std::_Exit(128 + EndingSignal());
  }

 private:
  // As clients write it, which leave the port of HTTP out.
  std::string Host() const { return LOOPBACK + (port_ == 80 ? std::string() : ':' + std::to_string(port_)); }
  std::string Root() const { return '/' + token_ + '/'; }

  // A port of 0 is one that is free.
  void Bind(int port) {
    errno = 0;
    port_ = port == 0 ? web_.bind_to_any_port(LOOPBACK) : web_.bind_to_port(LOOPBACK, port) ? port : -1;
    if (port_ <= 0) throw ToolError(Status::OtherCode, "port " + std::to_string(port) + ": " + std::strerror(errno));
  }

  bool IsOurs(const httplib::Request& request) const {
    const std::string origin = request.get_header_value("Origin");
    return request.get_header_value("Host") == Host() && (origin.empty() || origin == "http://" + Host()) &&
           request.path.starts_with(Root());
  }

  void AddFiles() {
    const auto add = [this](const char* name, const char* text, const char* type) {
      web_.Get(Root() + name,
               [=](const httplib::Request&, httplib::Response& response) { response.set_content(text, type); });
    };
    add("", WEB_INDEX, "text/html; charset=utf-8");
    add("preview.js", WEB_SCRIPT, "text/javascript; charset=utf-8");
    add("preview.css", WEB_STYLE, "text/css; charset=utf-8");
  }

  // A call has a JSON object and answers with one.
  void AddCall(const char* name, json (PreviewServer::*answer)(const json&)) {
    web_.Post(Root() + name, [this, answer](const httplib::Request& request, httplib::Response& response) {
      const auto refuse = [&](int status, const std::string& reason) {
        response.status = status;
        response.set_content(json{{"refused", Printable(reason)}}.dump(), "application/json");
      };
      try {
        const json result = (this->*answer)(json::parse(request.body));
        response.set_content(result.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
      } catch (const Refusal& refusal) {
        refuse(refusal.status, refusal.reason);
      } catch (const ToolError& failure) {
        refuse(failure.GetStatus() == Status::Usage ? 400 : 500, failure.what());
      } catch (const json::exception&) {
        refuse(400, "the request is not what the page sends");
      } catch (const std::exception& failure) {
        refuse(500, failure.what());
      }
    });
  }

  void AddCalls() {
    AddCall("languages", &PreviewServer::Languages);
    AddCall("open", &PreviewServer::Open);
    AddCall("wait", &PreviewServer::Wait);
    AddCall("type", &PreviewServer::Type);
    AddCall("close", &PreviewServer::Close);
  }

  json Languages(const json&) { return {{"languages", languages_}, {"language", options_.language}}; }

  // {"language"} -> {"page", and what LivePage::Show has}
  json Open(const json& asked) {
    Options options = options_;
    options.language = asked.value("language", options_.language);
    const Pages::Opened opened = pages_.Open(options, command_);
    json shown = opened.page->Show();
    shown["page"] = opened.token;
    return shown;
  }

  std::shared_ptr<LivePage> Find(const json& asked) {
    if (std::shared_ptr<LivePage> page = pages_.Find(asked.at("page"))) return page;
    throw Refusal{404, "the page was closed; load it again"};
  }

  // {"page", "version"} -> the forms as soon as they are of another version, or {"version"} when nothing changes
  json Wait(const json& asked) {
    const int version = asked.at("version");
    std::shared_ptr<LivePage> page = Find(asked);
    const auto end = std::chrono::steady_clock::now() + LONGEST_WAIT;
    while (page != nullptr && EndingSignal() == 0 && std::chrono::steady_clock::now() < end) {
      if (page->HasChanged()) page->Reload();
      if (page->Version() != version) return page->Show();
      page.reset();  // it may be closed meanwhile
      std::this_thread::sleep_for(LOOK_AGAIN);
      page = pages_.Find(asked.at("page"));
    }
    return {{"version", version}};
  }

  // {"page", "dialog", "field", "text"} -> what LivePage::Type has
  json Type(const json& asked) { return Find(asked)->Type(asked.at("dialog"), asked.at("field"), asked.at("text")); }

  // {"page"} -> {}
  json Close(const json& asked) {
    pages_.Close(asked.at("page"));
    return json::object();
  }

  Options options_;
  PreviewCommand command_;
  std::string token_;
  std::vector<std::string> languages_ = InstalledLocales();
  int port_ = -1;
  Pages pages_;
  httplib::Server web_;  // last, so that it ends before what it uses
};

}  // namespace

Status ServePreview(const Options& options, const PreviewCommand& command) {
  // A file that cannot be read, or a language that is not there, is told at once.
  { const LivePage first(options, command); }
  PreviewServer server(options, command);
  std::printf("%s\nCtrl-C ends it.\n", server.Address().c_str());
  std::fflush(stdout);
  server.Run();
  return Status::Ok;
}

}  // namespace vorlix::tool
