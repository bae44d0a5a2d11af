// What stands at a place, told in the manual's words: attributes, types and letters, whole fields, models, dialogs.
#include <ctime>
#include <filesystem>

#include "dll/shared/fielddisplay.h"
#include "tools/check/field.h"
#include "tools/check/modules.h"
#include "tools/lsp/features.h"
#include "tools/lsp/spot.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

// Text that stands in a table of Markdown.
std::string Cell(std::string_view text) {
  std::string cell;
  for (const char c : text) (cell += c == '|' ? "\\" : "") += c;
  return cell;
}

// A value that fields of this type might have: 1234.5, or this moment.
std::string SampleValue(const Object& object) {
  const std::tm now = LocalTimeNow();
  switch (object.ftyp) {
    case FT_N: return "1234.5";
    case FT_D:
    case FT_K: return "$DATE";
    case FT_Z: return "$TIME";
    case FT_M: return std::to_string((now.tm_year + 1900) * 100 + now.tm_mon + 1);
    default: return "Text";
  }
}

std::string FileName(const Findings& file) { return std::filesystem::path(file.file).filename().string(); }

class Teller {
 public:
  Teller(const Analysis& analysis, const Models& models, const Spot& spot)
      : analysis_(analysis), findings_(analysis.judged.findings), models_(models), spot_(spot) {}

  std::string Tell() const {
    if (spot_.section == Layout::NO_SECTION || spot_.part == Part::Nothing) return "";
    if (analysis_.judged.kind == FileKind::Module) return TellModule();
    if (spot_.part == Part::Header) return TellField();
    if (spot_.section == findings_.layout.Catalog()) return TellDialog();
    if (!findings_.layout.IsObject(spot_.section)) return "";
    if (spot_.part == Part::Name || EqualNoCase(spot_.entry->Name(), "FREQ")) return TellAttribute();
    if (EqualNoCase(spot_.entry->Name(), "MODEL")) return TellModel();
    const Object* const object = ObjectOf(analysis_, spot_.section);
    const WordKind words = WordsOf(spot_.entry->Name(), object);
    if (EqualNoCase(spot_.entry->Name(), "FFMT")) return TellFormat(words) + TellSample(object);
    const ManualWord* const word = FindManualWord(words, spot_.entry->Value());
    return word != nullptr ? Titled(word->word, word->meaning) : TellAttribute();
  }

 private:
  static std::string Titled(std::string_view word, std::string_view meaning) {
    return "**" + std::string(word) + "**: " + PlainSentence(meaning) + '\n';
  }

  std::string TellAttribute() const {
    const ManualWord* const word = FindManualWord(WordKind::Attribute, spot_.entry->Name());
    return word != nullptr ? Titled(word->word, word->meaning) : "";
  }

  // Every letter that means something, each once.
  std::string TellFormat(WordKind words) const {
    std::string told = TellAttribute();
    const std::string_view format = spot_.entry->Value();
    for (size_t at = 0; at < format.size(); ++at) {
      if (format.find(format[at]) != at) continue;
      const std::string_view letter = format.substr(at, 1);
      const ManualWord* const word = FindManualWord(words, letter);
      const bool is_off = words != WordKind::Directive && word != nullptr && word->word != letter;
      if (word != nullptr)
        told += "\n- `" + std::string(letter) + "`: " + (is_off ? "not: " : "") + std::string(word->meaning);
    }
    return told + '\n';
  }

  static std::string TellSample(const Object* object) {
    FieldBuffer shown;
    if (object == nullptr) return "";
    const std::string sample = SampleValue(*object);
    if (!FmtDisplay(shown, *object, sample.c_str())) return "";
    return "\n`" + sample + "` shows as `" + Printable(shown.View()) + "`\n";
  }

  std::string TellField() const {
    const std::string_view name = findings_.layout.Sections()[spot_.section].name;
    if (spot_.section == findings_.layout.Catalog()) return "The dialogs: a handle and a prefix each.\n";
    std::string told = "**" + std::string(name) + "**\n";
    const Object* const object = ObjectOf(analysis_, spot_.section);
    if (object == nullptr) return told;
    told += "\n| Attribute | Value | From |\n|---|---|---|\n";
    for (const ShownAttribute& attribute : ListAttributes(findings_, spot_.section, *object, models_))
      told += "| " + attribute.name + " | `" + Cell(attribute.value) + "` | " + SourceText(attribute.source) + " |\n";
    return told + TellSample(object);
  }

  std::string SourceText(const Source& source) const {
    if (source.entry == nullptr) return "default";
    const std::string line = "line " + std::to_string(source.entry->line + 1);
    return source.file == &findings_ ? line : Cell(FileName(*source.file)) + ", " + line;
  }

  // An item, or all items of a section.
  std::string TellModule() const {
    const LayoutSection& section = findings_.layout.Sections()[spot_.section];
    if (spot_.part != Part::Header) return TellItem(*spot_.entry);
    std::string told = "**" + std::string(section.name) + "**, which mdf_Get reads\n\n";
    for (const LayoutEntry& entry : findings_.layout.EntriesOf(section)) told += "- " + TellItem(entry);
    return told;
  }

  static std::string TellItem(const LayoutEntry& entry) {
    const ModuleItem* const item = FindModuleItem(entry.Name());
    return item == nullptr ? "`" + std::string(entry.Name()) + "` is no item of a module\n"
                           : Titled(item->item, MeaningOfItem(*item));
  }

  std::string TellModel() const {
    size_t section = Layout::NO_SECTION;
    const Findings* const file = models_.FileOf(spot_.entry->Value(), section);
    if (file == nullptr) return TellAttribute();
    std::string told = "**" + std::string(spot_.entry->Value()) + "**, " + FileName(*file) + "\n\n```ini\n";
    for (const LayoutEntry& entry : file->layout.EntriesOf(file->layout.Sections()[section]))
      told += std::string(file->layout.Line(entry.line)) + '\n';
    return told + "```\n";
  }

  std::string TellDialog() const {
    const std::string_view handle = spot_.entry->Name();
    size_t fields = 0;
    for (const LayoutSection& section : findings_.layout.Sections())
      if (SameName(HandleOf(section.name), handle)) ++fields;
    return "The dialog `" + std::string(spot_.entry->Value()) + "`, on level 1 `D01" +
           std::string(spot_.entry->Value()) + "`, with " + std::to_string(fields) +
           (fields == 1 ? " field\n" : " fields\n");
  }

  const Analysis& analysis_;
  const Findings& findings_;
  const Models& models_;
  const Spot& spot_;
};

}  // namespace

Json Hover(Workspace& workspace, const Json& params) {
  const Document* const document = DocumentOf(workspace, params);
  if (document == nullptr) return nullptr;
  const Analysis& analysis = workspace.Analyse(*document);
  const Spot spot = FindSpot(analysis, PositionFrom(params.at("position")));
  const std::string told = Teller(analysis, workspace.OpenModels(), spot).Tell();
  if (told.empty()) return nullptr;
  return {{"contents", {{"kind", "markdown"}, {"value", Decode(told, EncodingOfText(told))}}}};
}

}  // namespace vorlix::tool
