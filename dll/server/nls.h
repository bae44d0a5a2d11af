// The language of the server: chosen from the environment at start-up, changed by the host.
//
// A language set here lasts only while the locale description is built; what formatting goes by is the locale in force.
// The process itself keeps the character type and the collation that start-up chose; after the first DescribeLanguages
// every category of the process is "C". Traces and messages know the two operations as setup_locale_from_env and
// define_locale.
#pragma once

#include "hostif/layout.h"

namespace vorlix {

/// Chooses the language from ZENDLANG, or LANG, LC_COLLATE and LC_CTYPE, and builds the locale description. A language
/// that is not available is warned of on standard error and replaced by "C". RESULT_OK or the code of BuildLocale.
[[nodiscard]] ResultCode ChooseLanguageFromEnvironment();

/// Changes categories as a text such as LANG=de_DE,TIME=C says and builds a new description. RESULT_OK;
/// RESULT_REFUSED for a bad text or a language that is not available, with buffer and locale in force unchanged; or the
/// code of BuildLocale.
[[nodiscard]] ResultCode DescribeLanguages(const char* assignments);

}  // namespace vorlix
