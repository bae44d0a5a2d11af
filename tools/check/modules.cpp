#include "tools/check/modules.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "dll/base/text.h"
#include "tools/check/style.h"
#include "tools/check/textfile.h"
#include "tools/nearest.h"

namespace vorlix::tool {
namespace {

// The item that was meant: one whose name in the XBUF it is, or the nearest.
std::string_view MeantItem(std::string_view name) {
  std::vector<std::string_view> names;
  for (const ModuleItem& row : MODULE_ITEMS) {
    if (EqualNoCase(row.name, name)) return row.item;
    names.emplace_back(row.item);
  }
  return Nearest(name, names);
}

// The entries of one section come in the order of the layout.
class ModuleReading : public ModuleObserver {
 public:
  ModuleReading(Findings& findings, size_t section) : findings_(findings), section_(section) {}

  void OnEntry() override { ++count_; }

  void OnIgnored(const char* /*item*/, const char* /*value*/) override {
    const LayoutEntry* const entry = Entry();
    if (entry == nullptr) return;
    const std::string name(entry->Name());
    Finding& finding = Note(findings_, VX650, findings_.layout.NameSpan(*entry), "modules have no item " + name);
    const std::string_view meant = MeantItem(name);
    if (meant.empty()) return;
    finding.instead = meant;
    finding.remedy = "did you mean " + *finding.instead + "?";
  }

  // Once for each item: with every line behind it is longer still.
  void OnTooLong(const ModuleItem& row, size_t length) override {
    if (!too_long_.insert(&row).second) return;
    const LayoutEntry* const entry = Entry();
    const Span span = entry != nullptr ? findings_.layout.ValueSpan(*entry) : findings_.layout.HeaderSpan(section_);
    Note(findings_, VX401, span,
         std::string(row.item) + " has " + std::to_string(length) + " characters, " + std::to_string(row.limit) +
             " at the most");
  }

  void OnNoMemory(int /*error*/, size_t /*size*/) override {}

 private:
  const LayoutEntry* Entry() const {
    const std::span<const LayoutEntry> entries = findings_.layout.EntriesOf(findings_.layout.Sections()[section_]);
    return entries.empty() ? nullptr : &entries[std::min(count_, entries.size()) - 1];
  }

  Findings& findings_;
  size_t section_;
  size_t count_ = 0;  // of entries that were read
  std::set<const ModuleItem*> too_long_;
};

void CheckEntryPoint(Findings& findings, size_t section) {
  const LayoutEntry* const entry = findings.layout.FindEntry(section, "ENTRY");
  if (entry == nullptr || entry->Value().find_first_not_of("0123456789") == std::string_view::npos) return;
  Note(findings, VX651, findings.layout.ValueSpan(*entry));
}

}  // namespace

const ModuleItem* FindModuleItem(std::string_view name) {
  const auto* const found =
      std::ranges::find_if(MODULE_ITEMS, [&](const ModuleItem& row) { return SameName(row.item, name); });
  return found == std::end(MODULE_ITEMS) ? nullptr : found;
}

std::string MeaningOfItem(const ModuleItem& item) {
  if (item.type == NOT_COLLECTED) return "not read";
  return "Mdf_" + std::string(item.name) + ", up to " + std::to_string(item.limit) +
         (item.limit == 1 ? " character" : " characters");
}

void JudgeModules(Findings& findings) {
  const TextFile file(findings.layout.Text());
  std::map<std::string, size_t> first;  // the section of a name, which alone is ever read
  for (size_t number = 0; number < findings.layout.Sections().size(); ++number) {
    const std::string name(findings.layout.Sections()[number].name);
    if (name.c_str()[0] == '\0') continue;  // nobody can ask for it
    std::string lower = name;
    std::ranges::transform(lower, lower.begin(), LowerCase);
    if (const auto [earlier, is_new] = first.emplace(lower, number); !is_new) {
      Note(findings, VX612, findings.layout.HeaderSpan(number), "the section [" + name + "] comes twice").related = {
          {findings.file, findings.layout.HeaderSpan(earlier->second), "this one is read"}};
      continue;
    }
    Module module;
    module.name = CopyText(name);
    ModuleReading looking_on(findings, number);
    if (ReadModule(module, file.Path().c_str(), looking_on) != FILE_OK) findings.opens = false;
    CheckEntryPoint(findings, number);
  }
  if (!findings.opens && !findings.HasErrors()) Note(findings, VX102, {});
}

bool HasModules(const Layout& layout) {
  const auto count = std::ranges::count_if(layout.Entries(), FindModuleItem, &LayoutEntry::Name);
  return static_cast<size_t>(count) * 2 > layout.Entries().size();
}

}  // namespace vorlix::tool
