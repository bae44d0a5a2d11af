// The table of dialog levels: a stack of levels, a stack of their dialogs, and the indexes over IDs and handles, kept
// in step with one another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "dll/base/nameindex.h"
#include "dll/shared/dlglevel.h"

namespace vorlix {

class DlgTable {
 public:
  static constexpr size_t NONE = SIZE_MAX;

  /// Levels and dialogs in the order in which they came: the top is at the end.
  const std::vector<DlgLevel>& Levels() const { return levels_; }
  const std::vector<Dialog>& Dialogs() const { return dialogs_; }

  /// How many dialogs a level has.
  size_t DialogCount(size_t level) const;
  DlgLevel& LevelOf(size_t at);

  /// Add to the top; all that add throw std::bad_alloc, with the table as it was.
  void PushLevel(const DictPtr& dict, int32_t level);
  /// Makes room for one more dialog on the top level, so that PushDialog cannot fail.
  void ReserveDialog();
  void PushDialog(OwnedText hdl, OwnedText id) noexcept;
  /// Takes the top level and its dialogs off.
  void PopLevel() noexcept;

  /// Adds an alias to a dialog that has room for one.
  void AddAlias(size_t at, OwnedText alias);
  void RemoveAlias(size_t at, int32_t slot) noexcept;

  /// The newest dialog with this primary ID, or NONE.
  size_t FindPrimary(std::string_view id) const;

  struct Alias {
    size_t dialog = NONE;
    int32_t slot = 0;  // of the first such alias that the dialog has
  };
  /// The newest dialog with this alias.
  Alias FindAlias(std::string_view id) const;

  /// The newest dialog with this catalog handle, or NONE.
  size_t FindHandle(std::string_view hdl) const;

 private:
  void EnterAlias(size_t at, int32_t slot) noexcept;

  std::vector<DlgLevel> levels_;
  std::vector<Dialog> dialogs_;
  NameIndex primary_ids_{NameIndex::Order::HighestFirst};   // by dialog
  NameIndex handle_names_{NameIndex::Order::HighestFirst};  // by dialog
  NameIndex aliases_{NameIndex::Order::HighestFirst};       // by dialog and slot
};

/// The one table of the process.
DlgTable& DlgLevels();

}  // namespace vorlix
