// The named variables: a table that grows by 100 entries and never shrinks.
//
// A stored name matches an argument that is equal to it or begins with it, byte for byte; the first entry that matches
// wins, for setting and forgetting as well as for reading.
#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "dll/shared/text.h"

namespace vorlix {
namespace {

constexpr size_t GROWTH = 100;

struct Variable {
  OwnedText name;  // null: the entry is free
  std::string value;
};

std::vector<Variable> variables;

bool Matches(const Variable& variable, std::string_view name) {
  return variable.name != nullptr && name.starts_with(variable.name.get());
}

Variable* FindVariable(const DllString& name) {
  const auto entry = std::find_if(variables.begin(), variables.end(),
                                  [&name](const Variable& variable) { return Matches(variable, name.View()); });
  return entry == variables.end() ? nullptr : &*entry;
}

// The first free entry, of a grown table when there is none. Throws std::bad_alloc.
Variable& FreeVariable() {
  const auto entry = std::find_if(variables.begin(), variables.end(),
                                  [](const Variable& variable) { return variable.name == nullptr; });
  if (entry != variables.end()) return *entry;
  const size_t count = variables.size();
  variables.resize(count + GROWTH);
  return variables[count];
}

// The variable that a name matches, else a new one of that name with an empty value. Throws std::bad_alloc.
Variable& FindOrAddVariable(const DllString& name) {
  if (Variable* found = FindVariable(name)) return *found;
  Variable& added = FreeVariable();
  added.name = CopyText(name.View().substr(0, name.View().find('\0')));
  if (added.name == nullptr) throw std::bad_alloc();
  return added;
}

}  // namespace

int32_t v_Set(In<String> name, In<String> value) {
  try {
    Variable& variable = FindOrAddVariable(name);
    variable.value = std::string();
    variable.value = value.View();
    return RESULT_OK;
  } catch (const std::bad_alloc&) {
    return RESULT_NO_MEMORY;
  }
}

int32_t v_Unset(In<String> name) {
  if (Variable* variable = FindVariable(name)) *variable = Variable();
  return RESULT_OK;
}

int32_t v_Get(In<String> name, Out<String> value) {
  const Variable* variable = FindVariable(name);
  return DllStrFromC(variable != nullptr ? std::string_view(variable->value) : std::string_view(), value);
}

}  // namespace vorlix
