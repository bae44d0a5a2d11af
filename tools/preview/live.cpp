#include "tools/preview/live.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "host/failure.h"
#include "tools/check/layout.h"
#include "tools/check/project.h"
#include "tools/failure.h"
#include "tools/preview/scanning.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

using nlohmann::json;

// The checker chooses the language of the whole program, so pages read the files one after the other. Nothing else of a
// page goes by that language.
std::mutex reading;

// Where a character of the text stands, in characters; -1 when it does not.
int PlaceOf(const std::string& text, const std::string& character) {
  const size_t at = character.empty() ? std::string::npos : text.find(character);
  return at == std::string::npos ? -1 : static_cast<int>(ColumnOf(text, at));
}

// What is accepted and yet not as it was typed.
std::string NoteOn(const FormField& field, const std::string& typed, const std::string& stored,
                   std::string_view shown) {
  if (shown.find('?') != std::string_view::npos && shown.find_first_not_of("? ") == std::string_view::npos &&
      stored.find('?') == std::string::npos)
    return "the field is too short to show it";
  const bool is_text = field.type == "T" || field.type == "U";
  return is_text && typed.size() > field.length && stored.size() == field.length ? "cut to the length of the field"
                                                                                 : "";
}

}  // namespace

LivePage::LivePage(const Options& options, const PreviewCommand& command) : options_(options), command_(command) {
  Reload();
}

void LivePage::Watch() {
  stamps_.clear();
  const auto watch = [this](const std::string& path) {
    struct stat status {};
    stat(path.c_str(), &status);
    stamps_.push_back({path, status.st_mtim, status.st_size, status.st_ino});
  };
  watch(command_.file);
  watch(project_);
  for (const std::string& model : watched_) watch(model);
}

bool LivePage::HasChanged() const {
  const std::lock_guard turn(turn_);
  return is_lost_ || std::ranges::any_of(stamps_, [](const Stamp& stamp) {
           struct stat status {};
           stat(stamp.path.c_str(), &status);
           return status.st_mtim.tv_sec != stamp.modified.tv_sec || status.st_mtim.tv_nsec != stamp.modified.tv_nsec ||
                  status.st_size != stamp.size || status.st_ino != stamp.inode;
         });
}

void LivePage::Reload() {
  const std::lock_guard turn(turn_);
  const std::lock_guard alone(reading);
  ++version_;
  is_lost_ = false;
  Watch();  // before they are read: what changes meanwhile is read again
  const std::pair before(project_, watched_);
  try {
    Read();
  } catch (const std::runtime_error& failure) {  // ToolError, or a server that does not start
    if (session_ == nullptr) throw;
    refusals_ = {failure.what()};
  }
  if (std::pair(project_, watched_) != before) Watch();
}

void LivePage::Read() {
  const std::string project = FindProject(command_.file).path;
  project_ = project.empty() ? (std::filesystem::path(command_.file).parent_path() / "vorlix.ini").string() : project;
  Checker checker({.models = command_.models, .ignore = {}, .kind = {}, .language = options_.language});
  const Judged judged = checker.Check(command_.file);
  watched_ = checker.ModelPaths();
  refusals_ = judged.findings.opens ? std::vector<std::string>() : RefusalTexts(judged, checker);
  if (!refusals_.empty()) return;
  Options of_server = options_;
  if (of_server.language.empty()) of_server.language = checker.Language();
  of_server.encoding = "UTF-8";
  auto session = std::make_unique<Session>(of_server);
  Preview preview = ReadPreview(*session, command_.file, judged, checker);
  KeepDialog(preview, command_.dialog);
  preview_ = std::move(preview);
  session_ = std::move(session);
  encoding_ = EncodingFor(of_server, false);
  language_ = of_server.language;
  models_ = watched_;
  forms_ = JsonForms();
}

std::string LivePage::Utf8(std::string_view text) const {
  std::string converted = encoding_.ToOutside(text);
  return IsUtf8(converted) ? converted : Quote(converted);
}

json LivePage::JsonField(const FormField& field) const {
  json inherited = json::array();
  for (const Inherited& one : field.inherited)
    inherited.push_back(Utf8(one.attributes + " from [" + one.model + "], " + one.place));
  json findings = json::array();
  for (const std::string& finding : field.findings) findings.push_back(Utf8(finding));
  constexpr int MOST_CHOICES = 30;
  return {{"name", Utf8(field.name)},         {"path", Utf8(field.path)},
          {"kind", Utf8(KindOfField(field))}, {"default", Utf8(DefaultOfField(field))},
          {"object", field.object_type},      {"typed", field.IsTypedInto()},
          {"length", field.length},           {"required", field.is_required},
          {"minimum", field.minimum},         {"maximum", field.maximum},
          {"shown", Utf8(field.shown)},       {"choices", ChoicesOfField(field, MOST_CHOICES)},
          {"inherited", inherited},           {"findings", findings}};
}

