#include "tools/preview/form.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <span>

#include "dll/base/clock.h"
#include "dll/base/text.h"
#include "host/xbuf.h"
#include "tools/check/field.h"
#include "tools/check/manual.h"
#include "tools/check/report.h"
#include "tools/failure.h"
#include "tools/nearest.h"
#include "tools/paint.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

constexpr int32_t ROOM = 40'000;
constexpr const char* DICTIONARY = "PREVIEW";

// ---- What the server says -------------------------------------------------------------------------------------------

host::Result Call(Session& session, std::string_view function, const std::vector<host::Arg>& args) {
  host::Result result = session.Call(function, args);
  if (result.code != 0)
    throw ToolError(Status::OtherCode,
                    std::string(function) + " answered " + std::to_string(result.code) + session.Reasons());
  return result;
}

// Throws when the file is refused.
void Open(Session& session, std::string_view function, std::vector<host::Arg> args, const std::string& file) {
  args.push_back(host::IntRef());
  const host::Result result = session.Call(function, args);
  const int32_t answer = result.args.back().IntAt();
  if (result.code == 0 && answer == 0) return;
  throw ToolError(Status::OtherCode, "the server refuses " + file + session.Reasons());
}

// The items of an XBUF by name.
class Items {
 public:
  explicit Items(const std::string& xbuf) : items_(host::ReadXbuf(xbuf)) {}

  // Empty when there is none. Names begin with dict_ or Dlg_.
  std::string Text(std::string_view name) const {
    const auto found = std::ranges::find_if(items_, [&](const host::XbufItem& item) {
      return EqualNoCase(std::string_view(item.name).substr(item.name.find('_') + 1), name);
    });
    return found != items_.end() ? found->value : "";
  }

 private:
  std::vector<host::XbufItem> items_;
};

bool IsZero(const std::string& number) { return std::strtod(number.c_str(), nullptr) == 0; }

bool HasRange(const FormField& field) { return !IsZero(field.minimum) || !IsZero(field.maximum); }

std::string RangeOfField(const FormField& field) {
  if (HasRange(field)) return field.minimum + " to " + field.maximum;
  const ManualWord* const type = field.type == "N" ? FindManualWord(WordKind::NumberValue, field.value_type) : nullptr;
  return type != nullptr && type->meaning.find(" to ") != std::string_view::npos ? std::string(type->meaning) : "";
}

FormField ReadField(const Items& items) {
  FormField field;
  field.name = items.Text("fld");
  field.path = items.Text("path");
  field.object_type = items.Text("objtype");
  field.type = items.Text("typ");
  field.value_type = items.Text("vtyp");
  field.format = items.Text("fmt");
  field.valid = items.Text("valid");
  field.default_value = items.Text("defval");
  field.minimum = items.Text("min");
  field.maximum = items.Text("max");
  field.range = RangeOfField(field);
  field.length = static_cast<size_t>(std::max(std::atoi(items.Text("len").c_str()), 0));
  field.decimals = std::atoi(items.Text("prec").c_str());
  field.is_required = items.Text("req") == "1";
  return field;
}

// A value of this type that every field of it can show; empty where there is none.
std::string ValueOfNow(std::string_view type) {
  if (type == "D" || type == "K") return "$DATE";
  if (type == "Z") return "$TIME";
  const std::tm now = LocalTimeNow();
  return type == "M" ? std::to_string((now.tm_year + 1900) * 100 + now.tm_mon + 1) : "";
}

std::vector<FormField> ReadFields(Session& session, const std::string& dialog) {
  std::vector<FormField> fields;
  Call(session, "dict_First", {host::Text(dialog)});
  for (;;) {
    const host::Result next = Call(session, "dict_Next", {host::Text(dialog), host::OutText(ROOM), host::IntRef()});
    if (next.args.at(2).IntAt() != 0) break;
    fields.push_back(ReadField(Items(next.args.at(1).TextAt())));
  }
  for (FormField& field : fields) {
    // What the host works out is not known here.
    field.shown = ShownIn(session, dialog, field.name, field.IsDefaultOfHost() ? "" : field.default_value);
    if (const std::string now = ValueOfNow(field.type); !now.empty())
      field.sample = ShownIn(session, dialog, field.name, now);
  }
  return fields;
}

// The server counts dialogs from the last line of the catalog on.
std::vector<Form> ReadForms(Session& session) {
  std::vector<Form> forms;
  for (int32_t index = 0;; ++index) {
    const host::Result found =
        Call(session, "dict_DlgID",
             {host::Text(DICTIONARY), host::Int(-1), host::Int(index), host::OutText(ROOM), host::IntRef()});
    if (found.args.at(4).IntAt() != 0) break;
    const Items items(found.args.at(3).TextAt());
    forms.push_back({items.Text("name"), items.Text("id"), {}});
  }
  std::ranges::reverse(forms);
  for (Form& form : forms) form.fields = ReadFields(session, form.id);
  return forms;
}

