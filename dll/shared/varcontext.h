// Filter sets: variables of a dialog with a walk over them, on a stack.
//
// The current context (CurrVarContext) is the set in use. Opening a set saves that context on the stack and fills a new
// one; freeing it brings the saved one back. Below all sets lies the base context, which is there from the start and is
// emptied rather than freed. Sets know nothing of dialogs once they are filled: they stay, whatever is closed.
//
// A walk: VarInitAccess, VarGetNext until it is not VAR_OK, and between these the operations on the current variable.
// Failures have been traced. A filter decides which variables a walk delivers, and what becomes of the values on the
// way:
//
//   format     all; the value becomes the text that the field shows
//   fmt_hook   fields without a known field type
//   def_hook   fields whose DEFAULT begins with "$"; the value of every variable becomes its field's DEFAULT
//   out_hook   fields with an OUTPUT attribute
//   load_hook  fields with a LOAD attribute
//   init_hook  fields with an INIT attribute
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "dll/shared/dictvar.h"

namespace vorlix {

/// How many sets can be open at once.
inline constexpr size_t VAR_STACK_SIZE = 10;

// ---- The stack ------------------------------------------------------------------------------------------------------

/// Saves the current context and makes an empty one current. VAR_NO_MEMORY when the stack is full.
VarResult VarPush();

/// Gives the current context up and makes the one that was saved last current. VAR_REFUSED when none is saved.
VarResult VarPop();

/// Empties the current context, then VarPop: the base context is empty and stays current, with VAR_REFUSED.
VarResult VarFree();

// ---- Opening a set --------------------------------------------------------------------------------------------------
//
// VAR_OK with a new current context, whose walk has not begun. Anything else leaves the stack as it was: VAR_NONE when
// the dialog has none of the fields; VAR_REFUSED for an unknown dialog ID or a name that cannot be one of a field;
// VAR_NO_MEMORY, also when the stack is full; VAR_CORRUPT for a malformed XBUF.

/// With the fields and values of an XBUF.
VarResult VarInitXBUF(CText dlgID, std::string_view xbuf);

/// With fields without values: all of the dialog for "*", else those of a list such as "name,plz", which have to be
/// separated by single commas. A "$" may end a name, and nothing else can stand in its place before the comma.
VarResult VarInitLIST(CText dlgID, CText list);

/// With one field and its value.
VarResult VarInitONE(CText dlgID, CText name, CText val);

/// Adds the fields of an XBUF to the current context, whichever that is, or gives them new values; see VarXBUF.
VarResult VarUpdateXBUF(CText dlgID, std::string_view xbuf);

// ---- The walk -------------------------------------------------------------------------------------------------------

/// Begins the walk with the filter of this name, or with none for an empty name, at the first variable. An unknown name
/// is VAR_REFUSED, and the walk has not begun.
VarResult VarInitAccess(CText filterName);

/// Moves to the next variable that the filter delivers. VAR_NONE at the end of the walk, after which it has to begin
/// anew; VAR_REFUSED when it has not begun. Any other result is the filter's failure, and the set has been freed.
///
/// Which variable comes next is decided when the walk moves: what is added while it stands at the last variable is not
/// visited.
VarResult VarGetNext();

/// The section of the current variable. Null when the walk has not begun.
SectionPtr VarCurrSection();

/// The value of the current variable, which holds until it changes. Nothing when the walk has not begun.
std::optional<CText> VarCurrValue();

/// Gives the current variable a value. When there is no memory for it, the value is empty. A walk that has just begun
/// stands at the first variable.
VarResult VarSetCurrValue(CText text);

}  // namespace vorlix
