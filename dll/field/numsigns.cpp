#include "dll/field/numsigns.h"

#include "dll/base/locale.h"
#include "dll/field/fieldbuf.h"

namespace vorlix {
namespace {
constexpr int LAST_GROUP = 127;
}

NumSigns NumSigns::InForce() {
  const LocaleStrings& strings = LocaleInForce().strings;
  return {.minus = LocaleChar(strings.negative_sign, '-'),
          .point = LocaleChar(strings.decimal_point, '.'),
          .separator = LocaleChar(strings.thousands_separator, '\0'),
          .grouping = strings.grouping};
}

int GroupSizes::Next() {
  const int size = grouping_.empty() ? 0 : static_cast<unsigned char>(grouping_.front());
  if (size != 0) {
    size_ = size < LAST_GROUP ? size : FIELD_MAX;
    grouping_.remove_prefix(1);
  }
  return size_;
}

}  // namespace vorlix
