// What the arguments of functions are, in words for people: a line for each, said once here for the tools, the manual
// and whoever makes a binding. What the numbers mean that come back in them says dll/wire/meanings.h.
#pragma once

#include <algorithm>
#include <string_view>

#include "dll/wire/functable.h"
#include "dll/wire/meanings.h"

namespace vorlix {

struct ArgWords {
  std::string_view functions;  // as Meaning::functions
  std::string_view argument;
  std::string_view words;

  constexpr bool IsOf(std::string_view function, std::string_view name) const {
    return argument == name && IsAmong(function, functions);
  }
};

// Of two rows that fit, the first holds.
inline constexpr ArgWords ARG_WORDS[] = {
    {"dll_Revision", "str", "the revision"},
    {"dll_Compiled", "str", "month, day and year, as \"Aug 28 2002\""},
    {"dll_Debug", "debug", "0 off, 1 calls, 2 also their arguments, 3 also how they came"},
    {"dll_SetDebugFlags", "fs",
     "capital letters of categories with their levels: D dictionaries, F values, I INI, N language"},
    {"dll_SetDebugFlags", "fname", "the file to trace to; empty: standard error"},
    {"dll_SetLocale", "str", "CATEGORY=locale with commas between: LANG, COLLATE, MONETARY, NUMERIC, TIME"},
    {"dll_SendNext", "zd", "the next block; it begins with the number of bytes sent before, and ~"},
    {"dll_SendNext", "eof_p", "0: more follows"},

    {"v_*", "name", "the variable's name"},
    {"v_*", "value", "its value"},
    {"u_udata", "Udata", "\"feld:type,...;\"; comes back in lower case"},
    {"u_udata", "Feldtyp", "the field's type"},
    {"u_udata", "Fld_length", "its length"},
    {"u_udata", "Fld_nk", "its decimals"},
    {"u_udata", "Numtyp", "its value type, in a digit"},
    {"u_udata", "Mussfeld", "whether it must be filled in"},
    {"u_udata", "Numvon", "the least value"},
    {"u_udata", "Numbis", "the largest value"},
    {"u_udata", "rc", "whether there was a description"},
    {"u_*", "ObjPath", "names with dots between"},
    {"u_basename", "BaseObj", "the last of them"},
    {"u_pathname", "Path", "the first of them"},
    {"u_rempath", "Path", "all but the first"},

    {"ini_*", "section", "the section's name, without brackets; empty: before the first section"},
    {"ini_*", "entry", "the entry's name"},
    {"ini_*", "def", "what to give when there is no such entry"},
    {"ini_GetInt", "val_p", "the number that the value begins with"},
    {"ini_GetString", "val", "the value"},
    {"ini_SetString", "val", "its new value"},
    {"ini_*", "fname", "the file's name"},
    {"ini_Open", "hdl", "what the walking calls go by; negative: not opened"},
    {"ini_*", "hdl", "what ini_Open gave"},
    {"ini_Close", "rc", "0: closed"},
    {"ini_NextLine", "buf", "the line, with its line feed"},
    {"ini_NextSection", "buf", "its name, in upper case"},
    {"ini_NextEntry", "item", "its name, in upper case"},
    {"ini_NextEntry", "value", "its value, as written"},
    {"ini_*", "eof", "0: found"},

    {"l_CreateList", "hdl", "the new list's handle"},
    {"l_CreateList", "name", "a name, for l_HdlByName; it may be empty"},
    {"l_HdlByName", "hdl", "the list's handle"},
    {"l_*", "hdl", "the handle that l_CreateList gave"},
    {"l_*", "name", "the list's name"},
    {"l_*", "data", "the element's text"},
    {"l_*", "mode", "0 the current element, 1 first, 2 last, 3 next, 4 previous"},
    {"l_*", "idx", "the position, from 1"},
    {"l_*", "eol", "0: there is an element"},

    {"mdf_Get", "section", "the section's name: a module"},
    {"mdf_Get", "filter", "items to give, with commas between; empty or *: all"},
    {"mdf_Get", "xbuf", "the items, as Mdf_title"},

    {"dict_Open*", "id", "a name of your choice, by which the dictionary is known"},
    {"dict_Open* mdf_Get", "fname", "the file's name"},
    {"dict_Open", "lvl", "the dialog level: the highest one, or a new one above it; negative: a model"},
    {"dict_Open* mdf_Get", "rc_p", "0: done"},
    {"dict_CloseModel", "id", "the name that dict_OpenModel got"},
    {"dict_Close", "lvl", "the lowest level to close; negative: all"},
    {"dict_DlgID", "dict_id", "the dictionary's name; empty: all"},
    {"dict_DlgID", "lvl", "the level to begin at; negative: the highest"},
    {"dict_DlgID", "idx", "which dialog, from 0"},
    {"dict_DlgID", "xbuf", "its Dlg_name and Dlg_id"},
    {"dict_PackDX", "lvl", "passed on in what is packed"},
    {"dict_Dump", "dlgID", "the dialog's ID; empty: all dictionaries"},
    {"dict_*", "dlgID", "the dialog's ID, as D01KUNDE: D, the level in two digits, its name; or an alias"},
    {"dict_DlgID dict_GetAlias", "eof_p", "0: there is one"},
    {"dict_GetAlias", "alias_idx", "which alias, from 1"},
    {"dict_*", "aliasID", "the alias"},
    {"dict_MapID", "handle", "what stands before the = in the file's [catalog]"},
    {"dict_MapID", "id_p", "the dialog's ID"},
    {"dict_List", "item", "a name in the file's list section"},
    {"dict_List", "buf", "its value"},
    {"dict_Get dict_VarFilterInit", "name", "the field's name"},
    {"dict_GetByKey", "key_item", "an attribute's name, as in the file: PATH, FTYP"},
    {"dict_GetByKey", "key_value", "its value"},
    {"dict_Next dict_Get dict_GetByKey", "xbuf", "the field's attributes, as dict_fld; empty: there is no field"},
    {"dict_Next", "rc_p", "0: there is a field"},
    {"dict_Update", "Xdict", "fld and the attributes to change, as an XBUF"},
    {"dict_Dump", "fldName", "the field's name; empty: all fields"},
    {"dict_XbufFilterInit dict_XbufFilterAdd", "xbuf", "names of fields with their values"},
    {"dict_ListFilterInit", "list", "names of fields, with commas between; *: all"},
    {"dict_VarFilterInit", "val", "its value"},
    {"dict_*FilterInit", "eof_p", "0: the set is open"},
    {"dict_FilterInit", "filterName",
     "empty: every field; format, def_hook, fmt_hook, out_hook, load_hook or init_hook"},
    {"dict_FilterNext", "xdict", "the field's attributes, as dict_fld"},
    {"dict_FilterNext", "val", "its value; with the filter format as it shows"},
    {"dict_FilterNext", "eof_p", "0: there is a field"},
    {"dict_FilterSetValue", "newValue", "the value"},
    {"dict_FilterToXbuf", "xbuf", "the fields' names with their values"},
    {"dict_PackBufDX", "buf", "the text, of any bytes"},
    {"dict_Y2kMode", "mode", "0 by the value type, 1 two digits, 2 four digits"},

    {"chk_Num", "v_type", "the value type: I, D, S or L; empty: any number"},
    {"chk_Num", "str", "what was typed; comes back in its normal form"},
    {"chk_Num", "res", "the number"},
    {"fmt_Text", "pval", "the text"},
    {"fmt_Num", "pval", "the number"},
    {"fmt_Date", "pval", "the date as stored: digits of year, month and day, or a day number"},
    {"fmt_Date", "isGreg", "0: digits; else a day number"},
    {"fmt_Time", "pval", "seconds since midnight (36 times what a time field stores)"},
    {"fmt_Week", "pval", "the week as stored: digits of year and week, or of a date"},
    {"fmt_Month", "pval", "the month as stored: digits of year and month"},
    {"fmt_* scan_*", "plen", "the field's length in characters: FLEN"},
    {"fmt_* scan_*", "pprec", "the number of decimals: FPREC"},
    {"fmt_* scan_*", "pflags", "letters of the format: FFMT"},
    {"fmt_Week", "vtyp", "the value type: KW for weeks alone"},
    {"fmt_* scan_*", "pfmt", "the format, in directives as %d.%m.%Y: FFMT"},
    {"fmt_*", "result", "what the field shows"},
    {"scan_*", "in", "what was typed"},
    {"scan_Num", "pfvt", "the value type: I, D, S or L"},
    {"scan_Date", "pfvt", "GREG for a day number, else digits"},
    {"scan_Time", "pfvt", "HM60 for hours and minutes, else hours with decimals"},
    {"scan_Week", "pfvt", "KW for weeks alone, else dates as well"},
    {"scan_Month", "pfvt", "means nothing"},
    {"scan_Num", "pmin", "the least value that is accepted; both 0: any"},
    {"scan_Num", "pmax", "the largest value that is accepted"},
    {"scan_*", "pvalid", "the characters that are allowed: VALID; empty: all that print"},
    {"scan_*", "result", "the value, as stored"},
    {"scan_*", "out", "the value as text; with rc 3 the character"},
    {"scan_* chk_Num", "rc", "0: accepted"},
};

/// What an argument of a function is.
constexpr std::string_view WordsOf(std::string_view function, std::string_view argument) {
  const auto* const row =
      std::ranges::find_if(ARG_WORDS, [&](const ArgWords& words) { return words.IsOf(function, argument); });
  return row != std::end(ARG_WORDS) ? row->words : std::string_view();
}

}  // namespace vorlix
