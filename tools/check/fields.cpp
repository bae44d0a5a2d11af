// What is odd about the fields of a dictionary, by the code that will show and read them.
#include <algorithm>
#include <cstdlib>
#include <unordered_set>

#include "dll/base/text.h"
#include "dll/shared/attrvalue.h"
#include "dll/shared/fieldscan.h"
#include "tools/check/fieldvalues.h"
#include "tools/check/manual.h"
#include "tools/check/style.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

// Sections whose objects the server did not take: what it made of them is not what they will be.
std::unordered_set<size_t> RefusedObjects(const Findings& findings) {
  std::unordered_set<size_t> refused;
  for (const Finding& finding : findings.list)
    if (finding.rule->code.starts_with("VX2") && finding.rule->severity == Severity::Error)
      refused.insert(findings.layout.SectionOf(finding.span.line));
  return refused;
}

// A length that is no number is none for this reason.
void ForgetMissingLengths(Findings& findings) {
  std::unordered_set<size_t> misread;
  for (const Finding& finding : findings.list)
    if (finding.rule == &VX619) misread.insert(finding.span.line);
  std::erase_if(findings.list,
                [&](const Finding& finding) { return finding.rule == &VX507 && misread.contains(finding.span.line); });
}

// One field: its section in the file, and what the server has made of it.
class Field {
 public:
  Field(Findings& findings, const Models& models, size_t section, const Object& object)
      : findings_(findings), text_(findings.layout), models_(models), section_(section), object_(object) {}

  // What it shows and takes is told of a field that is whole.
  void Check(bool is_whole) {
    CheckNumberTexts();
    CheckInherited();
    CheckTypes();
    CheckFormat();
    CheckValidSet();
    if (!is_whole) return;
    CheckRoom();
    if (const std::string fault = DefaultFault(object_); !fault.empty()) Point(VX622, fault);
  }

 private:
  std::span<const LayoutEntry> Entries() const { return text_.EntriesOf(text_.Sections()[section_]); }

  // At the entry of the rule's attribute, or at the header where the section has none.
  void Point(const Rule& rule, const std::string& text = "") {
    const LayoutEntry* const entry = text_.FindEntry(section_, rule.attribute);
    Note(findings_, rule, entry != nullptr ? text_.ValueSpan(*entry) : text_.HeaderSpan(section_), text);
  }

  void CheckNumberTexts() {
    for (const LayoutEntry& entry : Entries()) {
      const bool is_short = entry.Name().size() == 4 || entry.Name().size() == 5;
      const bool is_plain = entry.Value().size() < 10 && std::ranges::all_of(entry.Value(), IsDigit);
      if (!is_short || is_plain) continue;
      const bool is_whole = EqualNoCase(entry.Name(), "FLEN") || EqualNoCase(entry.Name(), "FPREC");
      const bool is_number = is_whole || EqualNoCase(entry.Name(), "FMIN") || EqualNoCase(entry.Name(), "FMAX");
      if (is_number) CheckNumberText(entry, is_whole);
    }
  }

  void CheckNumberText(const LayoutEntry& entry, bool is_whole) {
    const std::string value(entry.Value());
    const size_t good = NumberSize(value, is_whole);
    const double number = is_whole ? ReadNumber(value.c_str()) : ReadReal(value.c_str());
    const bool is_cut = number != std::strtod(value.substr(0, good).c_str(), nullptr);
    if (good == value.size() && !is_cut) return;
    const Span whole = text_.ValueSpan(entry);
    Note(findings_, VX619, {whole.line, whole.begin + (is_cut ? 0 : good), whole.end},
         std::string(entry.Name()) + " is read as " + NumberText(number));
  }

  void CheckInherited() {
    const LayoutEntry* const model = text_.FindEntry(section_, "MODEL");
    size_t other = Layout::NO_SECTION;
    const Findings* const file = model != nullptr ? models_.FileOf(model->Value(), other) : nullptr;
    if (file == nullptr) return;
    for (const LayoutEntry& entry : Entries()) {
      const LayoutEntry* const inherited = file->layout.FindEntry(other, entry.Name());
      if (&entry == model || inherited == nullptr || inherited->Value() != entry.Value()) continue;
      Note(findings_, VX628, text_.NameSpan(entry), std::string(entry.Name()) + " repeats what is inherited")
          .related = {{file->file, file->layout.ValueSpan(*inherited), "the model has it here"}};
    }
  }

