// Where names come from and who uses them: models, handles, fields; and a document as a tree of its dialogs.
#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "tools/failure.h"
#include "tools/lsp/features.h"
#include "tools/lsp/spot.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

// Kinds of the protocol.
constexpr int SYMBOL_CLASS = 5;
constexpr int SYMBOL_FIELD = 8;

Json Location(const std::string& uri, const Range& range) { return {{"uri", uri}, {"range", JsonOf(range)}}; }

// The catalog's line for a handle; null for none.
const LayoutEntry* FindDialog(const Layout& layout, std::string_view handle) {
  return handle.empty() ? nullptr : layout.FindEntry(layout.Catalog(), handle);
}

// The name of a model that stands at the place: as the value of MODEL, or as a section of a model dictionary.
std::string_view ModelAt(const Layout& layout, const Spot& spot) {
  if (spot.part == Part::Value && EqualNoCase(spot.entry->Name(), "MODEL")) return spot.entry->Value();
  const bool is_header = spot.part == Part::Header && spot.section != Layout::NO_SECTION;
  const std::string_view name = is_header ? layout.Sections()[spot.section].name : std::string_view();
  return is_header && KindOf(layout) == FileKind::Model ? name : std::string_view();
}

// The handle of a dialog: in the catalog, or in a section's name.
std::string_view HandleAt(const Layout& layout, const Spot& spot) {
  if (spot.section == Layout::NO_SECTION) return {};
  if (spot.entry != nullptr && spot.section == layout.Catalog()) return spot.entry->Name();
  return spot.part == Part::Header ? HandleOf(layout.Sections()[spot.section].name) : std::string_view();
}

// All lines "MODEL=name" of a file.
void AddUsers(const std::string& uri, const std::string& text, std::string_view model, Json& found) {
  const Layout layout(text);
  const Positions positions(layout.Text(), EncodingOfText(layout.Text()));
  for (const LayoutEntry& entry : layout.Entries()) {
    if (!SameName(entry.Name(), "MODEL") || !SameName(entry.Value(), model)) continue;
    const Span span = layout.ValueSpan(entry);
    const size_t start = layout.Start(span.line);
    found.push_back(Location(uri, {positions.At(start + span.begin), positions.At(start + span.end)}));
  }
}

// The files that may inherit: the models themselves, and the dictionaries that lie beside the document.
std::vector<std::string> FilesThatInherit(const Models& models, const Document& document) {
  std::vector<std::string> files;
  for (const Findings* const model : models.Files()) files.push_back(model->file);
  std::error_code ignored;
  for (const auto& file : fs::directory_iterator(fs::path(document.path).parent_path(), ignored))
    if (EqualNoCase(file.path().extension().string(), ".dic") && file.is_regular_file(ignored))
      files.push_back(file.path().string());
  return files;
}

// In the documents that are open, as they stand there, and in all other files.
Json UsersOfModel(const Workspace& workspace, const Document& document, std::string_view model) {
  Json found = Json::array();
  std::set<std::string> seen;
  for (const Document* const open : workspace.Documents()) {
    AddUsers(open->uri, open->text, model, found);
    seen.insert(open->uri);
  }
  for (const std::string& path : FilesThatInherit(workspace.OpenModels(), document)) {
    const std::string uri = UriOfPath(path);
    try {
      if (seen.insert(uri).second) AddUsers(uri, workspace.TextOf(path), model, found);
    } catch (const ToolError&) {
      continue;  // it cannot be read
    }
  }
  return found;
}

// The line of a dialog in the catalog, where there is one, and its sections.
Json PlacesOfDialog(const Document& document, const Analysis& analysis, std::string_view handle) {
  const Layout& layout = analysis.Text();
  Json found = Json::array();
  if (const LayoutEntry* const dialog = FindDialog(layout, handle))
    found.push_back(Location(document.uri, analysis.RangeOf(layout.NameSpan(*dialog))));
  for (size_t number = 0; number < layout.Sections().size(); ++number)
    if (SameName(HandleOf(layout.Sections()[number].name), handle))
      found.push_back(Location(document.uri, analysis.RangeOf(layout.HeaderSpan(number))));
  return found;
}

// The section of a model, in this document where it is one.
Json PlaceOfModel(const Document& document, const Analysis& analysis, const Models& models, std::string_view name) {
  size_t section = analysis.Text().FindSection(name);
  if (section != Layout::NO_SECTION && KindOf(analysis.Text()) == FileKind::Model)
    return Location(document.uri, analysis.RangeOf(analysis.Text().HeaderSpan(section)));
  const Findings* const file = models.FileOf(name, section);
  if (file == nullptr) return nullptr;
  return Location(UriOfPath(file->file), RangeIn(*file, file->layout.HeaderSpan(section)));
}

// ---- The tree -------------------------------------------------------------------------------------------------------

