// The attributes of dictionary objects: the record that holds them, and every way to set, read, copy, check and release
// them.
//
// One table, in dictattr.cpp, has a row for each attribute, and all operations here go by its rows. Rows are numbered
// from 0; the first ATTRIBUTE_COUNT of them can be read, and their order is that of dumps, of packed dictionaries and
// of copies. The rows behind them can be set only: MODEL, and an old name of VALID.
//
// Every attribute has two names, both without regard to case: the item name, in dictionary files, and the exchange
// name, in XBUFs. Values are texts on the way in and out. `section` is the name that the messages of failures give.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "dll/base/text.h"

namespace vorlix {

/// What an object is on the screen. 0 is none.
enum ObjectType : int32_t {
  OT_NONE,
#define OBJECT_TYPE(name, ...) OT_##name,
#include "dll/shared/dicttypes.def"
};

/// What a field holds. 0 is none, or a type that only the host knows, see Object::ftyp_text.
enum FieldType : int32_t {
  FT_NONE,
#define FIELD_TYPE(name, ...) FT_##name,
#include "dll/shared/dicttypes.def"
};

/// Bits of Object::flags: FREQ, and the wishes of NOTIFY.
enum ObjectFlag : uint32_t {
  OBJ_REQUIRED = 0x1,
  OBJ_NOTIFY_VALID = 0x2,
  OBJ_NOTIFY_EMPTY = 0x4,
  OBJ_NOTIFY_ALWAYS = 0x8,
  OBJ_NOTIFY_FSEARCH = 0x10,
};

/// The attributes of one object. A text is null when absent, and never empty.
struct Object {
  uint32_t mask = 0;  // a bit for each attribute that has been set, also when it was set to the empty text
  OwnedText path;
  ObjectType objtype = OT_ET;
  FieldType ftyp = FT_NONE;
  OwnedText ftyp_text;  // FTYP as written, when it is no FieldType
  OwnedText fvtyp;
  OwnedText ffmt;
  int32_t flen = 0;
  int32_t fprec = 0;
  double fmin = 0;
  double fmax = 0;
  OwnedText default_value;
  OwnedText fempty;
  OwnedText valid;
  OwnedText fsearch;
  OwnedText fcheck;
  OwnedText output;
  OwnedText model;  // a section of a model dictionary to inherit from
  OwnedText init;
  OwnedText load;
  uint32_t flags = 0;  // ObjectFlags
};

/// The rows that can be read are 0 to ATTRIBUTE_COUNT - 1.
inline constexpr int32_t ATTRIBUTE_COUNT = 19;

/// Results of setting, copying and checking. What fails has been traced.
enum class [[nodiscard]] AttrResult : int32_t{Ok = 0, Failed = -2};

/// Makes the object one whose section has no lines: nothing set, of type ET.
void ObInit(Object& object);

/// Releases all texts and clears everything, OBJTYPE too. Here for programs that keep objects of their own, like
/// ObInit: in the server a new object is as ObInit makes it, and it is released with its section.
void ObFree(Object& object);

/// Sets the attribute of a row, its bit in `mask` included. A null value is invalid. A value longer than the row allows
/// is refused and changes nothing; any other failure leaves the attribute absent or zero.
AttrResult ObSetIdx(Object& object, int32_t row, OwnedText value, CText section);

/// Sets the attribute with this item name; also an empty value is set, after a warning.
AttrResult ObSet(Object& object, CText item, OwnedText value, CText section);

/// Room for the text of any attribute that is not stored as text.
using ComputedText = std::array<char, 32>;

/// One attribute as text. The value borrows from the object, or from here where it is computed: it holds until either
/// changes.
struct AttrText {
  AttrText() = default;
  AttrText(const AttrText&) = delete;
  AttrText& operator=(const AttrText&) = delete;

  CText item;
  CText value;
  char type = 0;  // 'X' text, 'N' numeric

  ComputedText computed;
};

/// Reads the attribute of row `n`; false when no row of this number can be read. All of them:
///
///   for (int32_t row = 0; ObGetIdx(object, row, attr); ++row)
[[nodiscard]] bool ObGetIdx(const Object& object, int32_t n, AttrText& attr);

/// The exchange name of row `n`; null, which is traced, when no row of this number can be read.
const char* ObGetAlias(int32_t n);

/// The row that has this exchange name, or this item name, and can be read.
std::optional<int32_t> ObFindAlias(std::string_view alias);
std::optional<int32_t> ObFindItem(std::string_view item);

/// The item name of a row that there is.
CText ObGetItem(int32_t row);

enum class CopyMode : int32_t {
  All = 0,
  Set = 1,      // what has been set in the source
  Missing = 2,  // what has been set in the source and not in the destination
};

/// Copies attributes, as far as they can be read. A failure ends the copy; what has been copied stays.
AttrResult ObCopy(Object& dst, const Object& src, CopyMode mode, CText section);

/// Checks an object that has been loaded or updated, and completes it: the field type that its OBJTYPE forces, formats
/// and value types in today's notation, and the default format, length and precision of its field type in the locale in
/// force. The first failure ends it; what has been completed stays.
AttrResult ObCheck(Object& object, CText section);

}  // namespace vorlix
