// The named variables: a table that grows by 100 entries and never shrinks.
//
// A stored name matches an argument that is equal to it or begins with it, byte for byte; of several that match the
// first entry wins, for setting and forgetting as well as for reading. An index of the names finds it: a search through
// the entries would cost more than the call around it from somewhat more than a thousand variables on.
#include <algorithm>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "dll/base/nameindex.h"
#include "dll/base/text.h"
#include "dll/server/functions.h"

namespace vorlix {
namespace {

constexpr uint32_t GROWTH = 100;
constexpr uint32_t NONE = UINT32_MAX;

struct NamedValue {
  OwnedText name;  // null: the entry is free
  std::string value;
};

class VariableTable {
 public:
  // The entry that a name matches, or NONE.
  uint32_t Find(std::string_view name) const {
    uint32_t first = NONE;
    names_.SearchPrefixes(name, [&](uint32_t position) {
      if (name.starts_with(entries_[position].name.get())) first = std::min(first, position);
      return false;
    });
    return first;
  }

  // Makes the first free entry one of this name with an empty value. Throws std::bad_alloc, with nothing added.
  uint32_t Add(std::string_view name) {
    if (free_.empty()) Grow();
    const uint32_t position = free_.front();
    names_.Reserve(entries_.size());
    OwnedText copy = CopyText(BeforeNul(name));
    if (copy == nullptr) throw std::bad_alloc();
    names_.Insert(position, copy.get());
    entries_[position].name = std::move(copy);
    std::pop_heap(free_.begin(), free_.end(), std::greater());
    free_.pop_back();
    return position;
  }

  void Free(uint32_t position) noexcept {
    names_.Erase(position);
    std::exchange(entries_[position], {});  // releases the value, which assigning alone would not
    free_.push_back(position);
    std::push_heap(free_.begin(), free_.end(), std::greater());
  }

  std::string& ValueAt(uint32_t position) { return entries_[position].value; }

 private:
  void Grow() {
    const auto count = static_cast<uint32_t>(entries_.size());
    free_.reserve(count + GROWTH);
    entries_.resize(count + GROWTH);
    for (uint32_t position = count; position < entries_.size(); ++position) free_.push_back(position);
  }

  std::vector<NamedValue> entries_;
  std::vector<uint32_t> free_;  // a heap with the first free entry in front, and room for every entry
  NameIndex names_{NameIndex::Order::LowestFirst};
};

VariableTable variables;

}  // namespace

int32_t v_Set(In<String> name, In<String> value) {
  try {
    const uint32_t found = variables.Find(name.View());
    std::string& stored = variables.ValueAt(found != NONE ? found : variables.Add(name.View()));
    std::exchange(stored, {});
    stored = value.View();
    return RESULT_OK;
  } catch (const std::bad_alloc&) {
    return RESULT_NO_MEMORY;
  }
}

int32_t v_Unset(In<String> name) {
  const uint32_t found = variables.Find(name.View());
  if (found != NONE) variables.Free(found);
  return RESULT_OK;
}

int32_t v_Get(In<String> name, Out<String> value) {
  const uint32_t found = variables.Find(name.View());
  if (found != NONE) return DllStrFromC(variables.ValueAt(found), value);
  value.len = 0;
  return RESULT_OK;
}

}  // namespace vorlix
