#include "tools/check/field.h"

#include "dll/shared/dictattr.h"

namespace vorlix::tool {

Source FindSource(const Findings& own, size_t section, std::string_view attribute, const Models& models) {
  constexpr int DEEPEST = 16;  // models in a row
  const Findings* file = &own;
  for (int depth = 0; file != nullptr && depth < DEEPEST; ++depth) {
    if (const LayoutEntry* const entry = file->layout.FindEntry(section, attribute)) return {file, entry};
    const LayoutEntry* const model = file->layout.FindEntry(section, "MODEL");
    file = model != nullptr ? models.FileOf(model->Value(), section) : nullptr;
  }
  return {};
}

std::vector<ShownAttribute> ListAttributes(const Findings& own, size_t section, const Object& object,
                                           const Models& models) {
  std::vector<ShownAttribute> attributes;
  AttrText attribute;
  for (int32_t row = 0; ObGetIdx(object, row, attribute); ++row) {
    const Source source = FindSource(own, section, attribute.item.View(), models);
    const bool is_plain = attribute.value.empty() || attribute.value.View() == "0";
    if (source.entry == nullptr && is_plain) continue;
    attributes.push_back({std::string(attribute.item.View()), std::string(attribute.value.View()), source});
  }
  return attributes;
}

}  // namespace vorlix::tool
