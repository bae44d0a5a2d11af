// The calls on INI files. All return 0; what came of them travels in the reference arguments. Texts arrive in private
// buffers first: the host may change a String's characters at any time.
#include "dll/ini/ini.h"

#include <algorithm>
#include <array>

#include "dll/base/debug.h"
#include "dll/base/syscall.h"
#include "dll/server/functions.h"

namespace vorlix {
namespace {

using IniText = std::array<char, INI_TEXT_SIZE>;

// The buffer size that a String stands for.
int SizeFor(const DllString& s) { return std::min(s.max, INI_TEXT_SIZE); }

// A call that walks on to one text.
int32_t ReadText(const char* function, IniState (*next)(int hdl, char* text, int size), int32_t hdl, DllString& buf,
                 IntByReference eof) {
  DebugPrint(TRACE_INI, 3, "%s(hdl=%d)", function, hdl);
  buf.len = 0;
  IniText text;
  const IniState state = next(hdl, text.data(), SizeFor(buf));
  eof.Set(state);
  if (state == INI_INSIDE) {
    static_cast<void>(DllStrFromC(text.data(), buf));
    DebugPrint(TRACE_INI, 3, "%s: buf = \"%s\"", function, text.data());
  }
  DebugPrint(TRACE_INI, 3, "%s: eof = %d", function, state);
  return RESULT_OK;
}

}  // namespace

int32_t ini_GetInt(zString section, zString entry, IntByValue def, zString fname, Out<IntByReference> val_p) {
  DebugPrint(TRACE_INI, 3, "ini_GetInt(section=\"%s\",entry=\"%s\",def=%d,fname=\"%s\")", section, entry, def, fname);
  const int32_t value = IniGetInt(section, entry, def, fname);
  val_p.Set(value);
  DebugPrint(TRACE_INI, 3, "ini_GetInt: %d", value);
  return RESULT_OK;
}

int32_t ini_GetString(zString section, zString entry, zString def, zString fname, Out<String> val) {
  DebugPrint(TRACE_INI, 3, "ini_GetString(section=\"%s\",entry=\"%s\",def=\"%s\",fname=\"%s\")", section, entry, def,
             fname);
  IniText text{};
  // Unlike the walking calls, this one fills the String to the last character.
  const int size = std::min(val.max, INI_TEXT_SIZE - 1) + 1;
  const size_t length = IniGetString(section, entry, def, text.data(), size, fname);
  static_cast<void>(DllStrFromC({text.data(), length}, val));
  DebugPrint(TRACE_INI, 3, "ini_GetString: \"%s\"", text.data());
  return RESULT_OK;
}

int32_t ini_SetString(zString section, zString entry, zString val, zString fname) {
  DebugPrint(TRACE_INI, 3, "ini_SetString(section=\"%s\",entry=\"%s\",val=\"%s\",fname=\"%s\")", section, entry, val,
             fname);
  static_cast<void>(IniSetString(section, entry, val, fname));  // a host reads back what has to be there
  return RESULT_OK;
}

int32_t ini_Open(zString fname, zString section, Out<IntByReference> hdl) {
  DebugPrint(TRACE_INI, 3, "ini_Open(fname=\"%s\",section=\"%s\")", fname, section);
  int result = IniOpen(fname, section);
  if (result == NO_INI_HANDLE) result = MinusErrno();
  hdl.Set(result);
  DebugPrint(TRACE_INI, 3, "ini_Open: hdl = %d", result);
  return RESULT_OK;
}

int32_t ini_Close(IntByValue hdl, Out<IntByReference> rc) {
  DebugPrint(TRACE_INI, 3, "ini_Close(hdl=%d)", hdl);
  rc.Set(IniClose(hdl) ? 0 : -1);
  return RESULT_OK;
}

int32_t ini_CloseAll() {
  DebugPrint(TRACE_INI, 3, "ini_CloseAll()");
  IniCloseAll();
  return RESULT_OK;
}

int32_t ini_FindSection(IntByValue hdl, zString section, Out<IntByReference> eof) {
  DebugPrint(TRACE_INI, 3, "ini_FindSection(hdl=%d,section=\"%s\")", hdl, section);
  const IniState state = IniFindSection(hdl, section);
  eof.Set(state);
  DebugPrint(TRACE_INI, 3, "ini_FindSection: eof = %d", state);
  return RESULT_OK;
}

int32_t ini_NextLine(IntByValue hdl, Out<String> buf, Out<IntByReference> eof) {
  return ReadText("ini_NextLine", IniNextLine, hdl, buf, eof);
}

int32_t ini_NextSection(IntByValue hdl, Out<String> buf, Out<IntByReference> eof) {
  return ReadText("ini_NextSection", IniNextSection, hdl, buf, eof);
}

int32_t ini_NextEntry(IntByValue hdl, Out<String> item, Out<String> value, Out<IntByReference> eof) {
  DebugPrint(TRACE_INI, 3, "ini_NextEntry(hdl=%d)", hdl);
  item.len = value.len = 0;
  IniText name;
  IniText text;
  const IniState state = IniNextEntry(hdl, name.data(), SizeFor(item), text.data(), SizeFor(value));
  eof.Set(state);
  if (state == INI_INSIDE) {
    static_cast<void>(DllStrFromC(name.data(), item));
    static_cast<void>(DllStrFromC(text.data(), value));
    DebugPrint(TRACE_INI, 3, "ini_NextEntry: item = \"%s\", value = \"%s\"", name.data(), text.data());
  }
  DebugPrint(TRACE_INI, 3, "ini_NextEntry: eof = %d", state);
  return RESULT_OK;
}

}  // namespace vorlix