// ---- What the files say ---------------------------------------------------------------------------------------------

std::string PlaceOf(const Findings& file, size_t line) {
  return std::filesystem::path(file.file).filename().string() + ':' + std::to_string(line + 1);
}

std::string FindingText(const Findings& file, const Finding& finding) {
  return PlaceOf(file, finding.span.line) + ": " + std::string(SeverityWord(finding.rule->severity)) + ' ' +
         std::string(finding.rule->code) + ": " + finding.text;
}

// The models that are refused, which may be why the file is, and the file.
std::vector<const Findings*> RefusedFiles(const Judged& judged, const Checker& checker) {
  std::vector<const Findings*> refused = checker.OpenModels().Files();
  std::erase_if(refused, [](const Findings* file) { return file->opens; });
  refused.push_back(&judged.findings);
  return refused;
}

// Attributes of one section stand together, in the order in which the first of them comes.
void AddInherited(std::vector<Inherited>& all, const ShownAttribute& attribute) {
  const Findings& file = *attribute.source.file;
  const size_t section = file.layout.SectionOf(attribute.source.entry->line);
  const LayoutSection& header = file.layout.Sections().at(section);
  const std::string place = PlaceOf(file, header.line);
  const auto known = std::ranges::find(all, place, &Inherited::place);
  if (known != all.end()) {
    known->attributes += ", " + attribute.name;
  } else {
    all.push_back({attribute.name, std::string(header.name), place});
  }
}

// Finds the sections of fields in the file that was judged.
class Origins {
 public:
  Origins(const Judged& judged, const Checker& checker) : judged_(judged), checker_(checker) {}

  // Takes the findings of the field's section away from those that are left.
  void Tell(const std::string& form, FormField& field, std::vector<Finding>& left) const {
    const std::string name = HandleOf(form) + '.' + field.name;
    const Layout& layout = judged_.findings.layout;
    const size_t section = layout.FindSection(name);
    if (section == Layout::NO_SECTION) return;
    std::erase_if(left, [&](const Finding& finding) {
      if (layout.SectionOf(finding.span.line) != section) return false;
      field.findings.push_back(FindingText(judged_.findings, finding));
      return true;
    });
    const SectionPtr record = judged_.dict != nullptr ? FindSection(*judged_.dict, name) : nullptr;
    if (record == nullptr) return;
    for (const ShownAttribute& attribute :
         ListAttributes(judged_.findings, section, record->object, checker_.OpenModels()))
      if (attribute.source.entry != nullptr && attribute.source.file != &judged_.findings)
        AddInherited(field.inherited, attribute);
  }

 private:
  // What stands before the "=" in the line of the catalog that has the dialog.
  std::string HandleOf(const std::string& form) const {
    const Layout& layout = judged_.findings.layout;
    for (const LayoutEntry& entry : layout.EntriesOf(layout.Catalog()))
      if (EqualNoCase(entry.Value(), form)) return std::string(entry.Name());
    return "";
  }

  const Judged& judged_;
  const Checker& checker_;
};

}  // namespace

Preview ReadPreview(Session& session, const std::string& file, const Judged& judged, const Checker& checker) {
  if (judged.kind != FileKind::Dictionary)
    throw ToolError(Status::Usage, file + " is no dictionary but a file of " +
                                       (judged.kind == FileKind::Model ? "models" : "modules") +
                                       ", and has no dialogs; draw the dictionary that inherits from it");
  if (judged.findings.HasErrors() && !judged.findings.opens) {
    std::string told;
    const WithoutColours plain;  // what goes into a message has none
    for (const Findings* const refused : RefusedFiles(judged, checker))
      for (const Finding& finding : refused->list) told += '\n' + ReportText(*refused, finding);
    throw ToolError(Status::OtherCode, "the server refuses " + file + '\n' + told);
  }
  size_t count = 0;
  for (const std::string& model : checker.ModelPaths())
    Open(session, "dict_OpenModel", {host::Text("MODEL" + std::to_string(++count)), host::Text(model)}, model);
  Open(session, "dict_Open", {host::Text(DICTIONARY), host::Text(file), host::Int(1)}, file);
  Preview preview = {file, ReadForms(session), {}};
  std::vector<Finding> left = judged.findings.list;
  const Origins origins(judged, checker);
  for (Form& form : preview.forms)
    for (FormField& field : form.fields) origins.Tell(form.name, field, left);
  for (const Finding& finding : left) preview.findings.push_back(FindingText(judged.findings, finding));
  return preview;
}

