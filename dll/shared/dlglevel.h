// Dialog levels: which dictionaries are open for the dialogs on the screen, and the IDs that address those dialogs.
//
// A level is a number, and there can be several dictionaries on it. New ones come on top, with the number of the top or
// a higher one; closing takes them from the top. Every line of a dictionary's catalog makes a dialog, with a primary
// ID, "D%02d%s" of level and prefix, and up to nine aliases. Where IDs or handles repeat, the newest dialog answers.
//
// IDs and handles compare without regard to case. Finding one takes the same time however many there are. Texts that
// are given out borrow from the dialog, and hold until its level is closed or, for an alias, until that is deleted.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "dll/base/text.h"
#include "dll/shared/dictkrnl.h"

namespace vorlix {

/// The most IDs that one dialog can have, its primary ID included.
inline constexpr int32_t MAX_ID_CNT = 10;

struct Dialog {
  OwnedText hdl;  // its catalog handle
  std::array<OwnedText, MAX_ID_CNT> ids;
  int32_t id_cnt = 0;  // of `ids` in use: the primary ID, then the aliases in the order in which they were made
};

/// A dictionary that is open at a level.
struct DlgLevel {
  DictPtr dict;
  int32_t level = 0;
  size_t first_dialog = 0;  // its dialogs are those from this one up to the first of the level above it
};

/// What operations on levels return.
enum [[nodiscard]] DlgResult : int32_t{
    DLG_OK = 0,
    DLG_NONE = -1,     // there is no such dialog or alias, or no further one
    DLG_REFUSED = -2,  // the level or the dictionary is not acceptable, or no dialog has the ID
    DLG_NO_MEMORY = -4,
};

/// Opens a dictionary at a level, which is not negative; the count of its holders is the caller's. DLG_REFUSED when the
/// level is below the top, or when the dictionary is new (an original with one holder) and has a section whose prefix
/// is no handle on the level. Failures have been traced; after one that is not the first kind, the level is not there
/// any more, including the dictionaries that were opened at it before.
DlgResult AddDlgLevel(const DictPtr& dict, int32_t level);

/// Closes the levels from `level` up, all of them when it is negative. The dictionaries are not touched.
void FreeDlgLevel(int32_t level);

/// The dictionary number `idx`, from 0, of the levels from `level` up, counted from the top; null when there are not so
/// many. A negative `level` stands for the top one.
DictPtr GetDlgDict(int32_t level, int32_t idx);

/// The dialog number `idx`, from 0, of the levels from `level` up, counted from the top, and the last line of a catalog
/// first; none when there are not so many. A `dict_id` that is not empty leaves out other dictionaries. The texts
/// borrow until levels change.
struct DlgNames {
  CText id;    // the primary one
  CText name;  // the part of it behind the first three characters
};
std::optional<DlgNames> GetDlgID(CText dict_id, int32_t level, int32_t idx);

/// The level and the dialog with an ID or alias, both null when there is none. They borrow until levels change.
struct FoundDlg {
  DlgLevel* level = nullptr;
  const Dialog* dialog = nullptr;
};
FoundDlg FindDlg(std::string_view dlgID);

/// The dictionary of the dialog with an ID or alias, and the dialog's catalog handle. Without a dictionary there is
/// none.
struct ResolvedDlg {
  DictPtr dict;
  CText hdl;
};
ResolvedDlg ResolveDlgID(std::string_view dlgID);

/// The primary ID of the dialog with this catalog handle on the top level; none when there is no such dialog. Borrows
/// as that of GetDlgID.
std::optional<CText> MapDlgHandle(std::string_view hdl);

// ---- Aliases --------------------------------------------------------------------------------------------------------

/// Makes an alias of the dialog with this primary ID, "%s_%d" of the ID as spelled here and the number of its IDs, so
/// that names can repeat once others have been deleted. DLG_NONE when the dialog has no room for a further one,
/// DLG_REFUSED when there is no such dialog, or DLG_NO_MEMORY; traced.
DlgResult NewDlgAlias(CText id, CText& alias);

/// The alias number `alias_idx`, from 1, of the dialog with this primary ID. DLG_NONE when it has no such alias,
/// DLG_REFUSED when there is no such dialog.
DlgResult GetDlgAlias(CText id, int32_t alias_idx, CText& alias);

/// Deletes an alias. DLG_REFUSED when there is none of this name; primary IDs are not aliases.
DlgResult DelDlgAlias(CText aliasID);

}  // namespace vorlix
