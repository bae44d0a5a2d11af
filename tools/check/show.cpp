#include "tools/check/show.h"

#include <algorithm>
#include <cstdio>

#include "dll/base/text.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/fielddisplay.h"
#include "tools/check/checker.h"
#include "tools/check/field.h"
#include "tools/check/report.h"
#include "tools/check/typing.h"
#include "tools/files.h"
#include "tools/nearest.h"
#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/session.h"

namespace vorlix::tool {
namespace {

// ---- Which field ----------------------------------------------------------------------------------------------------

std::string_view FieldOf(std::string_view section) { return section.substr(section.find('.') + 1); }

// Throws ToolError, with the field that was meant.
size_t RequireField(const Layout& layout, const std::string& wanted, const Conversion& to_outside) {
  std::vector<std::string_view> names;
  size_t found = layout.FindSection(wanted);
  for (size_t number = 0; number < layout.Sections().size(); ++number) {
    const std::string_view name = layout.Sections()[number].name;
    if (name.find('.') != std::string_view::npos)
      names.push_back(wanted.find('.') == std::string::npos ? FieldOf(name) : name);
    if (!EqualNoCase(FieldOf(name), wanted)) continue;
    if (found != Layout::NO_SECTION && found != number)
      throw ToolError(Status::Usage, "several dialogs have a field " + to_outside(wanted) + ": " +
                                         to_outside(layout.Sections()[found].name) + ", " + to_outside(name));
    found = number;
  }
  if (found != Layout::NO_SECTION) return found;
  const std::string_view near = Nearest(wanted, names);
  throw ToolError(Status::Usage, "there is no field '" + to_outside(wanted) + "'" +
                                     (near.empty() ? "" : "; did you mean " + to_outside(near) + "?"));
}

// ---- Where an attribute comes from ----------------------------------------------------------------------------------

std::string SourceText(const Source& source, const Conversion& to_outside) {
  if (source.entry == nullptr) return "default";
  return source.file->file + ':' + std::to_string(source.entry->line + 1) + ": " +
         Printable(to_outside(source.file->layout.Line(source.entry->line)));
}

void PrintAttributes(const Findings& findings, size_t section, const Object& object, const Models& models,
                     const Conversion& to_outside) {
  for (const ShownAttribute& attribute : ListAttributes(findings, section, object, models))
    std::printf("  %-8s %-24s %s\n", attribute.name.c_str(), Printable(to_outside(attribute.value)).c_str(),
                Dim(SourceText(attribute.source, to_outside)).c_str());
}

// ---- What it shows and takes ----------------------------------------------------------------------------------------

void PrintShown(const Object& object, const std::string& value, const Conversion& to_outside) {
  FieldBuffer shown;
  const bool is_formatted = FmtDisplay(shown, object, value.c_str());
  const std::string text = is_formatted ? std::string(shown.View()) : value;
  std::printf("\nThe value %s shows as %s%s\n", QuoteWord(to_outside(value)).c_str(), Quote(to_outside(text)).c_str(),
              is_formatted ? "" : ", as the host has it");
}

Status PrintTyped(const Object& object, const std::string& typed, const Conversion& to_outside) {
  const std::string shown = Quote(to_outside(typed));
  FieldBuffer out;
  const Scanned scanned = ScanTyped(object, typed, out);
  if (scanned.code == SCAN_OK) {
    const std::string stored = scanned.is_text ? Quote(to_outside(scanned.stored)) : scanned.stored;
    std::printf("\nTyped %s is stored as %s\n", shown.c_str(), stored.c_str());
    return Status::Ok;
  }
  std::string which;
  if (scanned.code == SCAN_BAD_CHAR && !out.View().empty()) which = ": " + Quote(to_outside(out.View()));
  if (scanned.code == SCAN_BAD_CHAR && object.valid != nullptr)
    which += ", VALID is " + std::string(CText(object.valid).View());
  std::printf("\nTyped %s is refused: %s%s\n", shown.c_str(), std::string(ScanReason(scanned.code)).c_str(),
              which.c_str());
  return Status::OtherCode;
}

// The findings of the field's own lines, and of the files that it inherits from; false when one is an error.
bool PrintFindings(const Findings& findings, size_t section) {
  const size_t begin = findings.layout.Sections()[section].line;
  const size_t end = section + 1 < findings.layout.Sections().size() ? findings.layout.Sections()[section + 1].line
                                                                     : findings.layout.LineCount();
  bool is_good = true;
  for (const Finding& finding : findings.list) {
    if (finding.span.line < begin || finding.span.line >= end) continue;
    std::printf("\n%s", ReportText(findings, finding).c_str());
    is_good = is_good && finding.rule->severity != Severity::Error;
  }
  return is_good;
}

}  // namespace

Status ShowField(const ShowCommand& command) {
  Checker checker({.models = command.models, .ignore = {}, .kind = {}, .language = command.language});
  const std::string text = command.file == "-" ? ReadStandardInput() : ReadFile(command.file);
  const Judged judged = checker.Check(command.file, &text);
  const Layout& layout = judged.findings.layout;
  Options of_server;
  of_server.language = checker.Language();
  const Encoding encoding = EncodingFor(of_server, true);
  const auto to_outside = [&](std::string_view bytes) { return encoding.ToOutside(bytes); };
  const size_t section = RequireField(layout, encoding.ToServer(command.field), to_outside);
  const std::string name(layout.Sections()[section].name);
  const SectionPtr record = judged.dict != nullptr ? FindSection(*judged.dict, name) : nullptr;
  if (record == nullptr) throw ToolError(Status::Usage, "[" + name + "] is no object");
  std::printf("%s, %s:%zu\n", Bold(Printable(to_outside(name))).c_str(), Printable(command.file).c_str(),
              size_t{layout.Sections()[section].line} + 1);
  if (const LayoutEntry* const model = layout.FindEntry(section, "MODEL"))
    std::printf("  %-8s %-24s %s\n", "MODEL", Printable(to_outside(model->Value())).c_str(),
                Dim(SourceText({&judged.findings, model}, to_outside)).c_str());
  PrintAttributes(judged.findings, section, record->object, checker.OpenModels(), to_outside);
  const bool is_good = PrintFindings(judged.findings, section);
  if (!is_good) return Status::OtherCode;
  if (command.value) PrintShown(record->object, encoding.ToServer(*command.value), to_outside);
  return command.typed ? PrintTyped(record->object, encoding.ToServer(*command.typed), to_outside) : Status::Ok;
}

}  // namespace vorlix::tool
