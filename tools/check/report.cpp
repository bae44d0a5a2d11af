#include "tools/check/report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/textencoding.h"

namespace vorlix::tool {
namespace {

using Json = nlohmann::ordered_json;

// What other programs read is UTF-8.
std::string Utf8(std::string_view text) { return Decode(text, EncodingOfText(text)); }

std::string PlaceText(const std::string& file, const ShownPlace& place) {
  return Printable(file) + ':' + std::to_string(place.line) + ':' + std::to_string(place.column) + ": ";
}

// ---- Text -----------------------------------------------------------------------------------------------------------

// Where the character of that column begins; the end of a line with fewer.
size_t ByteOf(std::string_view line, size_t column) {
  if (!IsUtf8(line)) return std::min(column, line.size());
  const auto is_continuation = [](char c) { return (c & 0xc0) == 0x80; };
  size_t at = 0;
  for (size_t passed = 0; at < line.size() && (passed < column || is_continuation(line[at])); ++at)
    if (!is_continuation(line[at])) ++passed;
  return at;
}

// The characters of a line from one column to another, both from 0.
std::string_view Columns(std::string_view line, size_t begin, size_t end) {
  const size_t first = ByteOf(line, begin);
  return line.substr(first, ByteOf(line, end) - first);
}

// The line, as much of it as fits, and a row of marks below the place. Tabs are one column, as everywhere here.
std::string Excerpt(const Layout& layout, const Span& span, const ShownPlace& place) {
  constexpr size_t INDENT = 4;
  constexpr size_t WIDEST = 200;
  if (span.line >= layout.LineCount()) return "";
  std::string line(layout.Line(span.line));
  std::ranges::replace(line, '\t', ' ');
  const size_t room = std::max<size_t>(TerminalWidth() == 0 ? WIDEST : TerminalWidth(), 4 * INDENT) - INDENT;
  const size_t column = place.column - 1;
  const size_t first = ColumnOf(line, line.size()) <= room || column < room / 2 ? 0 : column - room / 4;
  const std::string_view shown = Columns(line, first, first + room);
  const size_t marked = std::max<size_t>(place.end_column - place.column, 1);
  const std::string marks(std::min(marked, room - (column - first)), '^');
  const std::string indent(INDENT, ' ');
  return indent + Printable(shown) + '\n' + indent + std::string(column - first, ' ') + Green(marks) + '\n';
}

std::string WriteText(const std::vector<Findings>& files) {
  std::string all;
  for (const Findings& file : files)
    for (const Finding& finding : file.list) all += ReportText(file, finding);
  return all;
}

// ---- For programs ---------------------------------------------------------------------------------------------------

// Paths can hold any byte, JSON cannot.
std::string Dumped(const Json& json) { return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n'; }

std::string WriteJson(const std::vector<Findings>& files) {
  Json all = Json::array();
  for (const Findings& file : files)
    for (const Finding& finding : file.list) {
      const ShownPlace place = PlaceIn(file.layout, finding.span);
      Json row = {{"file", file.file},
                  {"line", place.line},
                  {"column", place.column},
                  {"endColumn", place.end_column},
                  {"severity", SeverityWord(finding.rule->severity)},
                  {"code", finding.rule->code},
                  {"message", Utf8(finding.text)},
                  {"remedy", Utf8(RemedyOf(finding))}};
      for (const Related& related : finding.related)
        row["related"].push_back({{"file", related.file}, {"line", related.span.line + 1}, {"message", related.text}});
      all.push_back(row);
    }
  return Dumped(all);
}

Json SarifPlace(const std::string& file, const Json& region) {
  return {{"physicalLocation", {{"artifactLocation", {{"uri", PercentEncoded(file)}}}, {"region", region}}}};
}

Json SarifRules() {
  Json rules = Json::array();
  for (const Rule* const rule : RULES)
    rules.push_back({{"id", rule->code},
                     {"shortDescription", {{"text", rule->title}}},
                     {"fullDescription", {{"text", rule->explanation}}},
                     {"help", {{"text", rule->remedy}}},
                     {"defaultConfiguration", {{"level", SeverityWord(rule->severity)}}}});
  return rules;
}

std::string WriteSarif(const std::vector<Findings>& files) {
  Json results = Json::array();
  for (const Findings& file : files)
    for (const Finding& finding : file.list) {
      const ShownPlace place = PlaceIn(file.layout, finding.span);
      const Json region = {{"startLine", place.line}, {"startColumn", place.column}, {"endColumn", place.end_column}};
      Json row = {{"ruleId", finding.rule->code},
                  {"level", SeverityWord(finding.rule->severity)},
                  {"message", {{"text", Utf8(finding.text) + "; " + Utf8(RemedyOf(finding))}}},
                  {"locations", {SarifPlace(file.file, region)}}};
      for (const Related& related : finding.related) {
        Json other = SarifPlace(related.file, {{"startLine", related.span.line + 1}});
        other["message"] = {{"text", related.text}};
        row["relatedLocations"].push_back(other);
      }
      results.push_back(row);
    }
  const Json tool = {{"driver", {{"name", "vorlix check"}, {"version", VORLIX_VERSION}, {"rules", SarifRules()}}}};
  const Json run = {{"tool", tool}, {"columnKind", "unicodeCodePoints"}, {"results", results}};
  const Json all = {
      {"$schema", "https://json.schemastore.org/sarif-2.1.0.json"}, {"version", "2.1.0"}, {"runs", Json::array({run})}};
  return Dumped(all);
}

// A workflow command takes these characters in another form.
std::string Escaped(std::string_view text, bool is_property) {
  std::string escaped;
  for (const char c : text) {
    const bool is_special = c == '%' || c == '\n' || c == '\r' || (is_property && (c == ':' || c == ','));
    escaped += is_special ? '%' + Hex({&c, 1}) : std::string(1, c);
  }
  return escaped;
}

std::string WriteGithub(const std::vector<Findings>& files) {
  std::string all;
  for (const Findings& file : files)
    for (const Finding& finding : file.list) {
      const ShownPlace place = PlaceIn(file.layout, finding.span);
      all += "::" + std::string(SeverityWord(finding.rule->severity)) + " file=" + Escaped(Utf8(file.file), true) +
             ",line=" + std::to_string(place.line) + ",col=" + std::to_string(place.column) +
             ",title=" + std::string(finding.rule->code) +
             "::" + Escaped(Utf8(finding.text) + "; " + Utf8(RemedyOf(finding)), false) + '\n';
    }
  return all;
}

constexpr ReportFormat FORMATS[] = {
    {"text", WriteText}, {"json", WriteJson}, {"sarif", WriteSarif}, {"github", WriteGithub}};

}  // namespace

const ReportFormat* FindReportFormat(std::string_view name) {
  const auto* const found = std::ranges::find(FORMATS, name, &ReportFormat::name);
  return found != std::end(FORMATS) ? found : nullptr;
}

std::string ReportText(const Findings& file, const Finding& finding) {
  const ShownPlace place = PlaceIn(file.layout, finding.span);
  const bool is_error = finding.rule->severity == Severity::Error;
  const std::string kind = std::string(SeverityWord(finding.rule->severity)) + ' ' + std::string(finding.rule->code);
  const std::string words = Wrap(Printable(finding.text), TerminalWidth(), 4);
  std::string text = Bold(PlaceText(file.file, place)) + (is_error ? Red(kind) : Bold(kind)) + ": " + words + '\n' +
                     Excerpt(file.layout, finding.span, place);
  for (const Related& related : finding.related)
    text += "  " + Printable(related.file) + ':' + std::to_string(related.span.line + 1) + ": " + related.text + '\n';
  return text + "  " + Wrap(Printable(RemedyOf(finding)), TerminalWidth(), 2) + '\n';
}

ShownPlace PlaceIn(const Layout& layout, const Span& span) {
  if (span.line >= layout.LineCount()) return {span.line + 1, 1, 1};
  const std::string_view line = layout.Line(span.line);
  return {span.line + 1, ColumnOf(line, span.begin) + 1, ColumnOf(line, span.end) + 1};
}

std::string_view SeverityWord(Severity severity) { return severity == Severity::Error ? "error" : "warning"; }

std::string RemedyOf(const Finding& finding) {
  return finding.remedy.empty() ? std::string(finding.rule->remedy) : finding.remedy;
}

}  // namespace vorlix::tool
