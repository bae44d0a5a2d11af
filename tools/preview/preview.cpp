#include "tools/preview/preview.h"

#include <algorithm>
#include <cstdio>

#include "tools/files.h"
#include "tools/paint.h"
#include "tools/preview/drawing.h"
#include "tools/preview/page.h"
#include "tools/preview/serve.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

constexpr size_t PAGE_WIDTH = 100;  // of what is no terminal
constexpr size_t LEAST_WIDTH = 20;

void Print(const Preview& preview, const Conversion& to_outside) {
  const size_t terminal = TerminalWidth();
  const size_t width = terminal == 0 ? PAGE_WIDTH : std::max(terminal, LEAST_WIDTH);
  bool is_first = true;
  for (const Form& form : preview.forms) {
    std::printf("%s%s", is_first ? "" : "\n", DrawForm(form, width, to_outside).c_str());
    is_first = false;
  }
  if (preview.forms.empty()) std::printf("%s has no dialog\n", Printable(preview.file).c_str());
  for (const std::string& finding : preview.findings)
    std::printf("\n%s\n", Red(Wrap("! " + Printable(to_outside(finding)), width, 2)).c_str());
}

}  // namespace

Status ShowPreview(const Options& options, const PreviewCommand& command) {
  if (command.port) return ServePreview(options, command);
  Checker checker({.models = command.models, .ignore = {}, .kind = {}, .language = options.language});
  const Judged judged = checker.Check(command.file);
  Options of_server = options;
  if (of_server.language.empty()) of_server.language = checker.Language();
  Session session(of_server);
  Preview preview = ReadPreview(session, command.file, judged, checker);
  KeepDialog(preview, command.dialog);
  if (!command.html.empty()) {
    of_server.encoding = "UTF-8";
    const Encoding encoding = EncodingFor(of_server, false);
    WriteFile(command.html, MakePage(preview, [&](std::string_view text) { return encoding.ToOutside(text); }));
    return Status::Ok;
  }
  const Encoding encoding = EncodingFor(of_server, true);
  Print(preview, [&](std::string_view text) { return encoding.ToOutside(text); });
  return Status::Ok;
}

}  // namespace vorlix::tool
