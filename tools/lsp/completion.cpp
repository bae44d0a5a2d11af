// What can be written at a place, with the manual's words for it.
#include <set>

#include "tools/check/modules.h"
#include "tools/lsp/features.h"
#include "tools/lsp/spot.h"

namespace vorlix::tool {
namespace {

// Kinds of the protocol.
constexpr int KIND_FIELD = 5;
constexpr int KIND_CLASS = 7;
constexpr int KIND_PROPERTY = 10;
constexpr int KIND_VALUE = 12;
constexpr int KIND_REFERENCE = 18;

class Completion {
 public:
  Completion(const Analysis& analysis, const Models& models, const Position& position)
      : analysis_(analysis), layout_(analysis.Text()), models_(models), spot_(FindSpot(analysis, position)) {
    range_ = {position, position};
  }

  Json Items() {
    const bool is_comment = spot_.before.starts_with(';') || spot_.before.starts_with('#');
    if (is_comment) return items_;
    if (analysis_.judged.kind == FileKind::Module) {
      if (spot_.part == Part::Nothing || spot_.part == Part::Name) AddModuleItems();
    } else if (spot_.part == Part::Header) {
      AddSections();
    } else if (spot_.part == Part::Value) {
      AddValues();
    } else if (layout_.IsObject(spot_.section)) {
      AddAttributes();
    }
    return items_;
  }

 private:
  // From so many bytes before the place on the word is replaced.
  void ReplaceFrom(size_t column) {
    const size_t start = layout_.LineCount() == 0 ? 0 : layout_.Start(spot_.line);
    range_.start = analysis_.positions->At(start + column);
  }

  void Add(std::string_view label, std::string_view text, int kind, std::string_view sentence) {
    Add(label, text, kind, sentence, analysis_.encoding);
  }

  void Add(std::string_view label, std::string_view text, int kind, std::string_view sentence, TextEncoding encoding) {
    const auto decoded = [&](std::string_view bytes) { return Decode(bytes, encoding); };
    items_.push_back({{"label", decoded(label)},
                      {"kind", kind},
                      {"documentation", PlainSentence(sentence)},
                      {"filterText", decoded(text)},
                      {"textEdit", {{"range", JsonOf(range_)}, {"newText", decoded(text)}}}});
  }

  void AddWords(WordKind kind, int item_kind) {
    for (const ManualWord& word : MANUAL_WORDS)
      if (word.kind == kind) Add(word.word, word.word, item_kind, word.meaning);
  }

  // Those that the section does not have yet.
  void AddAttributes() {
    if (!spot_.before.empty()) ReplaceFrom(0);
    const bool has_value = spot_.part == Part::Name;
    for (const ManualWord& word : MANUAL_WORDS) {
      const LayoutEntry* const own = layout_.FindEntry(spot_.section, word.word);
      if (word.kind != WordKind::Attribute || (own != nullptr && own != spot_.entry)) continue;
      Add(word.word, std::string(word.word) + (has_value ? "" : "="), KIND_PROPERTY, word.meaning);
    }
  }

  void AddModuleItems() {
    if (!spot_.before.empty()) ReplaceFrom(0);
    const char* const end = spot_.part == Part::Name ? "" : "=";
    for (const ModuleItem& row : MODULE_ITEMS)
      Add(row.item, std::string(row.item) + end, KIND_PROPERTY, MeaningOfItem(row));
  }

  void AddValues() {
    if (!layout_.IsObject(spot_.section)) return;
    const std::string_view attribute = spot_.entry->Name();
    const WordKind words = WordsOf(attribute, ObjectOf(analysis_, spot_.section));
    const bool is_format = EqualNoCase(attribute, "FFMT");
    if (!is_format) ReplaceFrom(spot_.before.find('=') + 1);
    if (words == WordKind::Directive) return AddDirectives();
    AddWords(words, KIND_VALUE);
    if (EqualNoCase(attribute, "MODEL")) AddModels();
    if (EqualNoCase(attribute, "FREQ")) AddAll({"0", "1"});
    if (EqualNoCase(attribute, "NOTIFY")) AddAll({"valid", "empty", "always", "fsearch"});
    if (EqualNoCase(attribute, "DEFAULT")) AddAll({"$DATE", "$TIME"});
  }

  void AddAll(std::initializer_list<std::string_view> words) {
    for (const std::string_view word : words) Add(word, word, KIND_VALUE, "");
  }

  void AddDirectives() {
    const bool has_percent = spot_.before.ends_with('%');
    for (const ManualWord& word : MANUAL_WORDS)
      if (word.kind == WordKind::Directive)
        Add('%' + std::string(word.word), (has_percent ? "" : "%") + std::string(word.word), KIND_VALUE, word.meaning);
  }

  void AddModels() {
    for (const Findings* const file : models_.Files()) {
      const TextEncoding encoding = EncodingOfText(file->layout.Text());
      for (const LayoutSection& section : file->layout.Sections()) {
        std::string lines;
        for (const LayoutEntry& entry : file->layout.EntriesOf(section))
          lines += std::string(file->layout.Line(entry.line)) + '\n';
        Add(section.name, section.name, KIND_REFERENCE, Decode(lines, encoding), encoding);
      }
    }
  }

  // Handles, and behind the point the fields of other dialogs that this one does not have.
  void AddSections() {
    ReplaceFrom(1);
    const std::string_view typed = spot_.before.substr(std::min<size_t>(1, spot_.before.size()));
    const std::string_view handle = HandleOf(typed);
    if (handle.empty()) {
      for (const LayoutEntry& dialog : layout_.EntriesOf(layout_.Catalog()))
        Add(dialog.Name(), std::string(dialog.Name()) + '.', KIND_CLASS,
            "the dialog " + Decode(dialog.Value(), analysis_.encoding));
      return;
    }
    std::set<std::string_view> own;
    for (const LayoutSection& section : layout_.Sections())
      if (SameName(HandleOf(section.name), handle)) own.insert(section.name.substr(handle.size() + 1));
    for (const LayoutSection& section : layout_.Sections()) {
      const std::string_view name = section.name.substr(section.name.find('.') + 1);
      if (HandleOf(section.name).empty() || !own.insert(name).second) continue;
      Add(name, std::string(handle) + '.' + std::string(name), KIND_FIELD, "");
    }
  }

  const Analysis& analysis_;
  const Layout& layout_;
  const Models& models_;
  Spot spot_;
  Range range_;
  Json items_ = Json::array();
};

}  // namespace

Json Complete(Workspace& workspace, const Json& params) {
  const Document* const document = DocumentOf(workspace, params);
  if (document == nullptr) return nullptr;
  const Analysis& analysis = workspace.Analyse(*document);
  return Completion(analysis, workspace.OpenModels(), PositionFrom(params.at("position"))).Items();
}

}  // namespace vorlix::tool
