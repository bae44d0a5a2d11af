// A hash table of positions: chains of links by the low bits of the hash (FNV-1a, mixed once), each chain in order.
#include "dll/base/nameindex.h"

#include <algorithm>

namespace vorlix {
namespace {

constexpr size_t LEAST_HEADS = 8;

}  // namespace

uint32_t NameIndex::Hash(std::string_view name) noexcept {
  uint32_t hash = HASH_OF_NOTHING;
  for (const char c : name) hash = Extended(hash, c);
  return Mixed(hash);
}

void NameIndex::Reserve(size_t count) {
  if (entries_.size() < count) entries_.resize(count);
  if (used_ < heads_.size()) return;
  heads_ = std::vector<Link>(std::max(LEAST_HEADS, 2 * heads_.size()));
  for (uint32_t position = 0; position < entries_.size(); ++position)
    if (entries_[position].next.position != UNUSED) Enter(position);
}

void NameIndex::Insert(uint32_t position, std::string_view name) noexcept {
  entries_[position].hash = Hash(name);
  Enter(position);
  ++used_;
}

void NameIndex::Erase(uint32_t position) noexcept {
  Entry& entry = entries_[position];
  if (entry.next.position == UNUSED) return;
  LinkTo(position) = entry.next;
  entry.next.position = UNUSED;
  --used_;
}

void NameIndex::Enter(uint32_t position) noexcept {
  Entry& entry = entries_[position];
  Link& link = LinkTo(position);
  entry.next = link;
  link = {entry.hash, position};
}

// The link that points to the position, or would.
NameIndex::Link& NameIndex::LinkTo(uint32_t position) noexcept {
  Link* link = &heads_[entries_[position].hash & Mask()];
  while (link->position != NONE && ComesBefore(link->position, position)) link = &entries_[link->position].next;
  return *link;
}

}  // namespace vorlix
