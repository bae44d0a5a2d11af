// Everything that dictionaries and dialog levels consist of, as one text: what a failure must leave as it was.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"
#include "tests/support/callables.h"

namespace vorlix::test {

/// " PATH=p FTYP=N": the attributes that are neither empty nor 0.
inline std::string ShowObject(const Object& object) {
  std::string shown;
  AttrText attr;
  for (int32_t row = 0; ObGetIdx(object, row, attr); ++row)
    if (!attr.value.empty() && attr.value != "0")
      shown.append(" ").append(attr.item.View()).append("=").append(attr.value.View());
  return shown;
}

/// Sets an object as "PATH=p|FTYP=N" says. Returns whether all that succeeded.
inline bool SetObject(Object& object, const std::string& lines) {
  bool all = true;
  std::istringstream in(lines);
  for (std::string line; std::getline(in, line, '|');) {
    OwnedText value = CopyText(std::string_view(line).substr(line.find('=') + 1));
    all = ObSet(object, line.substr(0, line.find('=')), std::move(value), "kd.name") == AttrResult::Ok && all;
  }
  return all;
}

/// "id/kind x holders: HDL=pfx, list ITEM=value, [name PATH=p FTYP=N]".
inline std::string ShowDict(const Dict& dict) {
  std::string shown = dict.id + "/" + std::to_string(dict.kind) + " x" + std::to_string(dict.instance_cnt) + ":";
  for (const CatalogEntry& entry : dict.catalog) shown += std::string(" ") + entry.hdl.get() + "=" + entry.pfx.get();
  for (const ListItem& item : dict.items) shown += std::string(" list ") + item.name.get() + "=" + item.value;
  for (const SectionPtr& section : dict.sections)
    shown += std::string(" [") + section->name.get() + ShowObject(section->object) + "]";
  return shown;
}

/// A line for each dictionary, the newest first.
inline std::string ShowDicts() {
  std::string shown;
  for (const DictPtr& dict : DictList()) shown += ShowDict(*dict) + "\n";
  return shown;
}

/// "D02B, D02A=a_1": all dialogs with their aliases, in the order of the levels.
inline std::string ShowDialogs() {
  std::string shown;
  CText alias;
  for (int32_t idx = 0; const std::optional<DlgNames> dialog = GetDlgID("", 0, idx); ++idx) {
    shown.append(idx > 0 ? ", " : "").append(dialog->id.View());
    for (int32_t at = 1; GetDlgAlias(dialog->id, at, alias) == DLG_OK; ++at) shown.append("=").append(alias.View());
  }
  return shown;
}

inline std::string ShowAll() { return ShowDicts() + ShowDialogs(); }

/// Traced lines without those of progress's file and line, one behind the other.
inline std::string Messages(const TraceCapture& trace) {
  std::string joined;
  for (const std::string& line : trace.Lines())
    if (line.find("(): file ") == std::string::npos) joined += (joined.empty() ? "" : "\n") + line;
  return joined;
}

}  // namespace vorlix::test
