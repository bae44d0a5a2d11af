// The description is the header of a CSDX buffer, then 256 character classes of four hexadecimal digits, the upper-case
// and the lower-case table of two digits an entry, and the counted texts and numbers of LANGINFO.
#include "dll/server/srvlocal.h"

#include <langinfo.h>

#include <array>
#include <cctype>
#include <clocale>
#include <cstring>

#include "dll/base/debug.h"
#include "dll/base/locale.h"
#include "dll/shared/clilocal.h"
#include "dll/shared/csdx.h"
#include "hostif/layout.h"

namespace vorlix {
namespace {

constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";

constexpr std::array<nl_item, 44> LANGINFO_ITEMS = {
    ABDAY_1, ABDAY_2,  ABDAY_3,  ABDAY_4,  ABDAY_5, ABDAY_6, ABDAY_7, DAY_1,   DAY_2,   DAY_3,   DAY_4,
    DAY_5,   DAY_6,    DAY_7,    ABMON_1,  ABMON_2, ABMON_3, ABMON_4, ABMON_5, ABMON_6, ABMON_7, ABMON_8,
    ABMON_9, ABMON_10, ABMON_11, ABMON_12, MON_1,   MON_2,   MON_3,   MON_4,   MON_5,   MON_6,   MON_7,
    MON_8,   MON_9,    MON_10,   MON_11,   MON_12,  D_T_FMT, D_FMT,   T_FMT,   AM_STR,  PM_STR,  T_FMT_AMPM};

struct ClassRow {
  CharClass bit;
  int (*test)(int);
};
constexpr std::array<ClassRow, 11> CLASS_ROWS = {{
    {CLASS_ALNUM, [](int c) { return std::isalnum(c); }},
    {CLASS_ALPHA, [](int c) { return std::isalpha(c); }},
    {CLASS_CNTRL, [](int c) { return std::iscntrl(c); }},
    {CLASS_DIGIT, [](int c) { return std::isdigit(c); }},
    {CLASS_GRAPH, [](int c) { return std::isgraph(c); }},
    {CLASS_LOWER, [](int c) { return std::islower(c); }},
    {CLASS_PRINT, [](int c) { return std::isprint(c); }},
    {CLASS_PUNCT, [](int c) { return std::ispunct(c); }},
    {CLASS_SPACE, [](int c) { return std::isspace(c); }},
    {CLASS_UPPER, [](int c) { return std::isupper(c); }},
    {CLASS_XDIGIT, [](int c) { return std::isxdigit(c); }},
}};

constexpr int32_t TIME_PRECISION = 2;

void PutHex(unsigned value, size_t digits) {
  std::array<char, 4> text;
  for (size_t i = digits; i > 0; --i, value /= 16) text[i - 1] = HEX_DIGITS[value % 16];
  CSDX_PutBytes({text.data(), digits});
}

unsigned ClassBits(int c) {
  unsigned bits = c < 128 ? unsigned{CLASS_ASCII} : 0U;
  for (const ClassRow& row : CLASS_ROWS)
    if (row.test(c) != 0) bits |= row.bit;
  return bits;
}

void PutTables() {
  for (int c = 0; c < 256; ++c) PutHex(ClassBits(c), 4);
  for (int c = 0; c < 256; ++c) PutHex(static_cast<unsigned>(std::toupper(c)), 2);
  for (int c = 0; c < 256; ++c) PutHex(static_cast<unsigned>(std::tolower(c)), 2);
}

void PutGrouping(const char* grouping) {
  const size_t size = std::strlen(grouping);
  CSDX_PutNumber(static_cast<int32_t>(2 * size));
  for (size_t i = 0; i < size; ++i) PutHex(static_cast<unsigned char>(grouping[i]), 2);
}

void PutFormat(const FieldFormat& field) {
  CSDX_PutField(field.format);
  CSDX_PutNumber(field.length);
}

const char* FirstOf(const char* text, const char* when_empty) { return *text != '\0' ? text : when_empty; }

void PutLangInfo() {
  for (const nl_item item : LANGINFO_ITEMS) CSDX_PutField(nl_langinfo(item));
  const lconv& numbers = *std::localeconv();
  CSDX_PutField(numbers.decimal_point);
  CSDX_PutField(FirstOf(numbers.thousands_sep, numbers.mon_thousands_sep));
  PutGrouping(FirstOf(numbers.grouping, numbers.mon_grouping));
  CSDX_PutField("?");
  CSDX_PutField("-");
  PutFormat(SHORT_DATE_FORMAT);
  PutFormat(LONG_DATE_FORMAT);
  PutFormat(TIME_FORMAT);
  CSDX_PutNumber(TIME_PRECISION);
  PutFormat(MONTH_FORMAT);
  PutFormat(WEEK_FORMAT);
}

}  // namespace

ResultCode BuildLocale() {
  DebugEntry(TRACE_DICT);
  const auto put_description = [] {
    PutTables();
    PutLangInfo();
  };
  if (!CSDX_Build(put_description)) {
    DebugPrint(TRACE_DICT, 1, "BuildLocale() failed: heap overflow");
    return RESULT_NO_MEMORY;
  }
  const ResultCode code = SetClientLocale();
  if (code != RESULT_OK) CSDX_Reset();
  return code;
}

}  // namespace vorlix
