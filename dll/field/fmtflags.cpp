#include "dll/field/fmtflags.h"

#include <algorithm>

#include "dll/base/debug.h"
#include "dll/base/locale.h"

namespace vorlix {

uint32_t ReadFormat(std::span<const FormatLetter> letters, std::string_view format) {
  uint32_t flags = 0;
  for (const char c : format) {
    const auto row = std::find_if(letters.begin(), letters.end(), [c](const FormatLetter& r) { return r.letter == c; });
    if (row != letters.end()) flags = (flags & ~row->clears) | row->sets;
  }
  return flags;
}

void TraceFormat(std::span<const FormatLetter> letters, uint32_t flags) {
  if (!DebugCheck(TRACE_FORMAT, 2)) return;
  FieldBuffer names;
  for (const FormatLetter& row : letters) {
    const bool holds = row.sets != 0 ? (flags & row.sets) != 0 : (flags & row.clears) == 0;
    if (holds && names.Append(row.name)) names.Append(' ');
  }
  DebugPrint(TRACE_FORMAT, 2, "  flags: %s", names.CStr());
}

void ShowOverflow(FieldBuffer& out, int32_t len) {
  out.Fill(LocaleChar(LocaleInForce().strings.overflow, '?'), len);
  DebugPrint(TRACE_FORMAT, 2, "  OVERFLOW");
}

}  // namespace vorlix
