// XBUFs, the packed form of named values in one text, as a host reads and writes them.
//
// An item is its type letter, its name, "~", an element index, "~", the length of the value, "~" and the value's bytes;
// "$" closes the XBUF. Values can hold any byte.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorlix::host {

struct XbufItem {
  char type = 'X';     // 'X' for a text, 'N' for a number
  std::string name;    // a letter, then letters, digits and "_", 79 at most; the case does not matter
  uint32_t index = 0;  // 0 for a plain value, 1 to 2147483647 for an element of an array
  std::string value;

  bool operator==(const XbufItem&) const = default;
};

/// The items of an XBUF, with types in capitals and names in lower case. What follows the "$" is not looked at. Throws
/// std::invalid_argument, which names the fault and its offset, for anything malformed or cut off.
std::vector<XbufItem> ReadXbuf(std::string_view xbuf);

/// The XBUF of these items. Throws std::invalid_argument for a type, a name or an index that no XBUF can hold.
std::string WriteXbuf(const std::vector<XbufItem>& items);

}  // namespace vorlix::host
