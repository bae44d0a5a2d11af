// The reading tells where it stands, by the start of the next line; each message of level 1 or 2 that comes meanwhile
// is about the line before. What is found when a section has ended is about its header, or one of its entries.
#include "tools/check/reading.h"

#include <algorithm>
#include <filesystem>
#include <list>
#include <optional>

#include "dll/base/debug.h"
#include "dll/base/text.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/dictfile.h"
#include "dll/shared/dlglevel.h"
#include "tools/check/field.h"
#include "tools/check/textfile.h"
#include "tools/nearest.h"

namespace vorlix::tool {
namespace {

// What stands between the last two quotes of a message, such as the section's name.
std::string_view LastQuoted(std::string_view message) {
  const size_t end = message.rfind('\'');
  const size_t begin = end == std::string_view::npos || end == 0 ? end : message.rfind('\'', end - 1);
  return begin == std::string_view::npos ? std::string_view() : message.substr(begin + 1, end - begin - 1);
}

// What stands between the first two quotes.
std::string_view FirstQuoted(std::string_view message) {
  const size_t begin = message.find('\'');
  const size_t end = begin == std::string_view::npos ? begin : message.find('\'', begin + 1);
  return end == std::string_view::npos ? std::string_view() : message.substr(begin + 1, end - begin - 1);
}

std::vector<std::string_view> AttributeNames() {
  std::vector<std::string_view> names;
  for (int32_t row = 0; row < ATTRIBUTE_COUNT; ++row) names.push_back(ObGetItem(row).View());
  names.push_back("MODEL");
  return names;
}

// The attribute that was meant: one whose exchange name it is, or the nearest name.
std::string_view MeantAttribute(std::string_view name) {
  if (const std::optional<int32_t> row = ObFindAlias(name)) return ObGetItem(*row).View();
  const std::vector<std::string_view> names = AttributeNames();
  return Nearest(name, names);
}

void Suggest(Finding& finding, std::string_view meant) {
  if (meant.empty()) return;
  finding.instead = meant;
  finding.remedy = "did you mean " + *finding.instead + "?";
}

// What puts an object right, so that its next fault comes to light.
struct Cure {
  const Rule* fault;
  void (*apply)(Object& object);
};

constexpr Cure CURES[] = {
    {&VX206, [](Object& object) { object.path = CopyText("x"); }},
    {&VX207, [](Object& object) { object.objtype = OT_ET; }},
    {&VX208, [](Object& object) { object.ftyp = FT_T; }},
    {&VX209,
     [](Object& object) {
       object.fvtyp = object.ftyp == FT_D ? CopyText("CYMD") : object.ftyp == FT_Z ? CopyText("HM60") : nullptr;
     }},
    {&VX210, [](Object& object) { object.valid.reset(); }},
    {&VX211, [](Object& object) { object.flen = 1; }},
    {&VX212, [](Object& object) { object.fprec = 0; }},
};

// ---- The reading ----------------------------------------------------------------------------------------------------

class Reading : public ReadObserver, private TraceSink {
 public:
  Reading(Findings& findings, const Models& models) : findings_(findings), models_(models) {
    SetTraceSink(this);
    SetDebugFlags("D2", "");
  }
  ~Reading() override {
    SetDebugFlags("", "");
    SetTraceSink(nullptr);
  }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  // For every line, so no more than that is done.
  void OnLine(int64_t next_line) override {
    next_line_ = static_cast<size_t>(next_line);
    at_end_ = false;
  }
  void OnSectionEnd() override { at_end_ = true; }
  bool Cure(Object& object) override;

  /// What refuses a file has a finding, if nothing else the message that has no rule.
  void OnRefused() {
    if (findings_.HasErrors()) return;
    findings_.list.push_back(unknown_.value_or(Finding{&VX102, {}, std::string(VX102.title), ""}));
  }

  /// From now on messages are about the whole file.
  void OnFileEnd() { is_over_ = at_end_ = true; }

 private:
  const Layout& Text() const { return findings_.layout; }

  void Take(char category, int level, const char* message) override {
    if (category == TRACE_DICT && (level == 1 || level == 2)) Report(message, level == 1);
  }

  void Report(std::string_view message, bool is_failure);
  void FindPlace();
  void NoteRefused(const Rule& rule);
  bool Follows(const Rule& rule) const;
  Span PlaceOf(const Rule& rule, std::string_view message) const;
  Span EntryOrHeader(size_t section, std::string_view attribute) const;

