// The list functions: up to ten named lists of byte strings, each with a cursor.
//
// A handle is the slot's number plus one. The cursor is an element of its list or none, which is the list's end here.
#include <algorithm>
#include <array>
#include <list>
#include <memory>
#include <new>
#include <string>

#include "dll/base/text.h"
#include "dll/server/functions.h"

namespace vorlix {
namespace {

enum [[nodiscard]] ListResult : int32_t{
    LIST_OK = 0,
    LIST_TOO_SHORT = RESULT_TOO_SHORT,
    LIST_FULL = 2000,  // all lists are in use
    LIST_NO_MEMORY = 2001,
    LIST_INVALID = 2002,  // no list has this handle, or an index below 1
    LIST_NO_CURRENT = 2003,
};

enum Move : int32_t { MOVE_NONE = 0, MOVE_FIRST = 1, MOVE_LAST = 2, MOVE_NEXT = 3, MOVE_PREV = 4 };

struct List {
  std::string name;
  std::list<std::string> elements;
  std::list<std::string>::iterator current = elements.end();

  bool HasCurrent() const { return current != elements.end(); }
};

std::array<std::unique_ptr<List>, 10> slots;

// The list of a handle; null when the handle is none.
List* FindList(int32_t handle) {
  if (handle < 1 || static_cast<size_t>(handle) > slots.size()) return nullptr;
  return slots[static_cast<size_t>(handle - 1)].get();
}

ListResult MoveCursor(List& list, int32_t move) {
  const bool needs_current = move == MOVE_NEXT || move == MOVE_PREV;
  if (needs_current && !list.HasCurrent()) return LIST_NO_CURRENT;
  switch (move) {
    case MOVE_FIRST: list.current = list.elements.begin(); break;
    case MOVE_LAST: list.current = list.elements.empty() ? list.elements.end() : std::prev(list.elements.end()); break;
    case MOVE_NEXT: ++list.current; break;
    case MOVE_PREV:
      list.current = list.current == list.elements.begin() ? list.elements.end() : std::prev(list.current);
      break;
    default: break;
  }
  return LIST_OK;
}

ListResult MoveToIndex(List& list, int32_t index) {
  if (index < 1) return LIST_INVALID;
  const bool exists = static_cast<size_t>(index) <= list.elements.size();
  list.current = exists ? std::next(list.elements.begin(), index - 1) : list.elements.end();
  return LIST_OK;
}

void ReportEnd(const List& list, IntByReference eol) { eol.Set(list.HasCurrent() ? 0 : 1); }

ListResult ReadCurrent(const List& list, DllString& data, IntByReference eol) {
  ReportEnd(list, eol);
  return !list.HasCurrent() || DllStrFromC(*list.current, data) == RESULT_OK ? LIST_OK : LIST_TOO_SHORT;
}

// Runs `work` on the list of a handle, when there is one.
template <class Work>
ListResult WithList(int32_t handle, Work work) {
  List* list = FindList(handle);
  if (list == nullptr) return LIST_INVALID;
  try {
    return work(*list);
  } catch (const std::bad_alloc&) {
    return LIST_NO_MEMORY;
  }
}

}  // namespace

int32_t l_CreateList(Out<IntByReference> hdl, In<String> name) {
  hdl.Set(0);
  const auto slot = std::find(slots.begin(), slots.end(), nullptr);
  if (slot == slots.end()) return LIST_FULL;
  try {
    auto list = std::make_unique<List>();
    list->name = BeforeNul(name.View());
    *slot = std::move(list);
  } catch (const std::bad_alloc&) {
    return LIST_NO_MEMORY;
  }
  hdl.Set(static_cast<int32_t>(slot - slots.begin()) + 1);
  return RESULT_OK;
}

int32_t l_Name(IntByValue hdl, Out<String> name) {
  return WithList(hdl,
                  [&](List& list) { return DllStrFromC(list.name, name) == RESULT_OK ? LIST_OK : LIST_TOO_SHORT; });
}

int32_t l_HdlByName(zString name, Out<IntByReference> hdl) {
  const auto slot = std::find_if(slots.begin(), slots.end(), [name](const std::unique_ptr<List>& list) {
    return list != nullptr && EqualNoCase(list->name, name);
  });
  hdl.Set(slot == slots.end() ? 0 : static_cast<int32_t>(slot - slots.begin()) + 1);
  return RESULT_OK;
}

int32_t l_DeleteList(InOut<IntByReference> hdl) {
  const int32_t handle = hdl.Get();
  if (FindList(handle) == nullptr) return LIST_INVALID;
  slots[static_cast<size_t>(handle - 1)].reset();
  hdl.Set(0);
  return RESULT_OK;
}

int32_t l_DeleteAll() {
  for (std::unique_ptr<List>& slot : slots) slot.reset();
  return RESULT_OK;
}

int32_t l_Add(IntByValue hdl, In<String> data) {
  return WithList(hdl, [&](List& list) {
    list.elements.emplace_back(data.View());
    return LIST_OK;
  });
}

int32_t l_Ins(IntByValue hdl, In<String> data) {
  return WithList(hdl, [&](List& list) -> ListResult {
    std::list<std::string> made;
    made.emplace_back(data.View());
    if (!list.HasCurrent()) return LIST_NO_CURRENT;
    const auto element = made.begin();
    list.elements.splice(list.current, made);
    list.current = element;
    return LIST_OK;
  });
}

int32_t l_Set(IntByValue hdl, In<String> data) {
  return WithList(hdl, [&](List& list) -> ListResult {
    if (!list.HasCurrent()) return LIST_NO_CURRENT;
    *list.current = std::string(data.View());
    return LIST_OK;
  });
}

int32_t l_Del(IntByValue hdl, Out<IntByReference> eol) {
  return WithList(hdl, [&](List& list) -> ListResult {
    if (!list.HasCurrent()) return LIST_NO_CURRENT;
    list.current = list.elements.erase(list.current);
    ReportEnd(list, eol);
    return LIST_OK;
  });
}

// ---- Reading --------------------------------------------------------------------------------------------------------

int32_t l_Get(IntByValue hdl, IntByValue mode, Out<String> data, Out<IntByReference> eol) {
  return WithList(hdl, [&](List& list) {
    const ListResult code = MoveCursor(list, mode);
    return code == LIST_OK ? ReadCurrent(list, data, eol) : code;
  });
}

int32_t l_GetCurr(IntByValue hdl, Out<String> data, Out<IntByReference> eol) {
  return l_Get(hdl, MOVE_NONE, data, eol);
}
int32_t l_GetFirst(IntByValue hdl, Out<String> data, Out<IntByReference> eol) {
  return l_Get(hdl, MOVE_FIRST, data, eol);
}
int32_t l_GetLast(IntByValue hdl, Out<String> data, Out<IntByReference> eol) {
  return l_Get(hdl, MOVE_LAST, data, eol);
}
int32_t l_GetNext(IntByValue hdl, Out<String> data, Out<IntByReference> eol) {
  return l_Get(hdl, MOVE_NEXT, data, eol);
}
int32_t l_GetPrev(IntByValue hdl, Out<String> data, Out<IntByReference> eol) {
  return l_Get(hdl, MOVE_PREV, data, eol);
}

int32_t l_GetIdx(IntByValue hdl, IntByValue idx, Out<String> data, Out<IntByReference> eol) {
  return WithList(hdl, [&](List& list) {
    const ListResult code = MoveToIndex(list, idx);
    return code == LIST_OK ? ReadCurrent(list, data, eol) : code;
  });
}

// ---- Moving without reading -----------------------------------------------------------------------------------------

int32_t l_Seek(IntByValue hdl, IntByValue mode, Out<IntByReference> eol) {
  return WithList(hdl, [&](List& list) {
    const ListResult code = MoveCursor(list, mode);
    if (code == LIST_OK) ReportEnd(list, eol);
    return code;
  });
}

int32_t l_SeekCurr(IntByValue hdl, Out<IntByReference> eol) { return l_Seek(hdl, MOVE_NONE, eol); }
int32_t l_SeekFirst(IntByValue hdl, Out<IntByReference> eol) { return l_Seek(hdl, MOVE_FIRST, eol); }
int32_t l_SeekLast(IntByValue hdl, Out<IntByReference> eol) { return l_Seek(hdl, MOVE_LAST, eol); }
int32_t l_SeekNext(IntByValue hdl, Out<IntByReference> eol) { return l_Seek(hdl, MOVE_NEXT, eol); }
int32_t l_SeekPrev(IntByValue hdl, Out<IntByReference> eol) { return l_Seek(hdl, MOVE_PREV, eol); }

int32_t l_SeekIdx(IntByValue hdl, IntByValue idx, Out<IntByReference> eol) {
  return WithList(hdl, [&](List& list) {
    const ListResult code = MoveToIndex(list, idx);
    if (code == LIST_OK) ReportEnd(list, eol);
    return code;
  });
}

}  // namespace vorlix
