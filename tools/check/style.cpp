#include "tools/check/style.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "dll/base/locale.h"
#include "dll/base/text.h"
#include "dll/ini/ini.h"
#include "dll/ini/inisyntax.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/fielddisplay.h"
#include "dll/shared/fieldscan.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), LowerCase);
  return lower;
}

class Style {
 public:
  Style(Judged& judged, FileKind kind, const Models& models)
      : findings_(judged.findings), text_(findings_.layout), dict_(judged.dict), kind_(kind), models_(models) {}

  void Check() {
    CheckBytes();
    for (size_t line = 0; line < text_.LineCount(); ++line) CheckLine(line);
    for (const LayoutEntry& entry : text_.Entries()) CheckEntry(entry);
    CheckSections();
    if (kind_ == FileKind::Dictionary) CheckCatalog();
    if (dict_ != nullptr && kind_ == FileKind::Dictionary) CheckObjects();
  }

 private:
  void Add(const Rule& rule, const Span& span, const std::string& text = "", const std::string& remedy = "") {
    findings_.list.push_back({&rule, span, text.empty() ? std::string(rule.title) : text, remedy});
  }

  // ---- The file and its lines ---------------------------------------------------------------------------------------

  void CheckBytes() {
    const std::string_view all = text_.Text();
    if (all.starts_with("\xef\xbb\xbf")) Add(VX604, {0, 0, 3});
    if (all.starts_with("\xff\xfe") || all.starts_with("\xfe\xff")) Add(VX605, {0, 0, 2});
    if (all.find('\n') == std::string_view::npos && all.find('\r') != std::string_view::npos) Add(VX606, {});
  }

  void CheckLine(size_t number) {
    const std::string_view line = text_.Line(number);
    const std::string_view inner = TrimStart(line);
    const Span whole = {number, line.size() - inner.size(), line.size()};
    if (line.size() >= INI_TEXT_SIZE - 1) Add(VX607, {number, INI_TEXT_SIZE - 1, line.size()});
    if (inner.empty() || line.front() == ';' || line.front() == '#' || line.starts_with("\xef\xbb\xbf")) return;
    std::string_view name;
    if (EndsSection(line)) {
      if (!ParseHeader(line, name)) Add(VX609, whole);
    } else if (inner.front() == '[' && inner.find(']') != std::string_view::npos) {
      Add(VX608, whole);
    } else if (inner.front() != ';' && inner.front() != '#' && line.find('=') == std::string_view::npos) {
      Add(VX611, whole);
    }
  }

  void CheckEntry(const LayoutEntry& entry) {
    if (entry.section == Layout::NO_SECTION) {
      if (text_.Sections().empty() || entry.name_span.line < text_.Sections().front().span.line)
        Add(VX610, entry.name_span);
      return;
    }
    if (entry.name.size() >= DICT_NAME_SIZE) Add(VX603, entry.name_span);
    if (entry.value.size() >= DICT_VALUE_SIZE)
      Add(VX602, {entry.value_span.line, entry.value_span.begin + DICT_VALUE_SIZE - 1, entry.value_span.end});
    CheckCut(entry);
  }

  // A comment behind a value has a blank before it; what follows straight on was meant as part of the value.
  void CheckCut(const LayoutEntry& entry) {
    const std::string_view line = text_.Line(entry.value_span.line);
    const size_t end = entry.value_span.end;
    if (end >= line.size() || (line[end] != ';' && line[end] != '#')) return;
    const bool is_quoted = entry.value_span.begin > 0 &&
                           (line[entry.value_span.begin - 1] == '"' || line[entry.value_span.begin - 1] == '\'');
    if (!is_quoted && (end == 0 || IsIniSpace(line[end - 1]) || entry.value.empty())) return;
    Add(VX601, {entry.value_span.line, end, end + 1}, std::string("the value ends at the ") + line[end]);
  }

  // ---- Sections -----------------------------------------------------------------------------------------------------

