#include "tests/support/heap.h"

#include <cerrno>
#include <cstdlib>
#include <new>

namespace {

int countdown = -1;  // allocations still to come before the one that fails; below 0: none fails
bool all_after = false;
bool hit = false;

void* Allocate(std::size_t size) {
  if (countdown >= 0 && countdown-- == 0) {
    hit = true;
    if (all_after) countdown = 0;
    errno = ENOMEM;
    return nullptr;
  }
  return std::malloc(size != 0 ? size : 1);
}

void* AllocateOrThrow(std::size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace vorlix::test {

FailAllocation::FailAllocation(int nth, bool and_all_after) {
  countdown = nth;
  all_after = and_all_after;
  hit = false;
}

FailAllocation::~FailAllocation() { countdown = -1; }

bool FailAllocation::Hit() const { return hit; }

}  // namespace vorlix::test
