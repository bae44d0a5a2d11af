#include "tools/check/judge.h"

#include <algorithm>
#include <filesystem>

#include "dll/base/text.h"
#include "tools/check/modules.h"
#include "tools/check/reading.h"

namespace vorlix::tool {

Judged Judge(const std::string& path, FileKind kind, const Models& models, Layout layout) {
  Judged judged{{path, std::move(layout)}, kind, nullptr};
  if (kind == FileKind::Module)
    JudgeModules(judged.findings);
  else
    judged.dict = ReadDictionary(judged.findings, kind, models);
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

}  // namespace vorlix::tool