  void CheckSections() {
    std::unordered_map<std::string, size_t> seen;
    for (size_t number = 0; number < text_.Sections().size(); ++number) {
      const LayoutSection& section = text_.Sections()[number];
      if (section.name.size() >= DICT_NAME_SIZE) Add(VX603, section.span);
      const std::string name = Lower(section.name);
      if (name == "xx" || name == "list") continue;
      if (const auto [first, is_new] = seen.emplace(name, number); !is_new) {
        Add(VX612, section.span, "the section [" + std::string(section.name) + "] comes twice");
        findings_.list.back().related.push_back(
            {findings_.file, text_.Sections()[first->second].span, "the first one is here"});
      }
      CheckRepeated(section, name == "catalog" ? VX613 : VX614);
    }
  }

  void CheckRepeated(const LayoutSection& section, const Rule& rule) {
    constexpr size_t FEW = 32;  // entries, which are compared with each other
    std::unordered_map<std::string, size_t> seen;
    for (size_t k = 0; k < section.entries.size(); ++k) {
      const LayoutEntry& entry = text_.Entries()[section.entries[k]];
      const LayoutEntry* first = nullptr;
      if (section.entries.size() <= FEW) {
        for (size_t before = 0; before < k && first == nullptr; ++before)
          if (EqualNoCase(text_.Entries()[section.entries[before]].name, entry.name))
            first = &text_.Entries()[section.entries[before]];
      } else if (const auto [found, is_new] = seen.emplace(Lower(entry.name), section.entries[k]); !is_new) {
        first = &text_.Entries()[found->second];
      }
      if (first == nullptr) continue;
      Add(rule, entry.name_span, std::string(entry.name) + " comes twice");
      findings_.list.back().related.push_back({findings_.file, first->name_span, "and here before"});
    }
  }

  void CheckCatalog() {
    const size_t catalog = text_.FindSection("catalog");
    // The lines below an indented header are dialogs now, and the fields are gone: that is said already.
    const auto is_indented = [](const Finding& finding) { return finding.rule == &VX608; };
    if (catalog == Layout::NO_SECTION || std::ranges::any_of(findings_.list, is_indented)) return;
    std::unordered_set<std::string> used;
    for (const LayoutSection& section : text_.Sections())
      used.insert(Lower(section.name.substr(0, section.name.find('.'))));
    for (const size_t number : text_.Sections()[catalog].entries) {
      const LayoutEntry& entry = text_.Entries()[number];
      if (!used.contains(Lower(entry.name)))
        Add(VX615, entry.name_span, "the dialog " + std::string(entry.name) + " has no fields");
    }
  }

  // ---- Objects ------------------------------------------------------------------------------------------------------

  // The sections of the dictionary are those of the file, but for the catalog, lists, and what is passed over.
  void CheckObjects() {
    size_t number = 0;
    bool is_first = true;
    std::unordered_map<std::string, Span> paths;
    for (const SectionPtr& section : dict_->sections) {
      for (;; ++number) {
        const std::string name = number < text_.Sections().size() ? Lower(text_.Sections()[number].name) : "";
        const bool is_catalog = is_first && name == "catalog";
        if (name != "xx") is_first = false;
        if (!is_catalog && name != "xx" && name != "list") break;
      }
      if (number >= text_.Sections().size()) return;
      CheckObject(number, section->object);
      CheckPath(number, paths);
      ++number;
    }
    CheckArrays();
  }

  void CheckObject(size_t section, const Object& object) {
    CheckNumberText(section);
    CheckInherited(section);
    if (object.fmin > object.fmax && (object.mask & 0x300) == 0x300 && object.fmax != 0) Point(VX618, section);
    if (object.ftyp == FT_NONE && object.ftyp_text != nullptr)
      Point(VX620, section, "only the host knows the field type " + std::string(object.ftyp_text.get()));
    const std::string_view value_type = CText(object.fvtyp);
    if (object.ftyp == FT_N && object.fprec > 0 && (EqualNoCase(value_type, "I") || EqualNoCase(value_type, "D")))
      Point(VX629, section);
    CheckFormat(section, object);
    CheckValidSet(section, object);
    if (findings_.opens) CheckRoom(section, object);
    if (findings_.opens) CheckDefault(section, object);
  }

  // At the entry of the rule's attribute, or at the header where the section has none.
  void Point(const Rule& rule, size_t section, const std::string& text = "", const std::string& remedy = "") {
    const LayoutEntry* const entry = text_.FindEntry(section, rule.attribute);
    Add(rule, entry != nullptr ? entry->value_span : text_.Sections()[section].span, text, remedy);
  }

