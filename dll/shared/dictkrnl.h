// Dictionaries in memory: their records, the list that holds them, and how they are looked up, changed and given up.
//
// A dictionary describes the objects of one or more dialogs. It has a catalog of the dialogs, a list of named values,
// and a section for each object, in the order of its file.
//
// Ownership. The dictionary list and every dialog level that uses a dictionary share its record, and a section is
// shared by its dictionary and whoever remembers it. So no order of calls leaves a pointer to nothing. How long a
// dictionary has its contents is another matter, which `instance_cnt` alone decides: the number of dialog levels that
// use the record, or 1 for a model. When it falls to 0, the contents go and the record leaves the list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "dll/base/nameindex.h"
#include "dll/base/text.h"
#include "dll/shared/section.h"

namespace vorlix {

/// A dialog of the dictionary.
struct CatalogEntry {
  OwnedText hdl;  // in upper case: the dialog's name within the dictionary
  OwnedText pfx;  // as written: the dialog's name in dialog IDs
};

/// A named value.
struct ListItem {
  OwnedText name;     // in upper case
  std::string value;  // as written; the values of lines with the same name, joined

  static std::string_view NameOf(const ListItem& item) { return item.name.get(); }
};

enum DictKind {
  DICT_ORIGINAL = 0,  // as read from its file; used by any number of levels
  DICT_DERIVED = 1,   // changed by the one level that uses it
  DICT_MODEL = 2,     // used by no level: others inherit from its sections
};

/// Room for names and values of a file, with their NUL; what is longer is cut.
inline constexpr size_t DICT_NAME_SIZE = 81;
inline constexpr size_t DICT_VALUE_SIZE = 123;

struct Dict {
  std::string id;  // as the host passed it
  std::vector<CatalogEntry> catalog;
  NamedList<ListItem, ListItem::NameOf> items;
  SectionList sections;
  size_t cursor = 0;  // the walk over the sections: how many it has left behind
  int32_t instance_cnt = 1;
  DictKind kind = DICT_ORIGINAL;
};
using DictPtr = std::shared_ptr<Dict>;

// ---- The dictionary list --------------------------------------------------------------------------------------------

/// All dictionaries of every kind, the newest first.
const std::list<DictPtr>& DictList();

/// Puts a list of one complete dictionary at the head, and leaves it empty. Whoever makes a dictionary makes it in a
/// list of its own, so that nothing can fail once it is complete.
void LinkDict(std::list<DictPtr>& fresh) noexcept;

/// The newest dictionary of this kind with this id, compared without regard to case; null when there is none.
DictPtr FindDict(std::string_view id, DictKind kind);

// ---- Sections -------------------------------------------------------------------------------------------------------

/// The first section with this name, without regard to case; null when there is none. It takes the same time in
/// dictionaries of all sizes.
SectionPtr FindSection(const Dict& dict, std::string_view name);

/// The first field of the dialog with this catalog handle, and the one behind a field of it; null when there is none.
SectionPtr FirstField(const Dict& dict, std::string_view handle);
SectionPtr NextField(const Dict& dict, const Section& after, std::string_view handle);

/// No memory for a piece of a dictionary, by the name that messages give it.
struct HeapOverflow : std::bad_alloc {
  explicit HeapOverflow(const char* of_piece) : piece(of_piece) {}
  const char* piece;
};

/// Appends a section with this name in lower case, an object without attributes. Throws HeapOverflow, with the
/// dictionary as it was.
SectionPtr AddSection(Dict& dict, std::string_view name);

// ---- Changing -------------------------------------------------------------------------------------------------------

/// The dictionary that a level which changes `dict` is to use: `dict` itself when no other level uses it, marked as
/// derived, else a copy of it at the head of the list, and `dict` has one level less. Null when memory ran out or an
/// attribute could not be copied; then all is as it was.
DictPtr DeriveDict(const DictPtr& dict);

/// Sets attributes of one field of a dialog from an XBUF, in a dictionary that only the dialog's level uses: it is
/// derived first. A field that the dictionary does not have fails when `strict`, as it does for the host's calls, and
/// is added otherwise. A failure has been traced; a copy is given up again then, while a dictionary that was derived in
/// place stays so and keeps what was set.
enum class [[nodiscard]] UpdateResult : int32_t{Ok = 0, Failed = -2};
UpdateResult UpdateDict(CText dlgID, std::string_view xbuf, bool strict);

// ---- Giving up ------------------------------------------------------------------------------------------------------

/// Lowers the number of holders. True when there are no others: the contents are gone then.
[[nodiscard]] bool FreeDict(Dict& dict);

/// Lowers the number of holders, and takes a dictionary without any off the list.
void RemoveDict(const DictPtr& dict);

/// Closes the levels from `level` up, all of them when it is negative: each gives up its dictionary.
void CloseDict(int32_t level);

/// Closes all levels, and all dictionaries, models too.
void CloseAllDicts();

}  // namespace vorlix
