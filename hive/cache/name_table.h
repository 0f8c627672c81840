// Named entries in the order of their names, found by place or by name; immutable once built. At most 65,535; the texts
// of all lie in one block, the entries in another one behind the places that names lead to.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "hive/cache/folded_name.h"

namespace hive {

// What every entry has, so that a look-up of a short name touches nothing else: the start of its folded name. Its texts
// begin with the whole one, filled up, if that is longer; its name follows.
struct Named {
  Folded_Start folded;
  std::uint32_t text_at = 0;
  std::uint32_t units = 0;

  bool is_short() const { return units <= Folded_Start::max_units; }
};

template <class Entry>
class Name_Table {
 public:
  // Entries come in the order of their stored names.
  Entry& add(std::u16string_view name) {
    Entry entry;
    entry.text_at = static_cast<std::uint32_t>(texts_.size());
    entry.units = static_cast<std::uint32_t>(name.size());
    const std::u16string folded = fold_case(name);
    entry.folded.set(folded);
    if (!entry.is_short()) texts_.append(folded).resize(entry.text_at + filled_up(name.size()));
    texts_.append(name);
    return added_.emplace_back(entry);
  }
  // A further text; where it begins.
  std::uint32_t add_text(std::u16string_view text) {
    const auto at = static_cast<std::uint32_t>(texts_.size());
    texts_.append(text);
    return at;
  }
  // After the last entry, before anything is asked.
  void finish() {
    texts_.shrink_to_fit();
    size_ = added_.size();
    std::size_t places = Line::places_in_one;
    while (places < size_ * 2) places *= 2;
    mask_ = static_cast<std::uint32_t>(places - 1);
    block_.resize(places / Line::places_in_one);
    block_.insert(block_.end(), added_.begin(), added_.end());
    block_.shrink_to_fit();
    added_ = {};
    for (std::size_t i = 0; i < size_; ++i) {
      const std::u16string_view name = folded((*this)[i]);
      const std::uint32_t hash = hash_blocks(name.data(), name.size());
      *free_place(hash) = {Place::tag_of(hash), static_cast<std::uint16_t>(i + 1)};
    }
  }

  std::size_t size() const { return size_; }
  const Entry& operator[](std::size_t place) const { return finder().entry(place); }
  std::u16string_view text(std::uint32_t at, std::size_t units) const { return {texts_.data() + at, units}; }
  std::u16string_view folded(const Entry& entry) const {
    return entry.is_short() ? std::u16string_view(entry.folded.units, entry.units) : text(entry.text_at, entry.units);
  }
  std::u16string_view name(const Entry& entry) const {
    const std::size_t behind = entry.is_short() ? 0 : filled_up(entry.units);
    return text(entry.text_at + static_cast<std::uint32_t>(behind), entry.units);
  }

  class Finder;
  // Finds by name, as long as the table lives.
  Finder finder() const { return Finder(*this); }
  const Entry* find(const Folded_Name& name) const { return finder().find(name); }

  std::size_t memory() const {
    return texts_.capacity() * sizeof(char16_t) + (added_.capacity() + block_.capacity()) * sizeof(Line);
  }

 private:
  struct Place {
    static std::uint16_t tag_of(std::uint32_t hash) { return static_cast<std::uint16_t>(hash >> 16); }

    std::uint16_t tag = 0;
    std::uint16_t number = 0;  // of the entry, from 1; 0 in an empty place
  };

  union alignas(64) Line {
    static constexpr std::size_t places_in_one = 64 / sizeof(Place);

    Line() : places{} {}
    Line(const Entry& its_entry) : entry(its_entry) {}

    Place places[places_in_one];
    Entry entry;
  };
  static_assert(sizeof(Line) == 64 && std::is_trivially_copyable_v<Entry>);

  static std::size_t lines_of_places(std::uint32_t mask) { return (mask + 1) / Line::places_in_one; }
  static const Place& place_in(const Line* block, std::size_t at) {
    return block[at / Line::places_in_one].places[at % Line::places_in_one];
  }

  Place* free_place(std::uint32_t hash) {
    std::size_t at = hash & mask_;
    while (place_in(block_.data(), at).number != 0) at = (at + 1) & mask_;
    return &block_[at / Line::places_in_one].places[at % Line::places_in_one];
  }

  std::u16string texts_;
  std::vector<Entry> added_;  // until all are
  std::vector<Line> block_;   // the places, in open addressing at most half full, and the entries
  std::size_t size_ = 0;
  std::uint32_t mask_ = 0;
};

// What a look-up needs of a table, small enough to lie beside what else is looked at.
template <class Entry>
class Name_Table<Entry>::Finder {
 public:
  Finder() = default;
  explicit Finder(const Name_Table& table)
      : block_(table.block_.data()), texts_(table.texts_.data()), mask_(table.mask_) {}

  explicit operator bool() const { return block_ != nullptr; }

  // Null when there is none of this name.
  const Entry* find(const Folded_Name& name) const {
    const std::uint16_t tag = Place::tag_of(name.hash());
    for (std::size_t at = name.hash() & mask_;; at = (at + 1) & mask_) {
      const Place& place = place_in(block_, at);
      if (place.number == 0) return nullptr;
      if (place.tag != tag) continue;
      const Entry& found = entry(place.number - 1u);
      if (name.is(found.folded, texts_ + found.text_at, found.units)) return &found;
    }
  }

  const Entry& entry(std::size_t place) const { return block_[lines_of_places(mask_) + place].entry; }

 private:
  const Line* block_ = nullptr;
  const char16_t* texts_ = nullptr;
  std::uint32_t mask_ = 0;
};

}  // namespace hive