json LivePage::JsonForms() const {
  json forms = json::array();
  for (const Form& form : preview_.forms) {
    json fields = json::array();
    for (const FormField& field : form.fields) fields.push_back(JsonField(field));
    forms.push_back({{"name", Utf8(form.name)}, {"id", Utf8(form.id)}, {"fields", fields}});
  }
  return forms;
}

json LivePage::Show() const {
  const std::lock_guard turn(turn_);
  json findings = json::array();
  for (const std::string& finding : refusals_.empty() ? preview_.findings : refusals_)
    findings.push_back(Utf8(finding));
  return {{"file", Utf8(std::filesystem::path(command_.file).filename().string())},
          {"language", language_},
          {"version", version_.load()},
          {"good", refusals_.empty()},
          {"findings", findings},
          {"forms", forms_}};
}

// Names come back as the page has them.
const Form& LivePage::FindForm(const std::string& id) const {
  for (const Form& form : preview_.forms)
    if (Utf8(form.id) == id) return form;
  throw ToolError(Status::Usage, "there is no such dialog");
}

const FormField& LivePage::FindField(const Form& form, const std::string& name) const {
  for (const FormField& field : form.fields)
    if (Utf8(field.name) == name) return field;
  throw ToolError(Status::Usage, "there is no such field");
}

// The lines of a script that open what the page has open.
std::vector<std::string> LivePage::Opening() const {
  const auto absolute = [](const std::string& path) { return ScriptWord(std::filesystem::absolute(path).string()); };
  std::vector<std::string> lines;
  if (!language_.empty()) lines.push_back("server LANG=" + ScriptWord(language_));
  size_t count = 0;
  for (const std::string& model : models_)
    lines.push_back("dict_OpenModel MODEL" + std::to_string(++count) + ' ' + absolute(model) + " => rc_p=0");
  lines.push_back("dict_Open PREVIEW " + absolute(command_.file) + " 1 => rc_p=0");
  return lines;
}

json LivePage::Type(const std::string& dialog, const std::string& field, const std::string& text) {
  const std::lock_guard turn(turn_);
  if (session_ == nullptr) throw ToolError(Status::Usage, "no dialog is open");
  const Form& form = FindForm(dialog);
  const FormField& found = FindField(form, field);
  std::string given;
  try {
    given = encoding_.ToServer(text);
  } catch (const ToolError& refusal) {  // a character that the server's encoding does not have
    return {{"accepted", false}, {"reason", refusal.what()}, {"at", -1}, {"script", ""}};
  }
  try {
    return found.IsTypedInto() ? Scan(form.id, found, given) : Choose(form.id, found, given);
  } catch (const host::ServerError&) {  // the page gets a new one with the next look at the files
    is_lost_ = true;
    throw;
  }
}

json LivePage::Scan(const std::string& dialog, const FormField& field, const std::string& text) {
  const Typed typed = TypeInto(*session_, field, text);
  json answer = {{"accepted", typed.is_accepted},
                 {"function", typed.function},
                 {"code", typed.code},
                 {"rc", typed.rc},
                 {"reason", Utf8(typed.reason)},
                 {"stored", Utf8(typed.stored)},
                 {"at", PlaceOf(Utf8(text), Utf8(typed.refused))}};
  std::vector<std::string> lines = Opening();
  lines.push_back(typed.line);
  if (typed.is_accepted) {
    const json shown = Choose(dialog, field, typed.stored);
    answer["shown"] = shown.at("shown");
    answer["note"] = NoteOn(field, text, typed.stored, shown.at("shown").get<std::string>());
    lines.push_back(shown.at("line"));
  }
  std::string script;
  for (const std::string& line : lines) script += line + '\n';
  answer["script"] = script;
  return answer;
}

json LivePage::Choose(const std::string& dialog, const FormField& field, const std::string& value) {
  const std::string shown = ShownIn(*session_, dialog, field.name, value);
  const std::string line =
      "dict_VarFilterInit " + ScriptWord(dialog) + ' ' + ScriptWord(field.name) + ' ' + ScriptWord(value) +
      " => eof_p=0\ndict_FilterInit format\ndict_FilterNext => val=" + ScriptWord(shown) + "\ndict_FilterFree";
  std::string script;
  for (const std::string& opening : Opening()) script += opening + '\n';
  return {{"accepted", true}, {"stored", Utf8(value)}, {"shown", Utf8(shown)},          {"reason", ""},
          {"at", -1},         {"line", line},          {"script", script + line + '\n'}};
}

}  // namespace vorlix::tool
