// What is odd about the fields of a dictionary, by the code that will show and read them.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "dll/base/locale.h"
#include "dll/base/text.h"
#include "dll/shared/attrvalue.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/fielddisplay.h"
#include "dll/shared/fieldscan.h"
#include "tools/check/manual.h"
#include "tools/check/style.h"
#include "tools/check/typing.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

std::string NumberText(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.12g", number);
  return text;
}

// Which other characters are printable is a matter of the language, which may not be that of the author.
bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

bool Overflows(const Object& object, const std::string& value) {
  FieldBuffer shown;
  if (object.flen <= 0 || !FmtDisplay(shown, object, value.c_str())) return false;
  const std::string_view text = shown.View();
  const std::string_view overflow = LocaleInForce().strings.overflow;
  const char filler = overflow.empty() ? '?' : overflow.front();
  return !text.empty() && std::ranges::all_of(text, [=](char c) { return c == filler; });
}

// With a sign, the separators of each three digits, a point and all decimals.
bool FitsSurely(const Object& object, double number) {
  const double size = std::abs(number);
  double digits = size < 1e6 ? 6 : std::floor(std::log10(size)) + 1;
  return digits + digits / 3 + object.fprec + 2 <= object.flen;
}

// A value in the form of the field's type that takes as much room as any.
const char* LongestValue(const Object& object) {
  switch (object.ftyp) {
    case FT_M: return "199912";
    case FT_Z: return "2359";
    case FT_D: return EqualNoCase(CText(object.fvtyp), "GREG") ? "10227" : "19991231";
    default: return nullptr;
  }
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsText(const Object& object) { return object.ftyp == FT_T || object.ftyp == FT_U; }

// One field: its section in the file, and what the server has made of it.
class Field {
 public:
  Field(Findings& findings, const Models& models, size_t section, const Object& object)
      : findings_(findings), text_(findings.layout), models_(models), section_(section), object_(object) {}

  void Check() {
    CheckNumberTexts();
    CheckInherited();
    CheckTypes();
    CheckFormat();
    CheckValidSet();
    if (!findings_.opens) return;
    CheckRoom();
    CheckDefault();
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
      if (!is_short || std::ranges::all_of(entry.Value(), IsDigit)) continue;
      const bool is_whole = EqualNoCase(entry.Name(), "FLEN") || EqualNoCase(entry.Name(), "FPREC");
      const bool is_number = is_whole || EqualNoCase(entry.Name(), "FMIN") || EqualNoCase(entry.Name(), "FMAX");
      if (is_number) CheckNumberText(entry, is_whole);
    }
  }

  void CheckNumberText(const LayoutEntry& entry, bool is_whole) {
    const std::string value(entry.Value());
    char* end = nullptr;
    if (is_whole)
      static_cast<void>(std::strtol(value.c_str(), &end, 10));
    else
      static_cast<void>(std::strtod(value.c_str(), &end));
    if (*end == '\0') return;
    const auto good = static_cast<size_t>(end - value.c_str());
    const Span whole = text_.ValueSpan(entry);
    Note(findings_, VX619, {whole.line, whole.begin + good, whole.end},
         std::string(entry.Name()) + " is read as " + (good == 0 ? "0" : value.substr(0, good)));
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
    char refused = '\0';
    if (FmtCheckValid(needed, valid, refused) == VALID_REFUSED)
      Point(VX625, std::string("the VALID set lacks ") + refused);
  }

  // Shows what the field will have to hold, and types it.
  void CheckRoom() {
    if (const char* const longest = LongestValue(object_); longest != nullptr) {
      if (Overflows(object_, longest))
        Point(VX624);
      else
        CheckTyping(longest);
    }
    if (object_.ftyp != FT_N) return;
    for (const double bound : {object_.fmin, object_.fmax})
      if (bound != 0 && !FitsSurely(object_, bound) && Overflows(object_, NumberText(bound)))
        return Point(VX623, NumberText(bound) + " does not fit into " + std::to_string(object_.flen) + " characters");
  }

  void CheckTyping(const char* value) {
    FieldBuffer shown;
    FieldBuffer out;
    const bool is_typed = object_.objtype == OT_ET || object_.objtype == OT_ST || object_.objtype == OT_OF;
    if (!is_typed || object_.flen <= 0 || !FmtDisplay(shown, object_, value)) return;
    const std::string text(shown.View());
    const ScanCode code = ScanTyped(object_, text, out).code;
    if (code != SCAN_OK)
      Point(VX630, "what the field shows, " + text + ", cannot be typed: " + std::string(ScanReason(code)));
  }

  void CheckDefault() {
    const std::string_view text = CText(object_.default_value);
    if (text.empty() || text.starts_with('$')) return;
    if (const std::string fault = DefaultFault(text); !fault.empty()) Point(VX622, fault);
  }

  // What the field has against its own default; empty when nothing.
  std::string DefaultFault(std::string_view text) const {
    char refused = '\0';
    if (object_.ftyp == FT_N) {
      char* end = nullptr;
      const double number = std::strtod(object_.default_value.get(), &end);
      const bool is_bound = object_.fmin != 0 || object_.fmax != 0;
      if (*end != '\0') return "the default is no number";
      if (is_bound && (number < object_.fmin || number > object_.fmax)) return "the default is out of range";
    } else if (IsText(object_) && FmtCheckValid(text, CText(object_.valid), refused) == VALID_REFUSED &&
               IsAscii(refused)) {
      return std::string("VALID does not allow the ") + Printable({&refused, 1}) + " of the default";
    }
    const bool is_long = IsText(object_) && text.size() > static_cast<size_t>(std::max(object_.flen, 0));
    return is_long || Overflows(object_, std::string(text)) ? "the default does not fit into the field" : "";
  }

  Findings& findings_;
  const Layout& text_;
  const Models& models_;
  size_t section_;
  const Object& object_;
};

