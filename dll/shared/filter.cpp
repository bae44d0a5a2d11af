// The filters and their table.
#include "dll/shared/filter.h"

#include "dll/shared/fielddisplay.h"
#include "dll/shared/varcontext.h"

namespace vorlix {
namespace {

int32_t DeliverIf(bool delivered) { return delivered ? FILTER_DELIVER : FILTER_SKIP; }

int32_t Format(Variable& variable) {
  FieldBuffer shown;
  const std::string_view value = TextOf(variable.value);
  if (!FmtDisplay(shown, variable.section->object, value.data())) return FILTER_DELIVER;
  const int32_t result = VarSetCurrValue(shown.CStr());
  return result == VAR_OK ? FILTER_DELIVER : result;
}

int32_t FormatHook(Variable& variable) { return DeliverIf(variable.section->object.ftyp == FT_NONE); }

int32_t DefaultHook(Variable& variable) {
  const std::string_view by_default = TextOf(variable.section->object.default_value);
  const int32_t result = VarSetCurrValue(by_default.data());
  return result == VAR_OK ? DeliverIf(by_default.starts_with('$')) : result;
}

/// Delivers fields that have a text attribute.
template <OwnedText Object::*Member>
int32_t AttributeHook(Variable& variable) {
  return DeliverIf(variable.section->object.*Member != nullptr);
}

struct FilterRow {
  std::string_view name;
  VarFilter filter;
};

constexpr FilterRow FILTERS[] = {
    {"format", Format},
    {"fmt_hook", FormatHook},
    {"def_hook", DefaultHook},
    {"out_hook", AttributeHook<&Object::output>},
    {"load_hook", AttributeHook<&Object::load>},
    {"init_hook", AttributeHook<&Object::init>},
};

}  // namespace

VarFilter FindVarFilter(std::string_view name) {
  for (const FilterRow& row : FILTERS)
    if (EqualNoCase(row.name, name)) return row.filter;
  return nullptr;
}

}  // namespace vorlix
