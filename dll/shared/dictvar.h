// Variables: an ordered list of fields of a dialog, each with a value, filled from an XBUF and written back to one.
//
// There is one current context with its list, which all operations here work on; whoever keeps a stack of contexts
// moves it out and back. A variable shares the section of its field, so it stays whole when its dictionary goes.
//
// An element of an array field is a field of its own: element 3 of "betrag" is the section of the field "betrag__3".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "dll/base/text.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/xpack.h"

namespace vorlix {

/// What operations on variables return.
enum [[nodiscard]] VarResult : int32_t{
    VAR_OK = 0,
    VAR_SKIP = 2,      // of a filter alone: the variable is not delivered
    VAR_NONE = -1,     // there is no variable, or no further one
    VAR_REFUSED = -2,  // no dialog has the ID, or what the operation needs is not there
    VAR_NO_ROOM = -3,  // the list does not fit into the XBUF
    VAR_NO_MEMORY = -4,
    VAR_CORRUPT = -5,  // the XBUF is malformed
};

struct Variable {
  SectionPtr section;
  OwnedText value;  // null when empty
};

/// Gives the variable a copy of the value up to a NUL in it. False when there is no memory; its value is empty then.
[[nodiscard]] bool SetVarValue(Variable& variable, std::string_view value) noexcept;

/// Variables in the order in which they came; several can have the same section. Moving a list leaves an empty one.
class VarList {
 public:
  static constexpr size_t NONE = SIZE_MAX;

  /// Appends a variable with an empty value; throws std::bad_alloc, with the list as it was.
  Variable& Append(SectionPtr section);
  /// The position of the first variable of this section, or NONE; takes the same time in lists of all sizes.
  size_t Find(const SectionPtr& section) const;

  size_t size() const { return variables_.size(); }
  bool empty() const { return variables_.empty(); }
  Variable& operator[](size_t position) { return variables_[position]; }
  const Variable& operator[](size_t position) const { return variables_[position]; }
  auto begin() const { return variables_.begin(); }
  auto end() const { return variables_.end(); }

 private:
  std::vector<Variable> variables_;
  std::unordered_map<const Section*, size_t> first_;  // the position of the first variable of a section
};

/// Looks at the current variable of a walk and decides whether it is delivered: VAR_OK or VAR_SKIP, or a failure, which
/// has been traced.
using VarFilter = VarResult (*)(Variable& variable);

/// A list with a walk over it.
struct VarContext {
  VarList list;
  size_t curr_var = VarList::NONE;  // the current variable
  size_t next = VarList::NONE;      // the one that the walk visits next
  VarFilter filter = nullptr;       // null: every variable is delivered
};

/// The one current context of the process.
VarContext& CurrVarContext();

/// What adding does with a field that the list has already.
enum class VarMode : int32_t {
  Append = 0,   // adds it once more
  Replace = 1,  // gives the first of its variables the new value
};

/// Adds a field with the value of the item. VAR_OK, or VAR_NO_MEMORY, which has been traced; a variable that has no
/// memory for its value is in the list with an empty one.
VarResult AddVar(const SectionPtr& field, const XbufItem& item, VarMode mode);

/// The same for the field that has the item's name (with its index, for an element) in the dialog with the handle
/// `hdl`. One that the dictionary does not have is left out: VAR_OK.
VarResult AddVarByName(const Dict& dict, std::string_view hdl, const XbufItem& item, VarMode mode);

/// Adds all items of an XBUF. VAR_OK; VAR_NONE when the list is empty at the end; VAR_REFUSED for an unknown dialog ID,
/// VAR_NO_MEMORY or VAR_CORRUPT. All but the first have been traced, and what was added before stays.
VarResult VarXBUF(CText dlgID, std::string_view xbuf, VarMode mode);

/// How a field is named in an XBUF.
struct VarName {
  std::string_view name;  // of the field, or of the array that it is an element of; borrows from the section
  char type = 0;          // 'N' numeric, 'X' text
  int32_t index = 0;      // of the element; 0 for a plain field
};

/// VAR_OK; or VAR_REFUSED, which has been traced, for a section whose name has no ".".
VarResult VarRealName(const Section& section, VarName& real);

/// Writes the list as an XBUF. `length` is what was written, and with VAR_NO_ROOM what the items have that were written
/// whole, without the "$". VAR_REFUSED as VarRealName.
VarResult VarWriteXBUF(char* buf, int64_t room, int64_t& length);

}  // namespace vorlix
