// Bytes as a VALID set: a list allows its characters, "[^...]*" allows what "[...]*" does not, and scanners go by it.
#include "dll/field/validset.h"
#include "dll/base/locale.h"
#include "dll/shared/clilocal.h"
#include "dll/shared/fieldscan.h"
#include "fuzz/input.h"

namespace vorlix::fuzz {

void Run(Input input) {
  const std::string valid(input.Rest());
  ValidSet set;
  const bool sound = set.Parse(valid, LocaleInForce());
  ValidSet inverse;
  const bool is_class = valid.starts_with('[') && !valid.starts_with("[^");
  if (is_class) Require(inverse.Parse("[^" + valid.substr(1), LocaleInForce()) == sound, "both or neither are sound");
  const bool is_list = !valid.starts_with('[');
  Require(sound || !is_list, "every list is sound");
  for (unsigned c = 0; sound && c < 256; ++c) {
    const auto byte = static_cast<unsigned char>(c);
    if (is_class) Require(set.Allows(byte) != inverse.Allows(byte), "either the class or its inverse allows it");
    const bool listed = valid.empty() || valid.find(static_cast<char>(c)) != std::string::npos;
    if (is_list) Require(set.Allows(byte) == listed, "a list allows its characters");
  }
  Require((FmtCheckValid(valid, valid).outcome == VALID_MALFORMED) == !sound, "scanners find the same faults");
}

}  // namespace vorlix::fuzz
