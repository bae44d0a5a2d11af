#include "tools/lsp/spot.h"

#include <algorithm>

namespace vorlix::tool {

Spot FindSpot(const Analysis& analysis, const Position& position) {
  const Layout& layout = analysis.Text();
  if (layout.LineCount() == 0) return {};
  const size_t offset = analysis.positions->OffsetOf(position);
  Spot spot;
  spot.line = layout.LineAt(offset);
  const std::string_view line = layout.Line(spot.line);
  // Behind the last line feed there is a line that the layout does not count.
  const bool is_behind = offset == layout.Text().size() && layout.Text().ends_with('\n');
  spot.column = is_behind ? 0 : std::min(offset - layout.Start(spot.line), line.size());
  spot.section = layout.SectionOf(spot.line);
  if (is_behind) return spot;
  spot.before = line.substr(0, spot.column);
  spot.entry = layout.EntryAt(spot.line);
  if (line.starts_with('[')) {
    spot.part = Part::Header;
  } else if (spot.entry != nullptr) {
    spot.part = spot.before.find('=') == std::string_view::npos ? Part::Name : Part::Value;
  }
  return spot;
}

const Object* ObjectOf(const Analysis& analysis, size_t section) {
  if (section == Layout::NO_SECTION || analysis.judged.dict == nullptr) return nullptr;
  const SectionPtr record = FindSection(*analysis.judged.dict, analysis.Text().Sections()[section].name);
  return record != nullptr ? &record->object : nullptr;
}

WordKind WordsOf(std::string_view attribute, const Object* object) {
  if (EqualNoCase(attribute, "FTYP")) return WordKind::FieldType;
  if (EqualNoCase(attribute, "OBJTYPE")) return WordKind::ObjectType;
  if (object == nullptr) return WordKind::None;
  if (EqualNoCase(attribute, "FVTYP")) return ValueWords(*object);
  return EqualNoCase(attribute, "FFMT") ? FormatWords(*object) : WordKind::None;
}

// "[format](formats.md)" is "format" there.
std::string PlainSentence(std::string_view sentence) {
  std::string plain;
  sentence = sentence.substr(0, sentence.find(", see "));
  while (!sentence.empty()) {
    const size_t open = sentence.find('[');
    const size_t middle = sentence.find("](", open);
    const size_t close = sentence.find(')', middle);
    if (close == std::string_view::npos) break;
    plain += sentence.substr(0, open);
    plain += sentence.substr(open + 1, middle - open - 1);
    sentence.remove_prefix(close + 1);
  }
  return plain += sentence;
}

}  // namespace vorlix::tool