bool FormField::IsDefaultOfHost() const {
  return default_value.starts_with('$') && !EqualNoCase(default_value, "$DATE") && !EqualNoCase(default_value, "$TIME");
}

std::string ShownIn(Session& session, const std::string& dialog, const std::string& field, const std::string& value) {
  const host::Result opened =
      Call(session, "dict_VarFilterInit", {host::Text(dialog), host::Text(field), host::Text(value), host::IntRef()});
  if (opened.args.back().IntAt() != 0) return "";
  Call(session, "dict_FilterInit", {host::Text("format")});
  const host::Result next =
      Call(session, "dict_FilterNext", {host::OutText(ROOM), host::OutText(ROOM), host::IntRef()});
  Call(session, "dict_FilterFree", {});
  return next.args.at(2).IntAt() == 0 ? next.args.at(1).TextAt() : "";
}

void KeepDialog(Preview& preview, const std::string& dialog) {
  if (dialog.empty()) return;
  std::vector<std::string_view> names;
  for (const Form& form : preview.forms) names.push_back(form.name);
  const auto is_other = [&](const Form& form) {
    return !EqualNoCase(form.name, dialog) && !EqualNoCase(form.id, dialog);
  };
  if (std::ranges::all_of(preview.forms, is_other)) {
    const std::string near(Nearest(dialog, names));
    throw ToolError(Status::Usage, preview.file + " has no dialog " + QuoteWord(dialog) +
                                       (near.empty() ? "" : "; did you mean " + QuoteWord(near) + "?"));
  }
  std::erase_if(preview.forms, is_other);
}

std::vector<std::string> RefusalTexts(const Judged& judged, const Checker& checker) {
  std::vector<std::string> texts;
  for (const Findings* const file : RefusedFiles(judged, checker))
    for (const Finding& finding : file->list) texts.push_back(FindingText(*file, finding));
  return texts;
}

// ---- In words -------------------------------------------------------------------------------------------------------

namespace {

struct TypeWord {
  std::string_view type;
  std::string_view word;
};
constexpr TypeWord OBJECT_WORDS[] = {{"CB", "check box"},
                                     {"RB", "radio button"},
                                     {"LB", "list box"},
                                     {"MT", "the host's own (MT)"},
                                     {"XB", "the host's own (XB)"}};
constexpr TypeWord FIELD_WORDS[] = {{"N", "number"},
                                    {"D", "date"},
                                    {"Z", "time"},
                                    {"M", "month"},
                                    {"K", "week"},
                                    {"T", "text"},
                                    {"U", "text in upper case"}};

std::string_view WordFor(std::span<const TypeWord> words, std::string_view type) {
  const auto found = std::ranges::find(words, type, &TypeWord::type);
  return found != words.end() ? found->word : "";
}

}  // namespace

std::string KindOfField(const FormField& field) {
  const std::string in_range = field.range.empty() ? "" : ", " + field.range;
  const std::string_view object = WordFor(OBJECT_WORDS, field.object_type);
  if (field.object_type == "RB" || field.object_type == "LB") return std::string(object) + in_range;
  if (!object.empty()) return std::string(object);
  const std::string_view type = WordFor(FIELD_WORDS, field.type);
  std::string kind = type.empty() ? "the host's own (" + field.type + ')' : std::string(type);
  if (!field.value_type.empty()) kind += ' ' + field.value_type;
  if (field.type == "N" && field.decimals > 0)
    kind += ", " + std::to_string(field.decimals) + (field.decimals == 1 ? " decimal" : " decimals");
  if (field.type == "N") kind += in_range;
  if (!field.format.empty() && field.format.find('%') != std::string::npos) kind += ", as " + field.format;
  if (!field.valid.empty()) kind += ", only " + field.valid;
  return kind;
}

std::string DefaultOfField(const FormField& field) {
  if (field.default_value.empty()) return "";
  return "at first " + field.default_value + (field.IsDefaultOfHost() ? ", which the host works out" : "");
}

std::vector<int> ChoicesOfField(const FormField& field, int most) {
  const int first = std::atoi(field.minimum.c_str());
  const int last = std::atoi(field.maximum.c_str());
  std::vector<int> choices;
  if (field.object_type != "RB" || last < first || last - first >= most || last == 0) return choices;
  for (int choice = first; choice <= last; ++choice) choices.push_back(choice);
  return choices;
}

}  // namespace vorlix::tool
