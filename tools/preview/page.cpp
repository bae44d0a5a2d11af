// All texts of files pass Text(), which leaves nothing of them to the language of the page.
#include "tools/preview/page.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tools/preview/style.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

constexpr int MOST_CHOICES = 30;
constexpr size_t LONGEST_LINE = 80;  // of an input; a longer one has several

class Page {
 public:
  Page(const Preview& preview, const Conversion& to_utf8) : to_utf8_(to_utf8) {
    const std::string title = Text(std::filesystem::path(preview.file).filename().string());
    page_ =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
        title + "</title>\n<style>\n" + PAGE_STYLE + "</style>\n</head>\n<body>\n<main>\n<h1>" + title + "</h1>\n";
    AddFindings(preview.findings);
    for (const Form& form : preview.forms) AddForm(form);
    page_ += "</main>\n</body>\n</html>\n";
  }

  std::string Take() { return std::move(page_); }

 private:
  std::string Text(std::string_view text) const {
    std::string utf8 = to_utf8_(text);
    if (!IsUtf8(utf8)) utf8 = Quote(utf8);
    std::string escaped;
    for (const char c : utf8) {
      switch (c) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '"': escaped += "&quot;"; break;
        case '\'': escaped += "&#39;"; break;
        default: escaped += static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t' ? '?' : c;
      }
    }
    return escaped;
  }

  void AddFindings(const std::vector<std::string>& findings) {
    if (findings.empty()) return;
    page_ += "<ul class=\"findings\">\n";
    for (const std::string& finding : findings) page_ += "<li>" + Text(finding) + "</li>\n";
    page_ += "</ul>\n";
  }

  void AddForm(const Form& form) {
    const std::string name = Text(form.name);
    page_ += "<section aria-label=\"" + name + "\">\n<h2>" + name + " <span class=\"id\">" + Text(form.id) +
             "</span></h2>\n<dl>\n";
    for (const FormField& field : form.fields) AddField(field);
    page_ += "</dl>\n</section>\n";
  }

  void AddField(const FormField& field) {
    page_ += "<div class=\"field\">\n<dt>" + Text(field.name);
    if (field.is_required) page_ += " <span class=\"required\">must be filled in</span>";
    page_ += "</dt>\n<dd>";
    AddInput(field);
    page_ += "<p>" + Text(KindOfField(field)) + " · <code>" + Text(field.path) + "</code>";
    if (!field.default_value.empty()) page_ += " · " + Text(DefaultOfField(field));
    page_ += "</p>\n";
    for (const Inherited& one : field.inherited)
      page_ += "<p class=\"inherited\">" + Text(one.attributes + " from [" + one.model + "], " + one.place) + "</p>\n";
    AddFindings(field.findings);
    page_ += "</dd>\n</div>\n";
  }

  void AddInput(const FormField& field) {
    if (field.object_type == "CB") {
      page_ += Mark("check", std::atoi(field.shown.c_str()) != 0) + '\n';
      return;
    }
    const std::vector<int> choices = ChoicesOfField(field, MOST_CHOICES);
    if (!choices.empty()) {
      for (const int choice : choices)
        page_ += Mark("radio", choice == std::atoi(field.shown.c_str())) + ' ' + std::to_string(choice) + '\n';
      return;
    }
    const size_t width = std::clamp<size_t>(field.length, 1, LONGEST_LINE);
    const size_t lines = std::clamp<size_t>((field.length + width - 1) / width, 1, MOST_LINES);
    page_ += "<pre class=\"box\" style=\"width:" + std::to_string(width) + "ch;min-height:" + std::to_string(lines) +
             "lh\">" + Text(field.shown) + "</pre>" + (field.object_type == "LB" ? " &#9662;\n" : "\n");
  }

  static std::string Mark(const std::string& kind, bool is_set) {
    return "<span class=\"" + kind + "\" role=\"img\" aria-label=\"" + (is_set ? "set" : "not set") + "\">" +
           (is_set ? "x" : "&nbsp;") + "</span>";
  }

  const Conversion& to_utf8_;
  std::string page_;
};

}  // namespace

std::string MakePage(const Preview& preview, const Conversion& to_utf8) { return Page(preview, to_utf8).Take(); }

}  // namespace vorlix::tool
