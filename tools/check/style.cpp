#include "tools/check/style.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <unordered_map>

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
    if (dict_ != nullptr) CheckObjects();
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
    if (!entry.is_in_section) {
      if (text_.Sections().empty() || entry.line < text_.Sections().front().line) Add(VX610, text_.NameSpan(entry));
      return;
    }
    if (entry.name.size() >= DICT_NAME_SIZE) Add(VX603, text_.NameSpan(entry));
    if (entry.value.size() >= DICT_VALUE_SIZE)
      Add(VX602, {entry.line, text_.ValueSpan(entry).begin + DICT_VALUE_SIZE - 1, text_.ValueSpan(entry).end});
    CheckCut(entry);
  }

  // A comment behind a value has a blank before it; what follows straight on was meant as part of the value.
  void CheckCut(const LayoutEntry& entry) {
    const std::string_view line = text_.Line(entry.line);
    const size_t end = text_.ValueSpan(entry).end;
    if (end >= line.size() || (line[end] != ';' && line[end] != '#')) return;
    const bool is_quoted = text_.ValueSpan(entry).begin > 0 && (line[text_.ValueSpan(entry).begin - 1] == '"' ||
                                                                line[text_.ValueSpan(entry).begin - 1] == '\'');
    if (!is_quoted && (end == 0 || IsIniSpace(line[end - 1]) || entry.value.empty())) return;
    Add(VX601, {entry.line, end, end + 1}, std::string("the value ends at the ") + line[end]);
  }

  // ---- Sections -----------------------------------------------------------------------------------------------------

  void CheckSections() {
    for (size_t number = 0; number < text_.Sections().size(); ++number) {
      const LayoutSection& section = text_.Sections()[number];
      if (section.name.size() >= DICT_NAME_SIZE) Add(VX603, text_.HeaderSpan(number));
      if (EqualNoCase(section.name, "xx") || EqualNoCase(section.name, "list")) continue;
      CheckRepeated(section, EqualNoCase(section.name, "catalog") ? VX613 : VX614);
    }
  }

  void CheckRepeated(const LayoutSection& section, const Rule& rule) {
    constexpr size_t FEW = 32;  // entries, which are compared with each other
    const std::span<const LayoutEntry> entries = text_.EntriesOf(section);
    std::unordered_map<std::string, size_t> seen;
    for (size_t k = 0; k < entries.size(); ++k) {
      const LayoutEntry& entry = entries[k];
      const LayoutEntry* first = nullptr;
      if (entries.size() <= FEW) {
        for (size_t before = 0; before < k && first == nullptr; ++before)
          if (EqualNoCase(entries[before].name, entry.name)) first = &entries[before];
      } else if (const auto [found, is_new] = seen.emplace(Lower(entry.name), k); !is_new) {
        first = &entries[found->second];
      }
      if (first == nullptr) continue;
      Add(rule, text_.NameSpan(entry), std::string(entry.name) + " comes twice");
      findings_.list.back().related.push_back({findings_.file, text_.NameSpan(*first), "and here before"});
    }
  }

  void CheckCatalog() {
    const size_t catalog = text_.FindSection("catalog");
    // The lines below an indented header are dialogs now, and the fields are gone: that is said already.
    const auto is_indented = [](const Finding& finding) { return finding.rule == &VX608; };
    if (catalog == Layout::NO_SECTION || std::ranges::any_of(findings_.list, is_indented)) return;
    if (dict_ == nullptr) return;
    const auto has_fields = [&](std::string_view handle) {
      const auto is_it = [&](const SectionGroup& group) { return EqualNoCase(group.handle, handle); };
      return std::ranges::any_of(dict_->sections.Groups(), is_it);
    };
    for (const LayoutEntry& entry : text_.EntriesOf(text_.Sections()[catalog]))
      if (!has_fields(entry.name))
        Add(VX615, text_.NameSpan(entry), "the dialog " + std::string(entry.name) + " has no fields");
  }

  // ---- Objects ------------------------------------------------------------------------------------------------------

  // The sections of the dictionary are those of the file, but for the catalog, lists, and what is passed over.
  void CheckObjects() {
    size_t number = 0;
    bool is_first = true;
    paths_.reserve(dict_->sections.size());
    for (const SectionPtr& section : dict_->sections) {
      for (; number < text_.Sections().size(); ++number) {
        const std::string_view name = text_.Sections()[number].name;
        const bool is_passed_over = EqualNoCase(name, "xx");
        const bool is_catalog = is_first && EqualNoCase(name, "catalog");
        if (!is_passed_over) is_first = false;
        if (!is_catalog && !is_passed_over && !EqualNoCase(name, "list")) break;
      }
      if (number >= text_.Sections().size()) return;
      if (FindSection(*dict_, section->section.get()) != section) AddRepeated(number);
      if (kind_ == FileKind::Dictionary) {
        CheckObject(number, section->object);
        CheckPath(number);
      }
      ++number;
    }
    if (kind_ == FileKind::Dictionary) CheckArrays();
  }

  void AddRepeated(size_t number) {
    const std::string_view name = text_.Sections()[number].name;
    Add(VX612, text_.HeaderSpan(number), "the section [" + std::string(name) + "] comes twice");
    findings_.list.back().related.push_back(
        {findings_.file, text_.HeaderSpan(text_.FindSection(name)), "the first one is here"});
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
    Add(rule, entry != nullptr ? text_.ValueSpan(*entry) : text_.HeaderSpan(section), text, remedy);
  }

  void CheckNumberText(size_t section) {
    for (const LayoutEntry& entry : text_.EntriesOf(text_.Sections()[section])) {
      const bool is_whole = EqualNoCase(entry.name, "FLEN") || EqualNoCase(entry.name, "FPREC");
      const bool is_number = is_whole || EqualNoCase(entry.name, "FMIN") || EqualNoCase(entry.name, "FMAX");
      const bool is_plain = entry.value.find_first_not_of("0123456789") == std::string_view::npos;
      if (!is_number || is_plain) continue;
      const std::string value(entry.value);
      char* end = nullptr;
      if (is_whole)
        static_cast<void>(std::strtol(value.c_str(), &end, 10));
      else
        static_cast<void>(std::strtod(value.c_str(), &end));
      if (*end == '\0') continue;
      const auto good = static_cast<size_t>(end - value.c_str());
      const Span whole = text_.ValueSpan(entry);
      Add(VX619, {whole.line, whole.begin + good, whole.end},
          std::string(entry.name) + " is read as " + (good == 0 ? "0" : value.substr(0, good)));
    }
  }

  void CheckInherited(size_t section) {
    const LayoutEntry* const model = text_.FindEntry(section, "MODEL");
    size_t other = Layout::NO_SECTION;
    const Findings* const file = model != nullptr ? models_.FileOf(model->value, other) : nullptr;
    if (file == nullptr) return;
    for (const LayoutEntry& entry : text_.EntriesOf(text_.Sections()[section])) {
      const LayoutEntry* const inherited = file->layout.FindEntry(other, entry.name);
      if (&entry == model || inherited == nullptr || inherited->value != entry.value) continue;
      Add(VX628, text_.NameSpan(entry), std::string(entry.name) + " repeats what is inherited");
      findings_.list.back().related.push_back(
          {file->file, file->layout.ValueSpan(*inherited), "the model has it here"});
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
      const Span place = {entry->line, text_.ValueSpan(*entry).begin + at, text_.ValueSpan(*entry).begin + at + 1};
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

  // With a sign, the separators of each three digits, a point and all decimals.
  static bool FitsSurely(const Object& object, double number) {
    const double digits = std::floor(std::log10(std::max(std::abs(number), 1.0))) + 1;
    return digits + digits / 3 + object.fprec + 2 <= object.flen;
  }

  // Shows what the field will have to hold.
  void CheckRoom(size_t section, const Object& object) {
    if (object.ftyp == FT_N) {
      for (const double bound : {object.fmin, object.fmax})
        if (bound != 0 && !FitsSurely(object, bound) && Overflows(object, NumberText(bound)))
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

  // A path of one dialog may be that of another one as well.
  void CheckPath(size_t section) {
    const LayoutEntry* const path = text_.FindEntry(section, "PATH");
    if (path == nullptr) return;
    const auto handle = [&](size_t number) {
      const std::string_view name = text_.Sections()[number].name;
      return name.substr(0, name.find('.'));
    };
    const auto [first, is_new] = paths_.emplace(path->value, section);
    if (is_new || !EqualNoCase(handle(first->second), handle(section))) return;
    Add(VX627, text_.ValueSpan(*path));
    const Span other = text_.ValueSpan(*text_.FindEntry(first->second, "PATH"));
    findings_.list.back().related.push_back({findings_.file, other, "the other field is here"});
  }

  // [kd.sum__3] is element 3 of the array kd.sum.
  void CheckArrays() {
    std::map<std::string, std::map<size_t, Span>> arrays;
    for (size_t number = 0; number < text_.Sections().size(); ++number) {
      const LayoutSection& section = text_.Sections()[number];
      const size_t mark = section.name.rfind("__");
      if (mark == std::string::npos) continue;
      const int32_t index = ReadNumber(std::string(section.name.substr(mark + 2)).c_str());
      if (index > 0)
        arrays[Lower(section.name.substr(0, mark))].emplace(static_cast<size_t>(index), text_.HeaderSpan(number));
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
  std::unordered_map<std::string_view, size_t> paths_;  // and the first section that has each
};

}  // namespace

void CheckStyle(Judged& judged, FileKind kind, const Models& models) {
  Style(judged, kind, models).Check();
  std::ranges::stable_sort(judged.findings.list, [](const Finding& one, const Finding& other) {
    return std::pair(one.span.line, one.span.begin) < std::pair(other.span.line, other.span.begin);
  });
}

}  // namespace vorlix::tool
