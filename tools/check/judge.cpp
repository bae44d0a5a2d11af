// The reading tells where it stands, by the start of the next line; each message of level 1 or 2 that comes meanwhile
// is about the line before. What is found when a section has ended is about its header, or one of its entries.
#include "tools/check/judge.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <list>
#include <memory>
#include <optional>

#include "dll/base/debug.h"
#include "dll/base/text.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/dictfile.h"
#include "dll/shared/dlglevel.h"
#include "tools/check/modules.h"
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
  finding.instead = meant;
  finding.remedy = "did you mean " + *finding.instead + "?";
}

// ---- The reading ----------------------------------------------------------------------------------------------------

class Reading;
Reading* reading = nullptr;  // the one that the trace goes to

class Reading : public ReadObserver {
 public:
  Reading(Findings& findings, const Models& models) : findings_(findings), models_(models) {
    reading = this;
    SetTraceSink(Take);
    SetDebugFlags("D2", "");
  }
  ~Reading() override {
    SetDebugFlags("", "");
    SetTraceSink(nullptr);
    reading = nullptr;
  }

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

  static void Take(char category, int level, const char* message) {
    if (category == TRACE_DICT && (level == 1 || level == 2)) reading->Report(message, level == 1);
  }

  void Report(std::string_view message, bool is_failure);
  void FindPlace();
  Span PlaceOf(const Rule& rule, std::string_view message) const;
  Span EntryOrHeader(size_t section, std::string_view attribute) const;
  void Explain(Finding& finding, std::string_view message) const;
  void ExplainInherited(Finding& finding) const;

  Findings& findings_;
  const Models& models_;
  size_t next_line_ = 0;  // where it starts
  bool at_end_ = false;   // of the section
  bool is_over_ = false;
  size_t line_ = 0;                      // of the message
  size_t section_ = Layout::NO_SECTION;  // that it is about
  const Rule* last_ = nullptr;
  std::optional<Finding> unknown_;  // the last failure without a rule
};

void Reading::Report(std::string_view message, bool is_failure) {
  const Rule* const rule = RuleOfMessage(message);
  FindPlace();
  if (rule == nullptr) {
    if (is_failure) unknown_ = Finding{&VX102, {line_, 0, Text().Line(line_).size()}, std::string(message), ""};
    return;
  }
  last_ = rule;
  Finding finding{rule, PlaceOf(*rule, message), std::string(rule->title), ""};
  Explain(finding, message);
  findings_.list.push_back(std::move(finding));
}

