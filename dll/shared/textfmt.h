// Texts as fields show them and as users type them: trimmed, aligned, in the case that the field asks for.
//
// Blank is the character 32 alone, and characters are single bytes. Case tables and the overflow character are those of
// the locale in force at each call. Absent texts are passed as empty ones.
#pragma once

#include <cstdint>
#include <string_view>

#include "dll/field/fieldbuf.h"
#include "dll/field/fmtflags.h"
#include "dll/field/scancode.h"

namespace vorlix {

/// Formats `text` for a field of `len` characters; `flags` are FormatFlags. Blanks at both ends are removed unless a
/// flag keeps them; what is longer than the field is cut, or an overflow with FMT_OVFL. Nothing is padded on the right.
/// True with the text in `out`; false on overflow, with `out` filled with the overflow character.
bool FmtText(FieldBuffer& out, std::string_view text, int32_t len, uint32_t flags);

/// FmtText with the flags of the letters R L C Z T U V O of `fmt`.
bool FldFmtText(FieldBuffer& out, std::string_view text, int32_t len, std::string_view fmt);

/// Formats the text typed in `in` and checks the result, padding included, against `valid` (see FmtCheckValid). Returns
/// SCAN_OK with the formatted text in `out`, SCAN_EMPTY, or SCAN_BAD_CHAR with the refused character in `out`, which is
/// empty when `valid` is malformed.
ScanCode FldScanText(FieldBuffer& out, std::string_view in, int32_t len, std::string_view fmt, std::string_view valid);

}  // namespace vorlix
