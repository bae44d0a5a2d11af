// The calls that show and read texts.
#include "dll/server/functions.h"
#include "dll/server/scanresult.h"
#include "dll/shared/textfmt.h"

namespace vorlix {

int32_t fmt_Text(zString pval, IntByValue plen, zString pflags, Out<String> result) {
  FieldBuffer text;
  FldFmtText(text, pval, plen, pflags);
  return DllStrFromC(text.View(), result);
}

int32_t scan_Text(zString in, IntByValue plen, zString pflags, zString pvalid, Out<String> out,
                  Out<IntByReference> rc) {
  FieldBuffer text;
  const ScanCode code = FldScanText(text, in, plen, pflags, pvalid);
  return SetScanResult(code, text.View(), out, rc);
}

}  // namespace vorlix
