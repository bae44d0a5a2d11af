// Filter sets: variables of a dialog with a walk over them, on a stack.
//
// The current context (CurrVarContext) is the set in use. Opening a set saves that context on the stack and fills a new
// one; freeing it brings the saved one back. Below all sets lies the base context, which is there from the start and is
// emptied rather than freed. Sets know nothing of dialogs once they are filled: they stay, whatever is closed.
//
// A walk: VarInitAccess, VarGetNext until it is not VAR_OK, and between these the operations on the current variable.
// Failures have been traced; the results are VarResults.
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
int32_t VarPush();

/// Gives the current context up and makes the one that was saved last current. VAR_REFUSED when none is saved.
int32_t VarPop();

/// Empties the current context, then VarPop: the base context is empty and stays current, with VAR_REFUSED.
int32_t VarFree();

// ---- Opening a set --------------------------------------------------------------------------------------------------
//
// VAR_OK with a new current context, whose walk has not begun. Anything else leaves the stack as it was: VAR_NONE when
// the dialog has none of the fields; VAR_REFUSED for an unknown dialog ID or a name that cannot be one of a field;
// VAR_NO_MEMORY, also when the stack is full; VAR_CORRUPT for a malformed XBUF.

/// With the fields and values of an XBUF.
int32_t VarInitXBUF(const char* dlgID, std::string_view xbuf);

/// With fields without values: all of the dialog for "*", else those of a list such as "name,plz", which have to be
/// parted by single commas. A "$" may end a name, and nothing else can stand in its place before the comma.
int32_t VarInitLIST(const char* dlgID, const char* list);

/// With one field and its value.
int32_t VarInitONE(const char* dlgID, const char* name, const char* val);

/// Adds the fields of an XBUF to the current context, whichever that is, or gives them new values; see VarXBUF.
int32_t VarUpdateXBUF(const char* dlgID, std::string_view xbuf);

// ---- The walk -------------------------------------------------------------------------------------------------------

/// Begins the walk with the filter of this name, or with none for an empty name, at the first variable. An unknown name
/// is VAR_REFUSED, and the walk has not begun.
int32_t VarInitAccess(const char* filterName);

/// Moves to the next variable that the filter delivers. VAR_NONE at the end of the walk, after which it has to begin
/// anew; VAR_REFUSED when it has not begun. Any other result is the filter's failure, and the set has been freed.
///
/// Which variable comes next is decided when the walk moves: what is added while it stands at the last variable is not
/// visited.
int32_t VarGetNext();

/// The section of the current variable. Null when the walk has not begun.
SectionPtr VarCurrSection();

/// The value of the current variable, which holds until it changes. Nothing when the walk has not begun.
std::optional<std::string_view> VarCurrValue();

/// Gives the current variable a value. When there is no memory for it, the value is empty. A walk that has just begun
/// stands at the first variable.
int32_t VarSetCurrValue(const char* text);

}  // namespace vorlix
