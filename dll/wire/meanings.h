// What the numbers mean that functions answer with, in words for people: result codes, and the codes that come back in
// an argument. Each is said once here, for the tools, the manual and whoever makes a binding.
//
// 0 is success and stands here only where it means anything else. Numbers that count or measure have no row.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>

#include "dll/wire/functable.h"

namespace vorlix {

/// The name under which the result code itself is listed.
inline constexpr std::string_view CODE = "code";
/// The number of a row for all negative ones that have no row of their own: minus an error number of the system.
inline constexpr int32_t ERROR_NUMBER = std::numeric_limits<int32_t>::min();

struct Meaning {
  std::string_view functions;  // names with blanks between; "fmt_*" for all that begin so, "*" for all
  std::string_view value;      // CODE, or the argument
  int32_t number;
  std::string_view words;

  constexpr bool IsOf(std::string_view function) const;
};

inline constexpr Meaning MEANINGS[] = {
    {"dll_Revision dll_Compiled dict_DlgID dict_GetAlias dict_MapID dict_List dict_Get dict_GetByKey mdf_Get fmt_* "
     "scan_* v_Get u_basename u_pathname u_rempath l_Name",
     CODE, 18, "a returned text has too little room"},

    {"dll_SetLocale", CODE, 19, "no CATEGORY=locale, no such category, or a locale that the system does not have"},
    {"dll_SetLocale", CODE, 204, "the description of the locale cannot be read"},
    {"dll_SendNext", CODE, 18, "zd has too little room: 20 bytes more than the offset takes; the result is gone"},
    {"dll_SendNext", CODE, 19, "no large result waits, or no more of it"},
    {"dll_SendNext", "eof_p", 1, "that was the last block"},

    {"u_udata", "rc", 1, "taken apart"},
    {"u_udata", "rc", 0, "there is no \"feld:\" in it"},
    {"u_udata", "rc", -1, "no \";\" ends the description"},

    {"ini_Open", "hdl", -28, "three INI files are open already"},
    {"ini_Open", "hdl", ERROR_NUMBER, "minus the system's error number"},
    {"ini_Close", "rc", -1, "no such handle"},
    {"ini_FindSection", "eof", 1, "the file has no such section"},
    {"ini_NextLine", "eof", 1, "that was all of the section, or of the file"},
    {"ini_NextLine", "eof", 2, "the next line begins another section"},
    {"ini_NextSection", "eof", 1, "there is no further section"},
    {"ini_NextEntry", "eof", 1, "the section has no further entry"},
    {"ini_FindSection ini_Next*", "eof", -1,
     "no file is open on this handle, it cannot be read, or a text has no room"},

    {"l_CreateList", CODE, 2000, "there are ten lists already"},
    {"l_CreateList l_Add l_Ins l_Set", CODE, 2001, "no memory"},
    {"l_GetIdx l_SeekIdx", CODE, 2002, "no list has this handle, or the index is below 1"},
    {"l_Name l_DeleteList l_Add l_Ins l_Set l_Del l_Get* l_Seek*", CODE, 2002, "no list has this handle"},
    {"l_Ins l_Set l_Del l_Get l_GetNext l_GetPrev l_Seek l_SeekNext l_SeekPrev", CODE, 2003,
     "the list has no current element"},
    {"l_Get*", CODE, 18, "data has too little room; the cursor has moved"},
    {"l_HdlByName", "hdl", 0, "no list has this name"},
    {"l_Del", "eol", 1, "that was the last element"},
    {"l_Get* l_Seek*", "eol", 1, "there is no such element"},

    {"mdf_Get", "rc_p", -1, "an item is longer than its limit"},
    {"dict_Open*", "rc_p", -1, "no memory, or for a reason that the system has not given"},
    {"ini_Open", "hdl", -1, "for a reason that the system has not given"},
    {"mdf_Get dict_Open*", "rc_p", -28, "three INI files are open already"},
    {"mdf_Get dict_Open*", "rc_p", ERROR_NUMBER, "minus the system's error number"},

    {"dict_Open*", "rc_p", 1, "the file was read and refused"},
    {"dict_Open", CODE, 19, "the level is below the highest one, or a section begins with no handle of the catalog"},
    {"dict_CloseModel", CODE, 19, "no model dictionary has this ID"},
    {"dict_DlgID", "eof_p", 1, "the levels have no dialog at this index"},
    {"dict_GetAlias", CODE, 19, "there is no such dialog; an alias is none here"},
    {"dict_GetAlias", "eof_p", 1, "the dialog has no alias at this index"},
    {"dict_NewAlias", CODE, 18, "aliasID has too little room; the alias is made all the same"},
    {"dict_NewAlias", CODE, 19, "there is no such dialog, it has nine aliases already, or no memory"},
    {"dict_DelAlias", CODE, 19, "there is no such alias"},
    {"dict_MapID", CODE, 19, "no dialog on the top level has this handle"},
    {"dict_Next", CODE, 18, "xbuf has too little room; the walk has moved"},
    {"dict_Next", "rc_p", 1, "that was the last field"},
    {"dict_GetByKey", CODE, 19, "there is no such dialog, or no such attribute"},
    {"dict_Update", CODE, 19, "no such dialog or field, a corrupt XBUF, or an attribute that is refused"},
    {"dict_PackDX dict_PackBufDX", CODE, 2, "no memory, or the result has a million bytes or more"},
    {"dict_XbufFilterInit dict_ListFilterInit dict_VarFilterInit", CODE, 2,
     "ten filter sets are open already, or no memory"},
    {"dict_XbufFilterInit dict_ListFilterInit dict_VarFilterInit", "eof_p", 1,
     "the dialog has none of the fields, and no set is open"},
    {"dict_XbufFilterInit dict_XbufFilterAdd", CODE, 204, "the XBUF is corrupt"},
    {"dict_XbufFilterAdd", CODE, 19, "there is no such dialog, or no filter set with fields"},
    {"dict_ListFilterInit", CODE, 19, "there is no such dialog, or a name is too long or has more behind its $"},
    {"dict_VarFilterInit", CODE, 19, "there is no such dialog, or the name is too long"},
    {"dict_FilterInit", CODE, 19, "there is no such filter"},
    {"dict_FilterNext", CODE, 2, "no memory; the set is gone"},
    {"dict_FilterNext", CODE, 18, "val or xdict has too little room; the walk has moved"},
    {"dict_FilterNext", CODE, 19, "the walk has not begun, or there is no filter set"},
    {"dict_FilterNext", "eof_p", 1, "that was the last field"},
    {"dict_FilterSetValue", CODE, 19, "the walk has not begun, or has come to its end"},
    {"dict_FilterToXbuf", CODE, 18, "xbuf has too little room"},
    {"dict_FilterFree", CODE, 19, "no filter set is open"},
    {"dict_List dict_First dict_Next dict_Get dict_PackDX dict_XbufFilterInit", CODE, 19, "there is no such dialog"},
    {"dict_Y2kMode", CODE, 19, "the mode is not 0, 1 or 2"},

    {"chk_Num", CODE, 18, "str has too little room, or more than 79 characters"},
    {"chk_Num", CODE, 19, "the value type is not I, D, S, L or empty"},
    {"chk_Num", "rc", 1, "not a number"},
    {"chk_Num", "rc", 2, "out of the range of the value type, or with too many decimals"},
    {"scan_Num", CODE, 19, "the number of decimals is negative, or above 253"},
    {"scan_Num", "rc", 1, "not a number, or out of the range of the value type"},
    {"scan_Num", "rc", 2, "below pmin or above pmax"},
    {"scan_Date", "rc", 1, "not a date"},
    {"scan_Time", "rc", 1, "not a time"},
    {"scan_Week", "rc", 1, "not a week"},
    {"scan_Month", "rc", 1, "not a month"},
    {"scan_*", "rc", 3, "a character that is not allowed, which out holds, or a wrong pvalid"},
    {"chk_Num scan_*", "rc", -1, "nothing was typed"},

    {"*", CODE, 2, "no memory"},
    {"*", CODE, 7, "no function has this name"},
    {"*", CODE, 8, "an argument's class does not fit"},
    {"*", CODE, 9, "too few or too many arguments"},
    {"*", CODE, 17, "an array has too few elements"},
    {"*", CODE, 204, "an argument does not lie in the block"},
    {"*", CODE, 606, "more than 50 arguments"},
};

/// Whether a name is like a pattern, in which one "*" stands for any characters.
constexpr bool IsLike(std::string_view name, std::string_view pattern) {
  const size_t star = pattern.find('*');
  if (star == std::string_view::npos) return name == pattern;
  const std::string_view before = pattern.substr(0, star);
  const std::string_view behind = pattern.substr(star + 1);
  return name.size() >= pattern.size() - 1 && name.starts_with(before) && name.ends_with(behind);
}

/// Whether a name is like one of the patterns, which have blanks between them.
constexpr bool IsAmong(std::string_view name, std::string_view patterns) {
  while (!patterns.empty()) {
    const std::string_view one = patterns.substr(0, patterns.find(' '));
    if (IsLike(name, one)) return true;
    patterns.remove_prefix(std::min(one.size() + 1, patterns.size()));
  }
  return false;
}

constexpr bool Meaning::IsOf(std::string_view function) const { return IsAmong(function, functions); }

/// What `number` in `value` of a function means; null where it only counts, or is 0 and success. An ERROR_NUMBER's row
/// is for the caller to fill with the system's words.
constexpr const Meaning* FindMeaning(std::string_view function, std::string_view value, int32_t number) {
  const auto has = [&](const Meaning& row, int32_t wanted) {
    return row.value == value && row.number == wanted && row.IsOf(function);
  };
  for (const Meaning& row : MEANINGS)
    if (has(row, number) || (number < 0 && has(row, ERROR_NUMBER))) return &row;
  return nullptr;
}

}  // namespace vorlix
