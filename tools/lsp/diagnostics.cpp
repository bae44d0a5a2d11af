// Findings, and what puts them right.
#include <algorithm>

#include "tools/check/fix.h"
#include "tools/check/report.h"
#include "tools/lsp/features.h"

namespace vorlix::tool {
namespace {

// Numbers of the protocol.
constexpr int SEVERITY_ERROR = 1;
constexpr int SEVERITY_WARNING = 2;
constexpr std::string_view QUICK_FIX = "quickfix";
constexpr std::string_view FIX_ALL = "source.fixAll";

Json JsonOf(const Analysis& analysis, const Related& related, const Models& models) {
  Range range = {{related.span.line, 0}, {related.span.line, 0}};
  if (related.file == analysis.judged.findings.file) range = analysis.RangeOf(related.span);
  for (const Findings* const file : models.Files())
    if (file->file == related.file) range = RangeIn(*file, related.span);
  return {{"location", {{"uri", UriOfPath(related.file)}, {"range", tool::JsonOf(range)}}}, {"message", related.text}};
}

Json JsonOf(const Analysis& analysis, const Finding& finding, const Models& models) {
  const auto decoded = [&](const std::string& text) { return Decode(text, analysis.encoding); };
  const bool is_error = finding.rule->severity == Severity::Error;
  Json json = {{"range", tool::JsonOf(analysis.RangeOf(finding.span))},
               {"severity", is_error ? SEVERITY_ERROR : SEVERITY_WARNING},
               {"code", finding.rule->code},
               {"source", "vorlix"},
               {"message", decoded(finding.text) + '\n' + decoded(RemedyOf(finding))}};
  for (const Related& related : finding.related)
    json["relatedInformation"].push_back(JsonOf(analysis, related, models));
  return json;
}

Json Edit(const Document& document, const Range& range, const std::string& text) {
  const Json change = {{"range", JsonOf(range)}, {"newText", text}};
  return {{"changes", {{document.uri, Json::array({change})}}}};
}

// A comment above the line switches the finding off there.
Json Ignoring(const Document& document, const Analysis& analysis, const Finding& finding) {
  const Position start = {analysis.RangeOf(finding.span).start.line, 0};
  const std::string code(finding.rule->code);
  return {{"title", "Ignore " + code + " here"},
          {"kind", QUICK_FIX},
          {"edit", Edit(document, {start, start}, "; vorlix: ignore " + code + '\n')}};
}

Json Replacing(const Document& document, const Analysis& analysis, const Finding& finding, const Models& models) {
  const std::string text = Decode(*finding.instead, analysis.encoding);
  return {{"title", text.empty() ? "Remove it" : "Write " + text},
          {"kind", QUICK_FIX},
          {"isPreferred", true},
          {"diagnostics", Json::array({JsonOf(analysis, finding, models)})},
          {"edit", Edit(document, analysis.RangeOf(finding.span), text)}};
}

// All that vorlix check --fix would write, in one go. Null when there is nothing.
Json ReplacingAll(const Document& document, const Analysis& analysis) {
  Json changes = Json::array();
  for (const Finding& finding : analysis.judged.findings.list)
    if (IsFixed(finding))
      changes.push_back({{"range", JsonOf(analysis.RangeOf(finding.span))},
                         {"newText", Decode(*finding.instead, analysis.encoding)}});
  if (changes.empty()) return nullptr;
  return {{"title", "Put right all that can be safely"},
          {"kind", FIX_ALL},
          {"edit", {{"changes", {{document.uri, changes}}}}}};
}

// Whether the editor asks for actions of this kind.
bool IsWanted(const Json& params, std::string_view kind) {
  const Json context = params.value("context", Json::object());
  const auto only = context.is_object() ? context.find("only") : context.end();
  if (only == context.end() || !only->is_array()) return true;
  return std::ranges::any_of(
      *only, [&](const Json& one) { return one.is_string() && kind.starts_with(one.get_ref<const std::string&>()); });
}

}  // namespace

Json Diagnostics(Workspace& workspace, const Document& document) {
  Json list = Json::array();
  const Analysis& analysis = workspace.Analyse(document);
  if (!analysis.failure.empty())
    list.push_back({{"range", JsonOf(Range())},
                    {"severity", SEVERITY_ERROR},
                    {"source", "vorlix"},
                    {"message", analysis.failure}});
  for (const Finding& finding : analysis.judged.findings.list)
    list.push_back(JsonOf(analysis, finding, workspace.OpenModels()));
  return {{"uri", document.uri}, {"version", document.version}, {"diagnostics", list}};
}

// What stands in another file is put right there.
Json OfferFixes(Workspace& workspace, const Json& params) {
  const Document* const document = DocumentOf(workspace, params);
  if (document == nullptr) return nullptr;
  const Range range = RangeFrom(params.at("range"));
  const Analysis& analysis = workspace.Analyse(*document);
  Json actions = Json::array();
  for (const Finding& finding : analysis.judged.findings.list) {
    if (!IsWanted(params, QUICK_FIX) || !analysis.RangeOf(finding.span).Touches(range)) continue;
    if (finding.instead && finding.related.empty())
      actions.push_back(Replacing(*document, analysis, finding, workspace.OpenModels()));
    if (finding.rule->severity == Severity::Warning) actions.push_back(Ignoring(*document, analysis, finding));
  }
  if (IsWanted(params, FIX_ALL))
    if (Json all = ReplacingAll(*document, analysis); !all.is_null()) actions.push_back(std::move(all));
  return actions;
}

}  // namespace vorlix::tool
