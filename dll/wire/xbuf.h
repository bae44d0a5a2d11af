// XBUFs: sets of named values, packed into one String argument.
//
// An XBUF is a run of items and one "$". An item is a type letter ("X" text, "N" number), the name, "~", an element
// index, "~", the length of the value, "~" and the value, which can hold any byte:
//
//   XDict_fld~0~4~nameNDict_len~0~2~30$
//
// Names are a letter and then letters, digits and "_", without regard to case (see FixNameLetters). The index is 0 for
// a plain value, and n for element n of an array.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vorlix {

// ---- Writing pieces -------------------------------------------------------------------------------------------------
//
// Each appends one piece at `dst`, where `room` bytes are left, and returns the bytes appended; none when it does not
// fit, and nothing is appended. A byte is always left free behind a piece, for the "$"; headers put a NUL into it. A
// room below 1, as a String of negative capacity has, fits nothing.

/// Longest header, its NUL included.
inline constexpr int64_t XBUF_HEADER_SIZE = 256;

/// The bytes of a piece.
using PieceLength = std::optional<int64_t>;

/// The header of a plain value. With a prefix the name is the prefix as it is and `name` in lower case; with a null
/// prefix it is `name`, its first letter in upper case and the rest in lower case. The same as xpack_elem with the
/// index 0, which is what all headers here are written by: this is the grammar's name for it.
[[nodiscard]] PieceLength xpack_item(char* dst, int64_t room, const char* prefix, std::string_view name, char type);

/// The header of element `index`, which is not negative.
[[nodiscard]] PieceLength xpack_elem(char* dst, int64_t room, const char* prefix, std::string_view name, char type,
                                     int32_t index);

/// The value that belongs to the header before it.
[[nodiscard]] PieceLength xpack_value(char* dst, int64_t room, std::string_view text);

/// Writes a whole XBUF. `length` counts what is complete: the items put so far, and the "$".
struct XbufWriter {
  char* dst;
  int64_t room;
  int64_t length = 0;

  /// Appends an item; false when it does not fit.
  bool Put(const char* prefix, std::string_view name, char type, std::string_view value, int32_t index = 0);
  /// Appends the "$"; false when it does not fit.
  bool End();
};

// ---- Reading --------------------------------------------------------------------------------------------------------

/// Longest name that can be read.
inline constexpr int64_t XBUF_NAME_MAX = 79;

enum XbufType : int32_t { XBUF_NONE = 0, XBUF_TEXT = 1, XBUF_NUMBER = 2 };

/// The letter that an item of this type is written with.
constexpr char LetterOf(XbufType type) { return type == XBUF_NUMBER ? 'N' : 'X'; }

struct XbufItem {
  std::array<char, XBUF_NAME_MAX + 1> name;  // in lower case, ends in NUL
  XbufType type = XBUF_NONE;
  int32_t index = 0;
  bool is_element = false;  // the index is not 0
  std::string_view value;   // borrows from the XBUF; of any bytes
};

/// Which bytes beyond ASCII make a name: the letters of the language in force, whose case does not count, or, for a
/// reader who does not know that language, all of them, as they are.
enum class XbufNames { OfLanguage, OfAny };

/// Each reads one piece at the start of `src`, the rest of an XBUF, and never beyond it. Returns the bytes that the
/// piece has, which is more than `src` has for a piece that goes on beyond it (and is not to be used then), or none for
/// a malformed one. Missing digits are a 0; an index above 2147483647 or a length above 4294967295 is malformed.
[[nodiscard]] PieceLength xunpack_item(std::string_view src, XbufItem& item, XbufNames names = XbufNames::OfLanguage);
[[nodiscard]] PieceLength xunpack_value(std::string_view src, XbufItem& item);

/// What makes an XBUF corrupt. One that ends where an item or the "$" is due lacks a header.
enum [[nodiscard]] XbufFault : int32_t{
    XBUF_SOUND = 0, XBUF_BAD_HEADER = 1, XBUF_HEADER_PAST_END = 2, XBUF_BAD_LENGTH = 3, XBUF_VALUE_PAST_END = 4,
};

/// Walks through the items of a whole XBUF.
class XbufReader {
 public:
  enum class Step { Item, End, Corrupt };

  explicit XbufReader(std::string_view xbuf, XbufNames names = XbufNames::OfLanguage) : xbuf_(xbuf), names_(names) {}

  /// Reads the next item, or meets the "$", or meets a fault and stays there.
  Step Next(XbufItem& item);

  XbufFault Fault() const { return fault_; }
  /// Bytes read so far. With a fault: where a malformed piece starts; the end of the XBUF when that cuts a header or a
  /// length off; where a value would end that goes on past the end.
  int64_t Offset() const { return offset_; }

 private:
  int64_t Size() const { return static_cast<int64_t>(xbuf_.size()); }
  std::string_view Rest() const { return xbuf_.substr(static_cast<size_t>(offset_)); }
  bool Stop(XbufFault fault);
  bool ReadHeader(XbufItem& item);
  bool ReadValue(XbufItem& item);

  std::string_view xbuf_;
  XbufNames names_;
  int64_t offset_ = 0;
  XbufFault fault_ = XBUF_SOUND;
};

}  // namespace vorlix
