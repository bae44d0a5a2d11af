#include "dll/base/locale.h"

#include <utility>

namespace vorlix {
namespace {

Locale locale_in_force;

}  // namespace

const Locale& LocaleInForce() { return locale_in_force; }

void PutLocaleInForce(Locale locale) { locale_in_force = std::move(locale); }

void ForgetLocaleStrings() { locale_in_force.strings = LocaleStrings(); }

}  // namespace vorlix