// Fields of one dialog with the same path. A path of one dialog may be that of another one as well.
class Paths {
 public:
  explicit Paths(Findings& findings) : findings_(findings), text_(findings.layout) {
    keys_.reserve(text_.Sections().size());
  }

  void Add(size_t section) {
    const LayoutEntry* const path = text_.FindEntry(section, "PATH");
    if (path != nullptr) keys_.push_back(std::hash<std::string_view>()(path->Value()) << 32 | section);
  }

  void Check() {
    std::ranges::sort(keys_);
    for (size_t at = 0; at < keys_.size(); ++at)
      for (size_t before = at; before > 0 && keys_[before - 1] >> 32 == keys_[at] >> 32; --before)
        if (IsRepeated(SectionOf(keys_[before - 1]), SectionOf(keys_[at]))) break;
  }

 private:
  static size_t SectionOf(uint64_t key) { return key & UINT32_MAX; }

  bool IsRepeated(size_t before, size_t section) {
    const LayoutEntry& first = *text_.FindEntry(before, "PATH");
    const LayoutEntry& path = *text_.FindEntry(section, "PATH");
    if (first.Value() != path.Value() || !EqualNoCase(HandleOf(before), HandleOf(section))) return false;
    Note(findings_, VX627, text_.ValueSpan(path)).related = {
        {findings_.file, text_.ValueSpan(first), "the other field is here"}};
    return true;
  }

  std::string_view HandleOf(size_t section) const {
    const std::string_view name = text_.Sections()[section].name;
    return name.substr(0, name.find('.'));
  }

  Findings& findings_;
  const Layout& text_;
  std::vector<uint64_t> keys_;  // the hash of a path, and below it the section that has it
};

// Whether a section of the file is one of the dictionary: not the catalog that it begins with, nor a list, nor one
// that is passed over.
bool IsObject(std::string_view name, bool is_first) {
  return !SameName(name, "xx") && !SameName(name, "list") && !(is_first && SameName(name, "catalog"));
}

}  // namespace

void CheckFields(Judged& judged, FileKind kind, const Models& models) {
  Findings& findings = judged.findings;
  const std::vector<LayoutSection>& sections = findings.layout.Sections();
  const SectionList& dict_sections = judged.dict->sections;
  Paths paths(findings);
  bool is_first = true;
  size_t at = 0;  // in the dictionary
  for (size_t number = 0; number < sections.size() && at < dict_sections.size(); ++number) {
    const std::string_view name = sections[number].name;
    const bool is_object = IsObject(name, is_first);
    is_first = is_first && SameName(name, "xx");
    if (!is_object) continue;
    const Section& section = *dict_sections[at];
    if (dict_sections.HasRepeated() && dict_sections.Find(section.name.get()) != at)
      Note(findings, VX612, findings.layout.HeaderSpan(number), "the section [" + std::string(name) + "] comes twice")
          .related = {
          {findings.file, findings.layout.HeaderSpan(findings.layout.FindSection(name)), "the first one is here"}};
    ++at;
    if (kind != FileKind::Dictionary) continue;
    Field(findings, models, number, section.object).Check();
    paths.Add(number);
  }
  paths.Check();
}

}  // namespace vorlix::tool
