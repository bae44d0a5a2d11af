#include "dll/server/nls.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include "dll/base/debug.h"
#include "dll/base/text.h"
#include "dll/server/srvlocal.h"
#include "hostif/layout.h"

namespace vorlix {
namespace {

constexpr const char* C_LOCALE = "C";

// What a text of assignments can assign a language to.
struct AssignmentType {
  CText name;
  int category;
};
constexpr AssignmentType ASSIGNMENT_TYPES[] = {
    {"LANG", LC_ALL}, {"COLLATE", LC_COLLATE}, {"MONETARY", LC_MONETARY}, {"NUMERIC", LC_NUMERIC}, {"TIME", LC_TIME},
};

// The categories of the process, set one after the other; languages that are not available are warned of.
class CategorySetter {
 public:
  // False, with a warning by the name of its variable, when there is no such language.
  bool Set(int category, const char* variable, const std::string& language) {
    if (std::setlocale(category, language.c_str()) != nullptr) return true;
    if (!warned_) std::fputs("vorlix.dll: Warning!  The following language(s) are not available:\n", stderr);
    warned_ = true;
    std::fprintf(stderr, "%15s %s=%s\n", "", variable, language.c_str());
    DebugPrint(TRACE_NLS, 1, "set_locale(): %s=%s", variable, language.c_str());
    return false;
  }

  bool Warned() const { return warned_; }

 private:
  bool warned_ = false;
};

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

ResultCode ApplyLanguages(LanguageNames names) {
  CategorySetter setter;
  setter.Set(LC_ALL, "LANG", names.all);
  if (!setter.Set(LC_COLLATE, "LC_COLLATE", names.collate)) names.collate = C_LOCALE;
  if (!setter.Set(LC_CTYPE, "LC_CTYPE", names.ctype)) names.ctype = C_LOCALE;
  if (setter.Warned()) std::fputs("Continuing processing using default language.\n", stderr);
  const ResultCode code = BuildLocale();
  std::setlocale(LC_ALL, C_LOCALE);
  std::setlocale(LC_CTYPE, names.ctype.c_str());
  std::setlocale(LC_COLLATE, names.collate.c_str());
  FixNameLetters();
  return code;
}

// Carries out one assignment. Null, or the message that says why it is refused.
const char* Assign(std::string_view name, const char* language) {
  const auto* const type = std::ranges::find(ASSIGNMENT_TYPES, name, &AssignmentType::name);
  if (type == std::end(ASSIGNMENT_TYPES)) return "define_locale(): Bad type";
  DebugPrint(TRACE_NLS, 2, "define_locale(): setlocale(%s,%s)", type->name.CStr(), language);
  return std::setlocale(type->category, language) != nullptr ? nullptr : "define_locale(): setlocale() failed";
}

// Carries out all assignments of the text. Null, or the message of the first refusal. Throws std::bad_alloc.
const char* AssignAll(std::string_view text) {
  while (!text.empty()) {
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) return "define_locale(): Missing '='";
    const size_t comma = std::min(text.find(',', equals), text.size());
    const std::string language(text.substr(equals + 1, comma - equals - 1));
    const char* refusal = Assign(text.substr(0, equals), language.c_str());
    if (refusal != nullptr) return refusal;
    text.remove_prefix(std::min(comma + 1, text.size()));
  }
  return nullptr;
}

ResultCode ApplyAssignments(const char* str) {
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

ResultCode ChooseLanguageFromEnvironment() {
  try {
    return ApplyLanguages(NamesFromEnvironment());
  } catch (const std::bad_alloc&) {
    return RESULT_NO_MEMORY;
  }
}

ResultCode DescribeLanguages(const char* assignments) {
  DebugPrint(TRACE_NLS, 3, "define_locale(): str = [%s]", assignments);
  const ResultCode code = ApplyAssignments(assignments);
  std::setlocale(LC_ALL, C_LOCALE);
  return code;
}

}  // namespace vorlix
