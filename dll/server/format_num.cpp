// The calls that show, read and normalise numbers.
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "dll/server/functions.h"
#include "dll/server/scanresult.h"
#include "dll/shared/numfmt.h"

namespace vorlix {
namespace {

constexpr size_t MAX_TYPED = 79;  // characters of a typed number, blanks not counted
constexpr int NORMAL_DIGITS = 12;

// What the host is told of a typed number.
enum TypedCode : int32_t { TYPED_EMPTY = -1, TYPED_OK = 0, TYPED_NO_NUMBER = 1, TYPED_OUT_OF_RANGE = 2 };

// A number as it was typed, without its blanks and with "." for ",".
struct TypedNumber {
  std::array<char, MAX_TYPED + 1> text;
  size_t length = 0;

  // False when there are more than MAX_TYPED characters.
  bool Copy(std::string_view from) {
    for (const char c : from) {
      if (c == ' ') continue;
      if (length == MAX_TYPED) return false;
      text[length++] = c == ',' ? '.' : c;
    }
    text[length] = '\0';
    return true;
  }

  // The value of as much as is a number; false when that is not all of it.
  bool Convert(double& value) const {
    char* end = nullptr;
    value = std::strtod(text.data(), &end);
    return end != text.data() && end == text.data() + length;
  }
};

int32_t WriteNormalForm(double value, DllString& str) {
  std::array<char, 32> text;
  const char* end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, NORMAL_DIGITS).ptr;
  return DllStrFromC({text.data(), end}, str);
}

}  // namespace

int32_t chk_Num(zString v_type, InOut<String> str, Out<RealByReference> res, Out<IntByReference> rc) {
  TypedNumber typed;
  if (!typed.Copy(str.View())) return RESULT_TOO_SHORT;
  res = 0;
  str.len = 0;
  if (typed.length == 0) {
    rc.Set(TYPED_EMPTY);
    return RESULT_OK;
  }
  if (!typed.Convert(res)) {
    rc.Set(TYPED_NO_NUMBER);
    return RESULT_OK;
  }
  const NumRange* range = FindNumRange(v_type[0]);
  if (range == nullptr) return RESULT_REFUSED;
  if (!range->Holds(res) || (range->whole && res != std::trunc(res))) {
    rc.Set(TYPED_OUT_OF_RANGE);
    return RESULT_OK;
  }
  rc.Set(TYPED_OK);
  return WriteNormalForm(res, str);
}

int32_t fmt_Num(RealByValue pval, IntByValue plen, IntByValue pprec, zString pflags, Out<String> result) {
  FieldBuffer text;
  FldFmtNum(text, pval, plen, pprec, pflags);
  return DllStrFromC(text.View(), result);
}

int32_t scan_Num(zString in, zString pfvt, IntByValue pprec, RealByValue pmin, RealByValue pmax, zString pvalid,
                 Out<RealByReference> result, Out<String> out, Out<IntByReference> rc) {
  FieldBuffer text;
  const ScanCode code = FldScanNum(result, text, in, pfvt, pprec, pmin, pmax, pvalid);
  return SetScanResult(code, text.View(), out, rc);
}

}  // namespace vorlix
