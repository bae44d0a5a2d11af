#include "tools/buildid.h"

#include <elf.h>
#include <link.h>

#include <cstring>
#include <string_view>

#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

constexpr size_t SHOWN_BYTES = 6;

size_t Padded(size_t size) { return (size + 3) & ~size_t{3}; }

// The contents of the note with the number among the notes of a segment; empty when it is not there.
std::string_view FindNote(std::string_view notes) {
  constexpr std::string_view OWNER("GNU\0", 4);
  ElfW(Nhdr) header;
  while (notes.size() >= sizeof header) {
    std::memcpy(&header, notes.data(), sizeof header);
    notes.remove_prefix(sizeof header);
    const std::string_view owner = notes.substr(0, header.n_namesz);
    notes.remove_prefix(std::min(Padded(header.n_namesz), notes.size()));
    const std::string_view contents = notes.substr(0, header.n_descsz);
    notes.remove_prefix(std::min(Padded(header.n_descsz), notes.size()));
    if (header.n_type == NT_GNU_BUILD_ID && owner == OWNER) return contents;
  }
  return {};
}

// Looks at the program alone, which comes first.
int TakeId(dl_phdr_info* object, size_t, void* result) {
  for (const ElfW(Phdr)* part = object->dlpi_phdr; part != object->dlpi_phdr + object->dlpi_phnum; ++part) {
    if (part->p_type != PT_NOTE) continue;
    const auto* const begin = reinterpret_cast<const char*>(object->dlpi_addr + part->p_vaddr);
    const std::string_view id = FindNote({begin, part->p_memsz});
    if (!id.empty()) *static_cast<std::string*>(result) = Hex(id.substr(0, SHOWN_BYTES));
  }
  return 1;
}

}  // namespace

std::string BuildId() {
  std::string id = "unknown";
  dl_iterate_phdr(TakeId, &id);
  return id;
}

}  // namespace vorlix::tool