  void CheckNumberText(size_t section) {
    for (const std::string_view name : {"FLEN", "FPREC", "FMIN", "FMAX"}) {
      const LayoutEntry* const entry = text_.FindEntry(section, name);
      if (entry == nullptr || entry->value.empty()) continue;
      const bool is_whole = name == "FLEN" || name == "FPREC";
      const std::string value(entry->value);
      char* end = nullptr;
      if (is_whole)
        static_cast<void>(std::strtol(value.c_str(), &end, 10));
      else
        static_cast<void>(std::strtod(value.c_str(), &end));
      if (*end == '\0') continue;
      const auto good = static_cast<size_t>(end - value.c_str());
      Add(VX619, {entry->value_span.line, entry->value_span.begin + good, entry->value_span.end},
          std::string(entry->name) + " is read as " + (good == 0 ? "0" : value.substr(0, good)));
    }
  }

  void CheckInherited(size_t section) {
    const LayoutEntry* const model = text_.FindEntry(section, "MODEL");
    size_t other = Layout::NO_SECTION;
    const Findings* const file = model != nullptr ? models_.FileOf(model->value, other) : nullptr;
    if (file == nullptr) return;
    for (const size_t number : text_.Sections()[section].entries) {
      const LayoutEntry& entry = text_.Entries()[number];
      const LayoutEntry* const inherited = file->layout.FindEntry(other, entry.name);
      if (&entry == model || inherited == nullptr || inherited->value != entry.value) continue;
      Add(VX628, entry.name_span, std::string(entry.name) + " repeats what is inherited");
      findings_.list.back().related.push_back({file->file, inherited->value_span, "the model has it here"});
    }
  }

  static std::string_view KnownLetters(const Object& object) {
    const bool is_number = object.ftyp == FT_N || (object.ftyp == FT_Z && EqualNoCase(CText(object.fvtyp), "HM100"));
    if (is_number) return "lLrRbBzZtTpPgG";
    return object.ftyp == FT_T || object.ftyp == FT_U ? "lLrRcCzZtTuUvVoO" : "";
  }

  void CheckFormat(size_t section, const Object& object) {
    const LayoutEntry* const entry = text_.FindEntry(section, "FFMT");
    const std::string_view known = KnownLetters(object);
    if (entry == nullptr || known.empty()) return;
    std::set<char> seen;
    for (size_t at = 0; at < entry->value.size(); ++at) {
      const char letter = entry->value[at];
      const Span place = {entry->value_span.line, entry->value_span.begin + at, entry->value_span.begin + at + 1};
      const char other = letter == LowerCase(letter) ? static_cast<char>(letter - 32) : LowerCase(letter);
      if (known.find(letter) == std::string_view::npos)
        Add(VX616, place, std::string("the format has no letter ") + Printable({&letter, 1}));
      else if (seen.contains(other))
        Add(VX617, place, std::string(1, other) + " and " + letter + " cancel each other");
      seen.insert(letter);
    }
  }

  void CheckValidSet(size_t section, const Object& object) {
    const std::string_view valid = CText(object.valid);
    if (valid.empty()) return;
    const auto is_word = [](std::string_view word) {
      return word.size() > 1 && std::ranges::all_of(word, IsNameLetter);
    };
    const size_t comma = valid.find_first_of(",| ");
    if (!valid.starts_with('[') && comma != std::string_view::npos && is_word(valid.substr(0, comma)))
      return Point(VX621, section);
    std::string needed = object.ftyp == FT_N ? "0123456789" : "";
    if (object.ftyp == FT_N && object.fprec > 0) needed += '.';
    if (object.ftyp == FT_N && object.fmin < 0) needed += '-';
    char refused = '\0';
    if (!needed.empty() && FmtCheckValid(needed, valid, refused) == VALID_REFUSED)
      Point(VX625, section, std::string("the VALID set lacks ") + refused);
  }

  static bool Overflows(const Object& object, const std::string& value) {
    FieldBuffer shown;
    if (object.flen <= 0 || !FmtDisplay(shown, object, value.c_str())) return false;
    const std::string_view text = shown.View();
    const std::string_view overflow = LocaleInForce().strings.overflow;
    const char filler = overflow.empty() ? '?' : overflow.front();
    return !text.empty() && std::ranges::all_of(text, [=](char c) { return c == filler; });
  }

