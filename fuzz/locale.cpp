// Bytes as a locale description, with tables of their own or behind the tables of "C". Formats and scanners work with
// whatever is in force then.
#include "dll/shared/clilocal.h"
#include "dll/shared/csdx.h"
#include "dll/shared/datefmt.h"
#include "dll/shared/numfmt.h"
#include "dll/shared/textfmt.h"
#include "fuzz/input.h"

namespace vorlix::fuzz {

void Run(Input input) {
  constexpr size_t HEADER_SIZE = sizeof "R1~000000~" - 1;
  constexpr size_t TABLES_SIZE = 256 * (4 + 2 + 2);
  static const std::string plain_tables(CSDX_Contents()->substr(HEADER_SIZE, TABLES_SIZE));
  const std::string_view bytes = input.Rest();
  const std::string text = (bytes.size() < TABLES_SIZE ? plain_tables : "") + std::string(bytes);
  if (GetLocaleInfo(text.data(), text.size()) != LocaleInfo::Ok) return;

  FieldBuffer shown;
  FieldBuffer out;
  double number = 0;
  int32_t value = 0;
  for (const double amount : {1234567.891, -0.5}) {
    FldFmtNum(shown, amount, 20, 3, "RTPG");
    static_cast<void>(FldScanNum(number, out, shown.View(), "", 3, 0, 0, ""));
  }
  for (const char* format : {"", "%c|%x|%X", "%p %I %a %A %b %B", "%.2A%30b"}) {
    FldFmtDate(shown, 10227, true, 60, format);
    static_cast<void>(FldScanDate(value, out, shown.View(), "GREG", format, ""));
    FldFmtWeek(shown, 199952, 0, "KW", format);
    static_cast<void>(FldScanWeek(value, out, shown.View(), "KW", format, ""));
    static_cast<void>(FldScanMonth(value, out, shown.View(), "", format, "[A-Z0-9/]*"));
    FldFmtTime(shown, 45000, 30, format);
  }
  FldFmtText(shown, bytes, 40, "RU");
  static_cast<void>(FldScanText(out, shown.View(), 40, "V", "[^a-z]*"));
}

}  // namespace vorlix::fuzz
