// Reads a locale description into the locale in force. A description is read into a locale of its own first; only a
// whole one is put in force.
#include "dll/shared/clilocal.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "dll/base/debug.h"
#include "dll/base/locale.h"
#include "dll/base/text.h"
#include "dll/shared/csdx.h"
#include "dll/wire/numberfield.h"
#include "hostif/layout.h"

namespace vorlix {
namespace {

int HexDigit(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Takes the pieces of a description off the front of its text. A Read answers false when the piece is corrupt.
class DescriptionReader {
 public:
  explicit DescriptionReader(std::string_view text) : text_(text) {}

  template <class Entry>
  bool ReadTable(std::array<Entry, 256>& table) {
    return std::all_of(table.begin(), table.end(), [this](Entry& entry) { return ReadHex(entry); });
  }

  bool ReadNumber(int32_t& number) {
    int64_t value = 0;
    for (; !text_.empty() && IsDigit(text_.front()); text_.remove_prefix(1))
      value = std::min<int64_t>(value * 10 + (text_.front() - '0'), std::numeric_limits<int32_t>::max());
    if (text_.empty() || text_.front() != FIELD_SEPARATOR) return false;
    text_.remove_prefix(1);
    number = static_cast<int32_t>(value);
    return true;
  }

  bool ReadText(std::string_view& text) {
    int32_t length = 0;
    if (!ReadNumber(length) || text_.size() < static_cast<size_t>(length)) return false;
    text = text_.substr(0, static_cast<size_t>(length));
    text_.remove_prefix(text.size());
    return true;
  }

  std::string_view Rest() const { return text_; }

 private:
  template <class Entry>
  bool ReadHex(Entry& entry) {
    unsigned value = 0;
    for (size_t i = 0; i < 2 * sizeof(Entry); ++i) {
      const int digit = i < text_.size() ? HexDigit(text_[i]) : -1;
      if (digit < 0) return false;
      value = value * 16 + static_cast<unsigned>(digit);
    }
    text_.remove_prefix(2 * sizeof(Entry));
    entry = static_cast<Entry>(value);
    return true;
  }

  std::string_view text_;
};

// Calls `visit` with every string of a locale in the order of the description; where numbers follow a string, they are
// read by `number`. Both answer false to end the walk, and so does the walk then.
template <class Strings, class Visit, class Number>
bool WalkStrings(Strings& strings, Visit visit, Number number) {
  const auto visit_all = [&](auto& names) { return std::all_of(names.begin(), names.end(), visit); };
  return visit_all(strings.short_weekdays) && visit_all(strings.weekdays) && visit_all(strings.short_months) &&
         visit_all(strings.months) && visit(strings.date_time_format) && visit(strings.date_format) &&
         visit(strings.time_format) && visit(strings.am) && visit(strings.pm) && visit(strings.time_format_ampm) &&
         visit(strings.decimal_point) && visit(strings.thousands_separator) && visit(strings.grouping) &&
         visit(strings.overflow) && visit(strings.negative_sign) && visit(strings.short_date.format) &&
         number(strings.short_date.length) && visit(strings.long_date.format) && number(strings.long_date.length) &&
         visit(strings.time.format) && number(strings.time.length) && number(strings.time_precision) &&
         visit(strings.month.format) && number(strings.month.length) && visit(strings.week.format) &&
         number(strings.week.length);
}

// The grouping arrives as two hexadecimal digits a byte; decodes them in place at `at`.
bool DecodeGrouping(std::string_view& grouping, char* at) {
  if (grouping.size() % 2 != 0) return false;
  const size_t size = grouping.size() / 2;
  for (size_t i = 0; i < size; ++i) {
    const int high = HexDigit(grouping[2 * i]);
    const int low = HexDigit(grouping[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    at[i] = static_cast<char>(16 * high + low);
  }
  at[size] = '\0';
  grouping = {at, size};
  return true;
}

// Gives the strings storage of their own: each takes its bytes and a NUL, less than it took in `source` with its length
// and separator.
LocaleInfo OwnStrings(LocaleStrings& strings, size_t source_size) {
  strings.storage.reset(new (std::nothrow) char[source_size + 1]);
  if (strings.storage == nullptr) return LocaleInfo::NoMemory;
  char* next = strings.storage.get();
  const auto own = [&](std::string_view& text) {
    if (&text == &strings.grouping) {
      if (!DecodeGrouping(text, next)) return false;
    } else {
      if (!text.empty()) std::memcpy(next, text.data(), text.size());
      next[text.size()] = '\0';
      text = {next, text.size()};
    }
    next += text.size() + 1;
    return true;
  };
  return WalkStrings(strings, own, [](int32_t) { return true; }) ? LocaleInfo::Ok : LocaleInfo::Corrupt;
}

LocaleInfo ReadStrings(DescriptionReader& reader, LocaleStrings& strings) {
  const size_t source_size = reader.Rest().size();
  const bool whole = WalkStrings(
      strings, [&reader](std::string_view& text) { return reader.ReadText(text); },
      [&reader](int32_t& number) { return reader.ReadNumber(number); });
  return whole ? OwnStrings(strings, source_size) : LocaleInfo::Corrupt;
}

LocaleInfo FailInfo(LocaleInfo code, const char* section) {
  const char* reason = code == LocaleInfo::Corrupt ? "buffer is corrupt" : "heap overflow";
  DebugPrint(TRACE_DICT, 1, "GetLocaleInfo() failed: %s [%s]", reason, section);
  ForgetLocaleStrings();
  return code;
}

}  // namespace

LocaleInfo GetLocaleInfo(const char* text, size_t length) {
  DebugEntry(TRACE_DICT);
  DescriptionReader reader({text, length});
  Locale locale;
  if (!reader.ReadTable(locale.classes)) return FailInfo(LocaleInfo::Corrupt, "IS");
  if (!reader.ReadTable(locale.upper)) return FailInfo(LocaleInfo::Corrupt, "TOUPPER");
  if (!reader.ReadTable(locale.lower)) return FailInfo(LocaleInfo::Corrupt, "TOLOWER");
  const LocaleInfo code = ReadStrings(reader, locale.strings);
  if (code != LocaleInfo::Ok) return FailInfo(code, "LANGINFO");
  PutLocaleInForce(std::move(locale));
  return LocaleInfo::Ok;
}

ResultCode SetClientLocale() {
  DebugEntry(TRACE_DICT);
  CsdxReader reader{{}, CSDX_Contents(), 0};
  if (!CSDX_ReadRevision(reader, "SetClientLocale")) return RESULT_CORRUPT;
  if (!CSDX_ReadToSep(reader)) {
    DebugPrint(TRACE_DICT, 1, "SetClientLocale(): cannot read total size");
    return RESULT_CORRUPT;
  }
  const std::string_view payload = *reader.next_entry;
  switch (GetLocaleInfo(payload.data(), payload.size())) {
    case LocaleInfo::Corrupt: return RESULT_CORRUPT;
    case LocaleInfo::NoMemory: return RESULT_NO_MEMORY;
    case LocaleInfo::Ok: break;
  }
  return RESULT_OK;
}

}  // namespace vorlix