  // What is known of one case beside its rule. Where it is about an entry, that is the one in the line.
  struct Explanation {
    const Rule* rule;
    void (Reading::*add)(Finding& finding, std::string_view message) const;
  };
  static const Explanation EXPLANATIONS[];
  void ExplainName(Finding& finding, std::string_view message) const;
  void ExplainLength(Finding& finding, std::string_view message) const;
  void ExplainValue(Finding& finding, std::string_view message) const;
  void ExplainModel(Finding& finding, std::string_view message) const;
  void ExplainHandle(Finding& finding, std::string_view message) const;
  void ExplainOldName(Finding& finding, std::string_view message) const;
  void ExplainInherited(Finding& finding) const;

  Findings& findings_;
  const Models& models_;
  size_t next_line_ = 0;  // where it starts
  bool at_end_ = false;   // of the section
  bool is_over_ = false;
  size_t line_ = 0;                      // of the message
  size_t section_ = Layout::NO_SECTION;  // that it is about
  const Rule* last_ = nullptr;
  std::optional<Finding> unknown_;             // the last failure without a rule
  size_t refused_in_ = Layout::NO_SECTION;     // the section with
  std::vector<const LayoutEntry*> refused_{};  // entries that were refused
};

const Reading::Explanation Reading::EXPLANATIONS[] = {
    {&VX201, &Reading::ExplainName},    {&VX202, &Reading::ExplainLength},  {&VX203, &Reading::ExplainValue},
    {&VX204, &Reading::ExplainModel},   {&VX302, &Reading::ExplainHandle},  {&VX502, &Reading::ExplainOldName},
    {&VX504, &Reading::ExplainOldName}, {&VX506, &Reading::ExplainOldName},
};

void Reading::Report(std::string_view message, bool is_failure) {
  const Rule* const rule = RuleOfMessage(message);
  FindPlace();
  if (rule == nullptr) {
    if (is_failure) unknown_ = Finding{&VX102, {line_, 0, Text().Line(line_).size()}, std::string(message), ""};
    return;
  }
  last_ = rule;
  NoteRefused(*rule);
  if (Follows(*rule)) return;
  Finding finding{rule, PlaceOf(*rule, message), std::string(rule->title), ""};
  for (const Explanation& explanation : EXPLANATIONS)
    if (explanation.rule == rule) (this->*explanation.add)(finding, message);
  ExplainInherited(finding);
  findings_.list.push_back(std::move(finding));
}

void Reading::FindPlace() {
  line_ = Text().LineAt(std::max<size_t>(next_line_, 1) - 1);
  section_ = is_over_ ? Layout::NO_SECTION : Text().SectionOf(line_);
}

void Reading::NoteRefused(const Rule& rule) {
  const bool is_of_model = &rule == &VX204 || &rule == &VX205;
  if (rule.severity != Severity::Error || (at_end_ && !is_of_model)) return;
  if (std::exchange(refused_in_, section_) != section_) refused_.clear();
  refused_.push_back(is_of_model ? Text().FindEntry(section_, "MODEL") : Text().EntryAt(line_));
}

// What a section lacks may be what one of its refused lines was to say, or the model that is none.
bool Reading::Follows(const Rule& rule) const {
  const bool is_of_model = rule.attribute == "MODEL";
  if (!at_end_ || is_over_ || is_of_model || rule.attribute.empty() || section_ != refused_in_) return false;
  return std::ranges::none_of(Text().EntriesOf(section_), [&](const LayoutEntry& entry) {
    return SameName(entry.Name(), rule.attribute) && std::ranges::find(refused_, &entry) == refused_.end();
  });
}

Span Reading::PlaceOf(const Rule& rule, std::string_view message) const {
  if (at_end_) {
    const size_t section = section_ != Layout::NO_SECTION ? section_ : Text().FindSection(LastQuoted(message));
    return EntryOrHeader(section, rule.attribute);
  }
  if (const LayoutEntry* const entry = Text().EntryAt(line_))
    return &rule == &VX201 || &rule == &VX502 ? Text().NameSpan(*entry) : Text().ValueSpan(*entry);
  const size_t section = Text().SectionAt(line_);
  return section != Layout::NO_SECTION ? Text().HeaderSpan(section) : Span{line_, 0, Text().Line(line_).size()};
}

Span Reading::EntryOrHeader(size_t section, std::string_view attribute) const {
  if (section == Layout::NO_SECTION) return {};
  if (const LayoutEntry* const entry = Text().FindEntry(section, attribute)) return Text().ValueSpan(*entry);
  return Text().HeaderSpan(section);
}

bool Reading::Cure(Object& object) {
  const auto* const cure = std::ranges::find(CURES, std::exchange(last_, nullptr), &tool::Cure::fault);
  if (cure == std::end(CURES)) return false;
  cure->apply(object);
  return true;
}

// ---- Explanations ---------------------------------------------------------------------------------------------------

void Reading::ExplainName(Finding& finding, std::string_view) const {
  const LayoutEntry* const entry = Text().EntryAt(line_);
  if (entry == nullptr) return;
  finding.text = "there is no attribute " + std::string(entry->Name());
  Suggest(finding, MeantAttribute(entry->Name()));
}

void Reading::ExplainLength(Finding& finding, std::string_view) const {
  const LayoutEntry* const entry = Text().EntryAt(line_);
  if (entry == nullptr) return;
  finding.text =
      std::string(entry->Name()) + " has " + std::to_string(entry->Value().size()) + " characters, which is too long";
}

void Reading::ExplainValue(Finding& finding, std::string_view) const {
  const LayoutEntry* const entry = Text().EntryAt(line_);
  if (entry != nullptr) finding.text += ": " + std::string(entry->Name()) + "=" + std::string(entry->Value());
}

// A model may be missing because the file that has it is refused.
void Reading::ExplainModel(Finding& finding, std::string_view message) const {
  const std::string_view name = FirstQuoted(message);
  finding.text = "there is no model " + std::string(name);
  const std::vector<std::string_view> names = models_.Names();
  if (const Findings* const file = models_.RefusedFileOf(name)) {
    const Finding& fault =
        *std::ranges::find(file->list, Severity::Error, [](const Finding& one) { return one.rule->severity; });
    finding.text += ", for the file that has it is refused";
    finding.remedy = "put that file right first: vorlix check " + file->file;
    finding.related.push_back({file->file, fault.span, fault.text});
  } else if (models_.Files().empty()) {
    finding.remedy = "no model dictionary is open: name it with --model FILE, or in vorlix.ini";
  } else {
    Suggest(finding, Nearest(name, names));
  }
}

void Reading::ExplainHandle(Finding& finding, std::string_view message) const {
  const std::string_view handle = FirstQuoted(message);
  finding.text = "the catalog has no handle " + std::string(handle);
  finding.span.end = std::min(finding.span.end, finding.span.begin + handle.size());
  std::vector<std::string_view> handles;
  for (const LayoutEntry& one : Text().EntriesOf(Text().Catalog())) handles.push_back(one.Name());
  Suggest(finding, Nearest(handle, handles));
}

void Reading::ExplainOldName(Finding& finding, std::string_view message) const {
  finding.instead = FirstQuoted(message);
  finding.remedy = "write " + *finding.instead + " (--fix does)";
}

// An attribute that the section does not have itself comes from a model: that is the place to look at.
void Reading::ExplainInherited(Finding& finding) const {
  if (!at_end_ || finding.rule->attribute.empty() || section_ == Layout::NO_SECTION) return;
  const Source source = FindSource(findings_, section_, finding.rule->attribute, models_);
  if (source.entry != nullptr && source.file != &findings_)
    finding.related.push_back({source.file->file, source.file->layout.ValueSpan(*source.entry), "inherited from here"});
}

}  // namespace

DictPtr ReadDictionary(Findings& findings, FileKind kind, const Models& models) {
  const TextFile file(findings.layout.Text());
  const std::string path = file.Path();
  const std::string id = std::filesystem::path(findings.file).stem().string();
  Reading looking_on(findings, models);
  std::list<DictPtr> fresh;
  const FileCode code =
      ReadDictFile(fresh, path, id.c_str(), kind == FileKind::Model ? DICT_MODEL : DICT_ORIGINAL, &looking_on);
  findings.opens = code == FILE_OK;
  if (fresh.empty() && code == FILE_REFUSED) findings.list.push_back({&VX101, {}, std::string(VX101.title), ""});
  DictPtr dict = fresh.empty() ? nullptr : fresh.front();
  if (dict != nullptr && kind == FileKind::Dictionary) {
    looking_on.OnFileEnd();
    if (AddDlgLevel(dict, 1) == DLG_OK)
      FreeDlgLevel(1);
    else
      findings.opens = false;
    ExplainLostCatalog(findings);
  }
  if (!findings.opens) looking_on.OnRefused();
  return dict;
}

}  // namespace vorlix::tool
