// What the words of a dictionary mean, in the words of the manual.
#pragma once

#include <span>
#include <string_view>

#include "dll/base/text.h"
#include "dll/shared/dictattr.h"

namespace vorlix::tool {

enum class WordKind {
  Attribute,
  FieldType,
  ObjectType,
  NumberValue,  // value types
  DateValue,
  TimeValue,
  NumberLetter,  // of formats
  TextLetter,
  Directive,
  None
};

struct ManualWord {
  WordKind kind;
  std::string_view word;
  std::string_view meaning;
};

inline constexpr ManualWord MANUAL_WORDS[] = {
#define MANUAL_WORD(kind, word, meaning) {WordKind::kind, word, meaning},
#include "tools/check/manual.def"
#undef MANUAL_WORD
};

/// The word of this kind, without regard to case but for directives; null for none.
inline const ManualWord* FindManualWord(WordKind kind, std::string_view word) {
  for (const ManualWord& one : MANUAL_WORDS)
    if (one.kind == kind && (kind == WordKind::Directive ? one.word == word : EqualNoCase(one.word, word))) return &one;
  return nullptr;
}

/// What the characters of FFMT are for a field of this type, and the words of FVTYP.
inline WordKind FormatWords(const Object& object) {
  if (object.ftyp == FT_N || (object.ftyp == FT_Z && EqualNoCase(CText(object.fvtyp), "HM100")))
    return WordKind::NumberLetter;
  if (object.ftyp == FT_T || object.ftyp == FT_U) return WordKind::TextLetter;
  const bool is_date = object.ftyp == FT_D || object.ftyp == FT_Z || object.ftyp == FT_M || object.ftyp == FT_K;
  return is_date ? WordKind::Directive : WordKind::None;
}
inline WordKind ValueWords(const Object& object) {
  switch (object.ftyp) {
    case FT_N: return WordKind::NumberValue;
    case FT_D: return WordKind::DateValue;
    case FT_Z: return WordKind::TimeValue;
    default: return WordKind::None;
  }
}

}  // namespace vorlix::tool
