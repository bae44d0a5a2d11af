// The format letters of fields and the flags that they set, and what all formatters do with a value that does not fit.
//
// A format is read letter by letter, in upper case; every other character means nothing, so that a format can name a
// letter in lower case to say that it is off. Numbers and texts have a table of letters each.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "dll/field/fieldbuf.h"

namespace vorlix {

enum FormatFlag : uint32_t {
  FMT_LEFT = 0,        // left-aligned, without padding
  FMT_RIGHT = 0x1,     // right-aligned, padded to the width of the field
  FMT_CENTR = 0x2,     // centred: padded with half the free room
  FMT_LBLNK = 0x4,     // keep leading blanks
  FMT_TBLNK = 0x8,     // keep trailing blanks
  FMT_BZERO = 0x10,    // a value that shows zero digits only is an empty text
  FMT_LZERO = 0x20,    // leading zeros instead of blanks
  FMT_TZERO = 0x40,    // keep trailing zeros of the decimals
  FMT_PZERO = 0x80,    // keep the zero before the decimal point
  FMT_GROUP = 0x100,   // thousands separators
  FMT_UCASE = 0x200,   // upper case
  FMT_LCASE = 0x400,   // lower case
  FMT_OVFL = 0x800,    // a text longer than the field is an overflow
  FMT_RSIGN = 0x1000,  // the magnitude alone, one position narrower
};

/// One letter: reading it clears some flags, then sets others.
struct FormatLetter {
  char letter;
  uint32_t sets;
  uint32_t clears;
  const char* name;  // of the flag, in the trace
};

/// The flags that the letters of `format` set, in their order.
uint32_t ReadFormat(std::span<const FormatLetter> letters, std::string_view format);

/// Traces the names of the flags in the order of the table. A letter that sets nothing stands for its absent flags.
void TraceFormat(std::span<const FormatLetter> letters, uint32_t flags);

/// Ends a formatter whose value does not fit: fills `out` with `len` times the overflow character of the locale in
/// force, as far as it has room, and traces that.
void ShowOverflow(FieldBuffer& out, int32_t len);

}  // namespace vorlix
