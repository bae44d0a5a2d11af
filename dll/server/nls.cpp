#include "dll/server/nls.h"

#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include "dll/server/srvlocal.h"
#include "dll/shared/debug.h"
#include "dll/shared/text.h"
#include "hostif/layout.h"

namespace vorlix {
namespace {

constexpr const char* C_LOCALE = "C";

struct Category {
  int category;
  const char* warning_name;
  const char* type_name;  // in the text of define_locale; null: not accepted there
};
constexpr std::array<Category, 6> CATEGORIES = {{
    {LC_ALL, "LANG", "LANG"},
    {LC_COLLATE, "LC_COLLATE", "COLLATE"},
    {LC_CTYPE, "LC_CTYPE", nullptr},
    {LC_MONETARY, "LC_MONETARY", "MONETARY"},
    {LC_NUMERIC, "LC_NUMERIC", "NUMERIC"},
    {LC_TIME, "LC_TIME", "TIME"},
}};

bool warned = false;

// What define_locale leaves the process with.
constexpr const char* RESTORED_CTYPE = C_LOCALE;
constexpr const char* RESTORED_COLLATE = C_LOCALE;

const char* WarningName(int category) {
  for (const Category& row : CATEGORIES)
    if (row.category == category) return row.warning_name;
  return "";
}

// Sets one category; 1 on success, 0 with a warning on failure. `last` ends the warnings.
int set_locale(int category, const char* name, int last) {
  const bool set = std::setlocale(category, name) != nullptr;
  if (!set) {
    if (!warned)
      std::fprintf(stderr, "%s: %s\n", "vorlix.dll", "Warning!  The following language(s) are not available:");
    warned = true;
    std::fprintf(stderr, "%15s %s=%s\n", "", WarningName(category), name);
    DebugPrint(TRACE_NLS, 1, "set_locale(): %s=%s", WarningName(category), name);
  }
  if (last != 0 && warned) std::fputs("Continuing processing using default language.\n", stderr);
  return set ? 1 : 0;
}

void LeaveProcessLocale(const char* ctype, const char* collate) {
  std::setlocale(LC_ALL, C_LOCALE);
  std::setlocale(LC_CTYPE, ctype);
  std::setlocale(LC_COLLATE, collate);
}

struct LanguageNames {
  std::string all;
  std::string collate;
  std::string ctype;
};

std::string Environment(const char* variable, const std::string& absent) {
  const char* value = std::getenv(variable);
  return value != nullptr ? value : absent;
}

LanguageNames NamesFromEnvironment() {
  const std::string zendlang = Environment("ZENDLANG", "");
  if (!zendlang.empty()) {
    const std::string name = zendlang.substr(0, zendlang.find('@'));
    return {name, zendlang, name};
  }
  const std::string name = Environment("LANG", C_LOCALE);
  return {name, Environment("LC_COLLATE", name), Environment("LC_CTYPE", name)};
}

int32_t SetUpLocale() {
  LanguageNames names = NamesFromEnvironment();
  set_locale(LC_ALL, names.all.c_str(), 0);
  if (set_locale(LC_COLLATE, names.collate.c_str(), 0) == 0) names.collate = C_LOCALE;
  if (set_locale(LC_CTYPE, names.ctype.c_str(), 1) == 0) names.ctype = C_LOCALE;
  const int32_t code = BuildLocale();
  LeaveProcessLocale(names.ctype.c_str(), names.collate.c_str());
  TakeCaseFolding();
  return code;
}

// Carries out one assignment. Null, or the message that says why it is refused.
const char* Assign(std::string_view type, const char* value) {
  for (const Category& row : CATEGORIES) {
    if (row.type_name == nullptr || type != row.type_name) continue;
    DebugPrint(TRACE_NLS, 2, "define_locale(): setlocale(%s,%s)", row.type_name, value);
    return std::setlocale(row.category, value) != nullptr ? nullptr : "define_locale(): setlocale() failed";
  }
  return "define_locale(): Bad type";
}

// Carries out all assignments of the text. Null, or the message of the first refusal. Throws std::bad_alloc.
const char* AssignAll(std::string_view text) {
  while (!text.empty()) {
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) return "define_locale(): Missing '='";
    const size_t comma = text.find(',', equals);
    const std::string value(text.substr(equals + 1, comma == std::string_view::npos ? comma : comma - equals - 1));
    const char* refusal = Assign(text.substr(0, equals), value.c_str());
    if (refusal != nullptr) return refusal;
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
  }
  return nullptr;
}

int32_t ApplyAssignments(const char* str) {
  try {
    const char* refusal = AssignAll(str);
    if (refusal == nullptr) return BuildLocale();
    DebugPrint(TRACE_NLS, 1, "%s", refusal);
    return RESULT_REFUSED;
  } catch (const std::bad_alloc&) {
    return RESULT_NO_MEMORY;
  }
}

}  // namespace

int32_t setup_locale_from_env() {
  try {
    return SetUpLocale();
  } catch (const std::bad_alloc&) {
    return RESULT_NO_MEMORY;
  }
}

int32_t define_locale(const char* str) {
  DebugPrint(TRACE_NLS, 3, "define_locale(): str = [%s]", str);
  const int32_t code = ApplyAssignments(str);
  LeaveProcessLocale(RESTORED_CTYPE, RESTORED_COLLATE);
  return code;
}

}  // namespace vorlix
