#include "dll/shared/fieldscan.h"

#include "dll/base/debug.h"
#include "dll/base/locale.h"
#include "dll/field/validset.h"

namespace vorlix {

ValidCheck FmtCheckValid(std::string_view text, std::string_view valid) {
  DebugEntry(TRACE_FORMAT);
  const Locale& locale = LocaleInForce();
  ValidSet set;
  if (!set.Parse(valid, locale)) {
    DebugPrint(TRACE_FORMAT, 1, "FmtCheckValid() failed: syntax error in character class '%.*s'",
               static_cast<int>(valid.size()), valid.data());
    return {VALID_MALFORMED};
  }
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool printable = locale.Is(byte, CLASS_PRINT);
    if (printable && set.Allows(byte)) continue;
    if (printable)
      DebugPrint(TRACE_FORMAT, 3, "FmtCheckValid(): invalid character %c", c);
    else
      DebugPrint(TRACE_FORMAT, 3, "FmtCheckValid(): non-printable character %02x", byte);
    return {VALID_REFUSED, c};
  }
  return {VALID_ALLOWED};
}

ScanCode CheckFieldChars(std::string_view text, std::string_view valid, FieldBuffer& out) {
  const auto [outcome, badchar] = FmtCheckValid(text, valid);
  if (outcome == VALID_ALLOWED) return SCAN_OK;
  out.Fill(badchar, outcome == VALID_REFUSED ? 1 : 0);
  return SCAN_BAD_CHAR;
}

}  // namespace vorlix