void Reading::FindPlace() {
  line_ = Text().LineAt(std::max<size_t>(next_line_, 1) - 1);
  section_ = is_over_ ? Layout::NO_SECTION : Text().SectionOf(line_);
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

// What is known of this one case beside the rule.
void Reading::Explain(Finding& finding, std::string_view message) const {
  const LayoutEntry* const entry = Text().EntryAt(line_);
  if (finding.rule == &VX201 && entry != nullptr) {
    finding.text = "there is no attribute " + std::string(entry->Name());
    const std::string_view meant = MeantAttribute(entry->Name());
    if (!meant.empty()) Suggest(finding, meant);
  } else if (finding.rule == &VX202 && entry != nullptr) {
    finding.text =
        std::string(entry->Name()) + " has " + std::to_string(entry->Value().size()) + " characters, which is too long";
  } else if (finding.rule == &VX203 && entry != nullptr) {
    finding.text += ": " + std::string(entry->Name()) + "=" + std::string(entry->Value());
  } else if (finding.rule == &VX204) {
    const std::string_view name = FirstQuoted(message);
    finding.text = "there is no model " + std::string(name);
    const std::vector<std::string_view> names = models_.Names();
    if (const std::string_view near = Nearest(name, names); !near.empty())
      Suggest(finding, near);
    else if (names.empty())
      finding.remedy = "no model dictionary is open: name it with --model FILE, or in vorlix.ini";
  } else if (finding.rule == &VX302) {
    const std::string_view handle = FirstQuoted(message);
    finding.text = "the catalog has no handle " + std::string(handle);
    finding.span.end = std::min(finding.span.end, finding.span.begin + handle.size());
    std::vector<std::string_view> handles;
    const size_t catalog = Text().FindSection("catalog");
    if (catalog != Layout::NO_SECTION)
      for (const LayoutEntry& one : Text().EntriesOf(Text().Sections()[catalog])) handles.push_back(one.Name());
    if (const std::string_view near = Nearest(handle, handles); !near.empty()) Suggest(finding, near);
  } else if (finding.rule == &VX502 || finding.rule == &VX504 || finding.rule == &VX506) {
    finding.instead = FirstQuoted(message);
    finding.remedy = "write " + *finding.instead + " (--fix does)";
  }
  ExplainInherited(finding);
}

// An attribute that the section does not have itself comes from a model: that is the place to look at.
void Reading::ExplainInherited(Finding& finding) const {
  if (!at_end_ || finding.rule->attribute.empty() || section_ == Layout::NO_SECTION) return;
  if (Text().FindEntry(section_, finding.rule->attribute) != nullptr) return;
  const LayoutEntry* model = Text().FindEntry(section_, "MODEL");
  for (int depth = 0; model != nullptr && depth < 16; ++depth) {
    size_t section = Layout::NO_SECTION;
    const Findings* const file = models_.FileOf(model->Value(), section);
    if (file == nullptr) return;
    if (const LayoutEntry* const entry = file->layout.FindEntry(section, finding.rule->attribute)) {
      finding.related.push_back({file->file, file->layout.ValueSpan(*entry), "inherited from here"});
      return;
    }
    model = file->layout.FindEntry(section, "MODEL");
  }
}

// Puts right what was refused last, so that the next fault comes to light.
bool Reading::Cure(Object& object) {
  const Rule* const fault = last_;
  last_ = nullptr;
  if (fault == &VX206) object.path = CopyText("x");
  if (fault == &VX207) object.objtype = OT_ET;
  if (fault == &VX208) object.ftyp = FT_T;
  if (fault == &VX209)
    object.fvtyp = object.ftyp == FT_D ? CopyText("CYMD") : object.ftyp == FT_Z ? CopyText("HM60") : nullptr;
  if (fault == &VX210) object.valid.reset();
  if (fault == &VX211) object.flen = 1;
  if (fault == &VX212) object.fprec = 0;
  return fault != nullptr && fault->severity == Severity::Error && fault->code.starts_with("VX2");
}

DictPtr Read(Findings& findings, FileKind kind, const Models& models, const std::string& id) {
  const TextFile file(findings.layout.Text());
  const std::string path = file.Path();
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
  }
  if (!findings.opens) looking_on.OnRefused();
  return dict;
}

}  // namespace

Judged Judge(const std::string& path, FileKind kind, const Models& models, Layout layout) {
  Judged judged{{path, std::move(layout)}, kind, nullptr};
  if (kind == FileKind::Module)
    JudgeModules(judged.findings);
  else
    judged.dict = Read(judged.findings, kind, models, std::filesystem::path(path).stem().string());
  SortByPlace(judged.findings);
  return judged;
}

FileKind KindOf(const Layout& layout) {
  const std::vector<LayoutSection>& sections = layout.Sections();
  const auto is_named = [&](auto&& has_name) { return std::ranges::any_of(sections, has_name, &LayoutSection::name); };
  if (sections.empty() || is_named([](std::string_view name) { return EqualNoCase(name, "catalog"); }))
    return FileKind::Dictionary;
  if (HasModules(layout)) return FileKind::Module;
  const bool has_points = is_named([](std::string_view name) { return name.find('.') != std::string_view::npos; });
  return has_points ? FileKind::Dictionary : FileKind::Model;
}

// ---- Models ---------------------------------------------------------------------------------------------------------

Models::~Models() {
  while (!DictList().empty()) RemoveDict(DictList().front());
}

const Findings& Models::Open(const std::string& path, Layout layout) {
  Judged judged = Judge(path, FileKind::Model, *this, std::move(layout));
  if (judged.findings.opens && judged.dict != nullptr) {
    std::list<DictPtr> fresh = {judged.dict};
    LinkDict(fresh);
  }
  files_.push_back(std::make_unique<Findings>(std::move(judged.findings)));
  return *files_.back();
}

// The newest one counts, as in the server.
const Findings* Models::FileOf(std::string_view model, size_t& section) const {
  for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
    section = (*file)->layout.FindSection(model);
    if ((*file)->opens && section != Layout::NO_SECTION) return file->get();
  }
  return nullptr;
}

std::vector<const Findings*> Models::Files() const {
  std::vector<const Findings*> all;
  for (const auto& file : files_) all.push_back(file.get());
  return all;
}

std::vector<std::string_view> Models::Names() const {
  std::vector<std::string_view> names;
  for (const auto& file : files_)
    for (const LayoutSection& section : file->layout.Sections()) names.push_back(section.name);
  return names;
}

}  // namespace vorlix::tool