  // Which other characters are printable is a matter of the language, which may not be that of the author.
  static bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

  static std::string NumberText(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.12g", number);
    return text;
  }

  // Shows what the field will have to hold.
  void CheckRoom(size_t section, const Object& object) {
    if (object.ftyp == FT_N) {
      for (const double bound : {object.fmin, object.fmax})
        if (bound != 0 && Overflows(object, NumberText(bound)))
          return Point(VX623, section,
                       NumberText(bound) + " does not fit into " + std::to_string(object.flen) + " characters");
    } else if (object.ftyp == FT_D || object.ftyp == FT_M || object.ftyp == FT_Z) {
      const bool is_day_number = EqualNoCase(CText(object.fvtyp), "GREG");
      const char* const sample = object.ftyp == FT_M   ? "199912"
                                 : object.ftyp == FT_Z ? "2359"
                                 : is_day_number       ? "10227"
                                                       : "19991231";
      if (Overflows(object, sample)) Point(VX624, section);
    }
  }

  void CheckDefault(size_t section, const Object& object) {
    const std::string_view text = CText(object.default_value);
    if (text.empty() || text.starts_with('$')) return;
    char refused = '\0';
    if (object.ftyp == FT_N) {
      char* end = nullptr;
      const double number = std::strtod(object.default_value.get(), &end);
      const bool is_bound = object.fmin != 0 || object.fmax != 0;
      if (*end != '\0') return Point(VX622, section, "the default is no number");
      if (is_bound && (number < object.fmin || number > object.fmax))
        return Point(VX622, section, "the default is out of range");
    } else if ((object.ftyp == FT_T || object.ftyp == FT_U) &&
               FmtCheckValid(text, CText(object.valid), refused) == VALID_REFUSED && IsAscii(refused)) {
      return Point(VX622, section,
                   std::string("VALID does not allow the ") + Printable({&refused, 1}) + " of the default");
    }
    const bool is_long =
        (object.ftyp == FT_T || object.ftyp == FT_U) && text.size() > static_cast<size_t>(std::max(object.flen, 0));
    if (is_long || Overflows(object, std::string(text)))
      Point(VX622, section, "the default does not fit into the field");
  }

  void CheckPath(size_t section, std::unordered_map<std::string, Span>& paths) {
    const LayoutEntry* const path = text_.FindEntry(section, "PATH");
    if (path == nullptr) return;
    const std::string_view name = text_.Sections()[section].name;
    const auto [first, is_new] =
        paths.emplace(Lower(name.substr(0, name.find('.'))) + '\n' + Lower(path->value), path->value_span);
    if (is_new) return;
    Add(VX627, path->value_span);
    findings_.list.back().related.push_back({findings_.file, first->second, "the other field is here"});
  }

  // [kd.sum__3] is element 3 of the array kd.sum.
  void CheckArrays() {
    std::map<std::string, std::map<size_t, Span>> arrays;
    for (const LayoutSection& section : text_.Sections()) {
      const size_t mark = section.name.rfind("__");
      if (mark == std::string::npos) continue;
      const int32_t index = ReadNumber(std::string(section.name.substr(mark + 2)).c_str());
      if (index > 0) arrays[Lower(section.name.substr(0, mark))].emplace(static_cast<size_t>(index), section.span);
    }
    for (const auto& [name, elements] : arrays) {
      size_t expected = 1;
      for (const auto& [index, span] : elements) {
        if (index != expected) Add(VX626, span, "the array has no element " + std::to_string(expected));
        expected = index + 1;
      }
    }
  }

  Findings& findings_;
  const Layout& text_;
  const DictPtr& dict_;
  FileKind kind_;
  const Models& models_;
};

}  // namespace

void CheckStyle(Judged& judged, FileKind kind, const Models& models) {
  Style(judged, kind, models).Check();
  std::ranges::stable_sort(judged.findings.list, [](const Finding& one, const Finding& other) {
    return std::pair(one.span.line, one.span.begin) < std::pair(other.span.line, other.span.begin);
  });
}

}  // namespace vorlix::tool
