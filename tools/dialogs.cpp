#include "tools/dialogs.h"

#include "host/xbuf.h"
#include "tools/values.h"

namespace vorlix::tool {

std::vector<std::string> OpenDialogs(const host::Caller& ask) {
  std::vector<std::string> dialogs;
  for (int32_t index = 0;; ++index) {
    const host::Result result = ask(
        "dict_DlgID", {host::Text(""), host::Int(0), host::Int(index), host::OutText(DEFAULT_ROOM), host::IntRef()});
    if (result.code != 0 || result.args.at(4).IntAt() != 0) return dialogs;
    for (const host::XbufItem& item : host::ReadXbuf(result.args.at(3).TextAt()))
      if (item.name.ends_with("_id")) dialogs.push_back(item.value);
  }
}

// A filter set of its own tells them, and leaves the walk and the set in use as they are.
std::vector<std::string> FieldsOf(const host::Caller& ask, const std::string& dialog) {
  std::vector<std::string> fields;
  const host::Result opened = ask("dict_ListFilterInit", {host::Text(dialog), host::Text("*"), host::IntRef()});
  if (opened.code != 0 || opened.args.at(2).IntAt() != 0) return fields;
  const host::Result all = ask("dict_FilterToXbuf", {host::OutText(DEFAULT_ROOM)});
  ask("dict_FilterFree", {});
  if (all.code == 0)
    for (const host::XbufItem& item : host::ReadXbuf(all.args.at(0).TextAt())) fields.push_back(item.name);
  return fields;
}

}  // namespace vorlix::tool
