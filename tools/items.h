// XBUFs in scripts: how a word makes an item, how an item is found, and how all of them are listed.
#pragma once

#include <string>
#include <string_view>

#include "host/xbuf.h"
#include "tools/encoding.h"
#include "tools/words.h"

namespace vorlix::tool {

/// An item as a word makes it: NAME=TEXT, NAME.3=TEXT for the third element of an array, NAME:N=TEXT or NAME.3:N=TEXT
/// for a number.
struct ItemWord {
  host::XbufItem item;  // without its value
  Word value;
};

/// Throws ToolError (Usage) when the word makes no item.
ItemWord ParseItem(const Word& word);

/// The value of an item of the XBUF. `item` is its name in any case, with or without what stands before the first "_"
/// (dict_len or len), and for an element of an array "." and its index. Throws ToolError (OtherCode) when there is
/// none.
std::string FindItem(std::string_view xbuf, std::string_view item);

/// One line for each item, indented, as `dict_len = "40"`, in the encoding of the terminal. Throws ToolError
/// (OtherCode) when the text is no XBUF.
std::string ListItems(std::string_view xbuf, const Conversion& to_outside);

/// Whether the text is an XBUF that holds items and nothing behind them.
bool IsXbuf(std::string_view text);

}  // namespace vorlix::tool
