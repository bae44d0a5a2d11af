// The operations on texts of fields. A result that FieldBuffer cannot hold is an overflow.
#include "dll/shared/textfmt.h"

#include <algorithm>
#include <array>

#include "dll/base/debug.h"
#include "dll/base/locale.h"
#include "dll/shared/fieldscan.h"

namespace vorlix {
namespace {

constexpr FormatLetter LETTERS[] = {
    {'R', FMT_RIGHT, 0, "FMT_RIGHT"},         {'L', 0, FMT_RIGHT, "FMT_LEFT"},
    {'C', FMT_CENTR, 0, "FMT_CENTR"},         {'Z', FMT_LBLNK, 0, "FMT_LBLNK"},
    {'T', FMT_TBLNK, 0, "FMT_TBLNK"},         {'U', FMT_UCASE, FMT_LCASE, "FMT_UCASE"},
    {'V', FMT_LCASE, FMT_UCASE, "FMT_LCASE"}, {'O', FMT_OVFL, 0, "FMT_OVFL"},
};

std::string_view TrimBlanks(std::string_view text, uint32_t flags) {
  if (!(flags & FMT_LBLNK)) text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  if (!(flags & FMT_TBLNK)) text = text.substr(0, text.find_last_not_of(' ') + 1);
  return text;
}

// Characters of padding in front of a text that leaves `room` characters of its field.
int64_t Padding(int64_t room, uint32_t flags) {
  if (flags & FMT_CENTR) return room / 2;
  return flags & FMT_RIGHT ? room : 0;
}

bool AppendInCase(FieldBuffer& out, std::string_view text, uint32_t flags) {
  if (!(flags & (FMT_UCASE | FMT_LCASE))) return out.Append(text);
  const Locale& locale = LocaleInForce();
  const std::array<uint8_t, 256>& table = flags & FMT_UCASE ? locale.upper : locale.lower;
  return std::all_of(text.begin(), text.end(),
                     [&](char c) { return out.Append(static_cast<char>(table[static_cast<unsigned char>(c)])); });
}

bool Layout(FieldBuffer& out, std::string_view text, int32_t len, uint32_t flags) {
  text = TrimBlanks(text, flags);
  if (len <= 0) return false;
  const auto width = static_cast<size_t>(len);
  if (text.size() > width && flags & FMT_OVFL) return false;
  text = text.substr(0, width);
  const int64_t padding = Padding(len - static_cast<int64_t>(text.size()), flags);
  if (padding > FIELD_MAX) return false;
  out.Fill(' ', static_cast<int32_t>(padding));
  return AppendInCase(out, text, flags);
}

}  // namespace

bool FmtText(FieldBuffer& out, std::string_view text, int32_t len, uint32_t flags) {
  DebugEntry(TRACE_FORMAT);
  DebugPrint(TRACE_FORMAT, 2, "FmtText(txt='%.*s', len=%d)", static_cast<int>(text.size()), text.data(), len);
  TraceFormat(LETTERS, flags);
  if (!Layout(out, text, len, flags)) {
    ShowOverflow(out, len);
    return false;
  }
  DebugPrint(TRACE_FORMAT, 2, "  output=[%s]", out.CStr());
  return true;
}

bool FldFmtText(FieldBuffer& out, std::string_view text, int32_t len, std::string_view fmt) {
  DebugEntry(TRACE_FORMAT);
  return FmtText(out, text, len, ReadFormat(LETTERS, fmt));
}

ScanCode FldScanText(FieldBuffer& out, std::string_view in, int32_t len, std::string_view fmt, std::string_view valid) {
  DebugEntry(TRACE_FORMAT);
  out.Clear();
  if (in.empty()) {
    DebugPrint(TRACE_FORMAT, 2, "  fld is empty");
    return SCAN_EMPTY;
  }
  FldFmtText(out, in, len, fmt);
  const FieldBuffer formatted = out;
  return CheckFieldChars(formatted.View(), valid, out);
}

}  // namespace vorlix