  void CheckTypes() {
    constexpr uint32_t BOTH_BOUNDS = BIT_FMIN | BIT_FMAX;
    if (object_.fmin > object_.fmax && (object_.mask & BOTH_BOUNDS) == BOTH_BOUNDS && object_.fmax != 0) Point(VX618);
    if (object_.ftyp == FT_NONE && object_.ftyp_text != nullptr)
      Point(VX620, "only the host knows the field type " + std::string(object_.ftyp_text.get()));
    if (object_.ftyp != FT_N || object_.fprec <= 0) return;
    const std::string_view value_type = CText(object_.fvtyp);
    if (EqualNoCase(value_type, "I") || EqualNoCase(value_type, "D")) Point(VX629);
  }

  void CheckFormat() {
    const WordKind words = FormatWords(object_);
    const bool has_letters = words == WordKind::NumberLetter || words == WordKind::TextLetter;
    const LayoutEntry* const entry = has_letters ? text_.FindEntry(section_, "FFMT") : nullptr;
    if (entry == nullptr) return;
    for (size_t at = 0; at < entry->Value().size(); ++at) {
      const char letter = entry->Value()[at];
      const size_t column = text_.ValueSpan(*entry).begin + at;
      const char other = letter == LowerCase(letter) ? static_cast<char>(letter - 32) : LowerCase(letter);
      if (FindManualWord(words, {&letter, 1}) == nullptr)
        Note(findings_, VX616, {entry->line, column, column + 1},
             std::string("the format has no letter ") + Printable({&letter, 1}));
      else if (entry->Value().substr(0, at).find(other) != std::string_view::npos)
        Note(findings_, VX617, {entry->line, column, column + 1},
             std::string(1, other) + " and " + letter + " cancel each other");
    }
  }

  void CheckValidSet() {
    const std::string_view valid = CText(object_.valid);
    if (valid.empty()) return;
    const auto is_word = [](std::string_view word) {
      return word.size() > 1 && std::ranges::all_of(word, IsNameLetter);
    };
    const size_t comma = valid.find_first_of(",| ");
    if (!valid.starts_with('[') && comma != std::string_view::npos && is_word(valid.substr(0, comma)))
      return Point(VX621);
    if (object_.ftyp != FT_N) return;
    std::string needed = "0123456789";
    if (object_.fprec > 0) needed += '.';
    if (object_.fmin < 0) needed += '-';
    const auto [outcome, refused] = FmtCheckValid(needed, valid);
    if (outcome == VALID_REFUSED) Point(VX625, std::string("the VALID set lacks ") + refused);
  }

  // Shows what the field will have to hold, and types it.
  void CheckRoom() {
    if (const std::string bound = BoundWithoutRoom(object_); !bound.empty())
      Point(VX623, bound + " does not fit into " + std::to_string(object_.flen) + " characters");
    const char* const longest = LongestValue(object_);
    if (longest == nullptr) return;
    if (Overflows(object_, longest)) return Point(VX624);
    if (const std::string fault = TypingFault(object_, longest); !fault.empty()) Point(VX630, fault);
  }

  Findings& findings_;
  const Layout& text_;
  const Models& models_;
  size_t section_;
  const Object& object_;
};

}  // namespace

void CheckFields(Judged& judged, FileKind kind, const Models& models) {
  Findings& findings = judged.findings;
  if (kind != FileKind::Dictionary) return;
  const std::unordered_set<size_t> refused = RefusedObjects(findings);
  const SectionList& dict_sections = judged.dict->sections;
  size_t at = 0;  // in the dictionary
  for (size_t number = 0; number < findings.layout.Sections().size() && at < dict_sections.size(); ++number)
    if (findings.layout.IsObject(number))
      Field(findings, models, number, dict_sections[at++]->object).Check(!refused.contains(number));
  ForgetMissingLengths(findings);
  CheckPaths(findings);
}

}  // namespace vorlix::tool
