// Finding records by name in a list that keeps its order: the list is the truth, and an index stands beside it.
//
// Names compare as EqualNoCase compares them, and are hashed by the same folding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "dll/base/text.h"

namespace vorlix {

/// Positions by the hash of a name. Several positions may have the same name.
class NameIndex {
 public:
  /// Which of several positions comes first. Taking out again what came last is quick with the highest first.
  enum class Order { LowestFirst, HighestFirst };

  explicit NameIndex(Order order) : order_(order) {}

  /// Makes room for one more name, at a position below `count`; throws std::bad_alloc, with nothing changed.
  void Reserve(size_t count);

  /// Enters a position that is not in use, after Reserve.
  void Insert(uint32_t position, std::string_view name) noexcept;

  /// Takes a position out, if it is in use.
  void Erase(uint32_t position) noexcept;

  /// The positions in use.
  size_t Count() const { return used_; }

  /// Offers the positions whose name may be this one to `accept`, in order, until it returns true.
  template <class Accept>
  void Search(std::string_view name, Accept accept) const {
    SearchHash(Hash(name), accept);
  }

  /// The same for each name that `text` begins with, the empty one and the whole text included: shorter names first.
  template <class Accept>
  void SearchPrefixes(std::string_view text, Accept accept) const {
    uint32_t hash = HASH_OF_NOTHING;
    if (SearchHash(Mixed(hash), accept)) return;
    for (const char c : text) {
      hash = Extended(hash, c);
      if (SearchHash(Mixed(hash), accept)) return;
    }
  }

 private:
  static constexpr uint32_t NONE = UINT32_MAX;        // the end of a chain
  static constexpr uint32_t UNUSED = UINT32_MAX - 1;  // not in a chain

  // A link knows the hash of what it points to, so that nothing else is touched for names that differ.
  struct Link {
    uint32_t hash = 0;
    uint32_t position = NONE;
  };
  struct Entry {
    uint32_t hash = 0;
    Link next{0, UNUSED};
  };

  static constexpr uint32_t HASH_OF_NOTHING = 2166136261U;
  static uint32_t Extended(uint32_t hash, char c) noexcept {
    return (hash ^ static_cast<unsigned char>(FoldCase(c))) * 16777619U;
  }
  static uint32_t Mixed(uint32_t hash) noexcept { return hash ^ hash >> 15; }
  static uint32_t Hash(std::string_view name) noexcept;

  template <class Accept>
  bool SearchHash(uint32_t hash, Accept accept) const {
    if (heads_.empty()) return false;
    for (Link at = heads_[hash & Mask()]; at.position != NONE; at = entries_[at.position].next)
      if (at.hash == hash && accept(at.position)) return true;
    return false;
  }

  uint32_t Mask() const { return static_cast<uint32_t>(heads_.size() - 1); }
  bool ComesBefore(uint32_t a, uint32_t b) const { return order_ == Order::HighestFirst ? a > b : a < b; }
  Link& LinkTo(uint32_t position) noexcept;
  void Enter(uint32_t position) noexcept;

  Order order_;
  std::vector<Link> heads_;     // of chains in order; a power of two of them, no less than there are names
  std::vector<Entry> entries_;  // by position
  size_t used_ = 0;
};

/// A list of records with names, in the order in which they came. NAME_OF gives a record's name as a view, which must
/// not change while the record is in the list.
template <class Record, auto NAME_OF>
class NamedList {
 public:
  static constexpr size_t NONE = SIZE_MAX;

  /// Appends a record; throws std::bad_alloc, with the list as it was.
  void Append(Record record) {
    const size_t position = records_.size();
    index_.Reserve(position + 1);
    records_.push_back(std::move(record));
    const std::string_view name = NAME_OF(records_.back());
    if (Find(name) == NONE) index_.Insert(static_cast<uint32_t>(position), name);
  }

  void RemoveLast() noexcept {
    index_.Erase(static_cast<uint32_t>(records_.size() - 1));
    records_.pop_back();
  }

  /// The position of the first record with this name, or NONE.
  size_t Find(std::string_view name) const noexcept {
    size_t first = NONE;
    index_.Search(name, [&](uint32_t at) {
      if (!EqualNoCase(NAME_OF(records_[at]), name)) return false;
      first = at;
      return true;
    });
    return first;
  }

  /// Whether a name comes more than once.
  bool HasRepeated() const { return index_.Count() < records_.size(); }

  size_t size() const { return records_.size(); }
  bool empty() const { return records_.empty(); }
  Record& operator[](size_t position) { return records_[position]; }
  const Record& operator[](size_t position) const { return records_[position]; }
  auto begin() const { return records_.begin(); }
  auto end() const { return records_.end(); }

 private:
  std::vector<Record> records_;
  NameIndex index_{NameIndex::Order::LowestFirst};
};

}  // namespace vorlix
