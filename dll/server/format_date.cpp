// The callable functions for date, time, week and month fields.
#include "dll/field/fieldbuf.h"
#include "dll/server/functions.h"
#include "dll/server/scanresult.h"
#include "dll/shared/datefmt.h"

namespace vorlix {
namespace {

using FieldScanner = decltype(&FldScanDate);

int32_t Scan(FieldScanner scanner, zString in, zString fvt, zString fmt, zString valid, IntByReference result,
             DllString& out, IntByReference rc) {
  int32_t value = 0;
  FieldBuffer text;
  const ScanCode code = scanner(value, text, in, fvt, fmt, valid);
  result.Set(value);
  return SetScanResult(code, text.View(), out, rc);
}

}  // namespace

int32_t dict_Y2kMode(IntByValue mode) { return SetYearMode(mode) ? RESULT_OK : RESULT_REFUSED; }

int32_t fmt_Date(IntByValue pval, IntByValue isGreg, IntByValue plen, zString pfmt, Out<String> result) {
  FieldBuffer text;
  FldFmtDate(text, pval, isGreg != 0, plen, pfmt);
  return DllStrFromC(text.View(), result);
}

int32_t scan_Date(zString in, zString pfvt, zString pfmt, zString pvalid, Out<IntByReference> result, Out<String> out,
                  Out<IntByReference> rc) {
  return Scan(FldScanDate, in, pfvt, pfmt, pvalid, result, out, rc);
}

int32_t fmt_Time(IntByValue pval, IntByValue plen, zString pfmt, Out<String> result) {
  FieldBuffer text;
  FldFmtTime(text, pval, plen, pfmt);
  return DllStrFromC(text.View(), result);
}

int32_t scan_Time(zString in, zString pfvt, zString pfmt, zString pvalid, Out<IntByReference> result, Out<String> out,
                  Out<IntByReference> rc) {
  return Scan(FldScanTime, in, pfvt, pfmt, pvalid, result, out, rc);
}

int32_t fmt_Week(IntByValue pval, IntByValue plen, zString vtyp, zString pfmt, Out<String> result) {
  FieldBuffer text;
  FldFmtWeek(text, pval, plen, vtyp, pfmt);
  return DllStrFromC(text.View(), result);
}

int32_t scan_Week(zString in, zString pfvt, zString pfmt, zString pvalid, Out<IntByReference> result, Out<String> out,
                  Out<IntByReference> rc) {
  return Scan(FldScanWeek, in, pfvt, pfmt, pvalid, result, out, rc);
}

int32_t fmt_Month(IntByValue pval, IntByValue plen, zString pfmt, Out<String> result) {
  FieldBuffer text;
  FldFmtMonth(text, pval, plen, pfmt);
  return DllStrFromC(text.View(), result);
}

int32_t scan_Month(zString in, zString pfvt, zString pfmt, zString pvalid, Out<IntByReference> result, Out<String> out,
                   Out<IntByReference> rc) {
  return Scan(FldScanMonth, in, pfvt, pfmt, pvalid, result, out, rc);
}

}  // namespace vorlix