// From the header of a section to that of the next.
Range RangeOfSection(const Analysis& analysis, size_t section) {
  const Layout& layout = analysis.Text();
  const bool is_last = section + 1 == layout.Sections().size();
  const Position end = is_last ? analysis.positions->At(SIZE_MAX)
                               : analysis.positions->At(layout.Start(layout.Sections()[section + 1].line));
  return {{analysis.RangeOf(layout.HeaderSpan(section)).start.line, 0}, end};
}

Json Symbol(const std::string& name, int kind, const Range& range, const Range& selection) {
  return {{"name", name.empty() ? "?" : name},
          {"kind", kind},
          {"range", JsonOf(range)},
          {"selectionRange", JsonOf(selection)}};
}

Json FieldSymbol(const Analysis& analysis, size_t section, std::string_view name) {
  Json symbol = Symbol(Decode(name, analysis.encoding), SYMBOL_FIELD, RangeOfSection(analysis, section),
                       analysis.RangeOf(analysis.Text().HeaderSpan(section)));
  const LayoutEntry* const path = analysis.Text().FindEntry(section, "PATH");
  if (path != nullptr) symbol["detail"] = Decode(path->Value(), analysis.encoding);
  return symbol;
}

// Begins where its first field does.
Json DialogSymbol(const Analysis& analysis, std::string_view handle, const Json& field) {
  const LayoutEntry* const dialog = FindDialog(analysis.Text(), handle);
  const std::string name = Decode(dialog != nullptr ? dialog->Value() : handle, analysis.encoding);
  return Symbol(name, SYMBOL_CLASS, RangeFrom(field["range"]), RangeFrom(field["selectionRange"]));
}

struct LessNoCase {
  bool operator()(std::string_view one, std::string_view other) const {
    return std::ranges::lexicographical_compare(one, other, {}, LowerCase, LowerCase);
  }
};

}  // namespace

Json FindDefinition(Workspace& workspace, const Json& params) {
  const Document* const document = DocumentOf(workspace, params);
  if (document == nullptr) return nullptr;
  const Analysis& analysis = workspace.Analyse(*document);
  const Layout& layout = analysis.Text();
  const Spot spot = FindSpot(analysis, PositionFrom(params.at("position")));
  if (const std::string_view model = ModelAt(layout, spot); !model.empty())
    return PlaceOfModel(*document, analysis, workspace.OpenModels(), model);
  const std::string_view handle = HandleAt(layout, spot);
  if (handle.empty()) return nullptr;
  const Json places = PlacesOfDialog(*document, analysis, handle);
  // From the catalog to the first field, from a field to the catalog.
  const size_t wanted = spot.part == Part::Header ? 0 : 1;
  return places.size() > wanted ? places[wanted] : Json();
}

Json FindReferences(Workspace& workspace, const Json& params) {
  const Document* const document = DocumentOf(workspace, params);
  if (document == nullptr) return nullptr;
  const Analysis& analysis = workspace.Analyse(*document);
  const Spot spot = FindSpot(analysis, PositionFrom(params.at("position")));
  const Json context = params.value("context", Json::object());
  const bool with_declaration = context.is_object() && context.value("includeDeclaration", false);
  if (const std::string model(ModelAt(analysis.Text(), spot)); !model.empty()) {
    Json users = UsersOfModel(workspace, *document, model);
    Json declaration = PlaceOfModel(*document, analysis, workspace.OpenModels(), model);
    if (with_declaration && !declaration.is_null()) users.insert(users.begin(), std::move(declaration));
    return users;
  }
  const std::string_view handle = HandleAt(analysis.Text(), spot);
  if (handle.empty()) return nullptr;
  Json places = PlacesOfDialog(*document, analysis, handle);
  if (!with_declaration && FindDialog(analysis.Text(), handle) != nullptr) places.erase(0);
  return places;
}

Json Outline(Workspace& workspace, const Json& params) {
  const Document* const document = DocumentOf(workspace, params);
  if (document == nullptr) return nullptr;
  const Analysis& analysis = workspace.Analyse(*document);
  const Layout& layout = analysis.Text();
  Json all = Json::array();
  std::map<std::string_view, size_t, LessNoCase> dialogs;  // by handle, where they stand in the list
  for (size_t number = 0; number < layout.Sections().size(); ++number) {
    const std::string_view name = layout.Sections()[number].name;
    const std::string_view handle = HandleOf(name);
    Json field = FieldSymbol(analysis, number, handle.empty() ? name : name.substr(handle.size() + 1));
    if (handle.empty()) {
      all.push_back(std::move(field));
      continue;
    }
    const auto [dialog, is_new] = dialogs.emplace(handle, all.size());
    if (is_new) all.push_back(DialogSymbol(analysis, handle, field));
    all[dialog->second]["range"]["end"] = field["range"]["end"];
    all[dialog->second]["children"].push_back(std::move(field));
  }
  return all;
}

}  // namespace vorlix::tool
