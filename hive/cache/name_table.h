// Named entries in the order of their names, found by place or by name; immutable once built. The texts of all
// entries lie in one block.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hive/cache/folded_name.h"

namespace hive {

// What every entry has: where its folded name begins in the texts, filled up to whole quads; its name follows.
struct Named {
  std::uint32_t text_at = 0;
  std::uint32_t units = 0;
};

template <class Entry>
class Name_Table {
 public:
  // Entries come in the order of their stored names.
  Entry& add(std::u16string_view name) {
    Entry entry;
    entry.text_at = static_cast<std::uint32_t>(texts_.size());
    entry.units = static_cast<std::uint32_t>(name.size());
    for (char16_t unit : name) texts_.push_back(fold_case(unit));
    texts_.resize(entry.text_at + quads_of(name.size()) * Unit_Quad::units);
    texts_.append(name);
    return entries_.emplace_back(entry);
  }
  // A further text; where it begins.
  std::uint32_t add_text(std::u16string_view text) {
    const auto at = static_cast<std::uint32_t>(texts_.size());
    texts_.append(text);
    return at;
  }
  // After the last entry, before the first look-up.
  void finish() {
    texts_.shrink_to_fit();
    entries_.shrink_to_fit();
    std::size_t places = 4;
    while (places < entries_.size() * 2) places *= 2;
    places_.assign(places, {});
    for (std::uint32_t i = 0; i < entries_.size(); ++i) {
      const std::uint32_t hash = hash_quads(texts_.data() + entries_[i].text_at, entries_[i].units);
      *free_place(hash) = {hash, i + 1};
    }
  }

  std::size_t size() const { return entries_.size(); }
  const Entry& operator[](std::size_t place) const { return entries_[place]; }
  std::u16string_view text(std::uint32_t at, std::size_t units) const { return {texts_.data() + at, units}; }
  std::u16string_view folded(const Entry& entry) const { return text(entry.text_at, entry.units); }
  std::u16string_view name(const Entry& entry) const {
    return text(entry.text_at + static_cast<std::uint32_t>(quads_of(entry.units) * Unit_Quad::units), entry.units);
  }

  class Finder;
  // Finds by name, as long as the table lives.
  Finder finder() const { return Finder(*this); }
  const Entry* find(const Folded_Name& name) const { return finder().find(name); }

  std::size_t memory() const {
    return texts_.capacity() * sizeof(char16_t) + entries_.capacity() * sizeof(Entry) +
           places_.capacity() * sizeof(Place);
  }

 private:
  struct Place {
    std::uint32_t hash = 0;
    std::uint32_t number = 0;  // of the entry, from 1; 0 in an empty place
  };

  Place* free_place(std::uint32_t hash) {
    const std::size_t mask = places_.size() - 1;
    std::size_t at = hash & mask;
    while (places_[at].number != 0) at = (at + 1) & mask;
    return &places_[at];
  }

  std::u16string texts_;
  std::vector<Entry> entries_;
  std::vector<Place> places_;  // open addressing, at most half full
};

// What a look-up needs of a table, small enough to lie beside what else is looked at.
template <class Entry>
class Name_Table<Entry>::Finder {
 public:
  Finder() = default;
  explicit Finder(const Name_Table& table)
      : places_(table.places_.data()),
        entries_(table.entries_.data()),
        texts_(table.texts_.data()),
        mask_(table.places_.size() - 1) {}

  // Null when there is none of this name.
  const Entry* find(const Folded_Name& name) const {
    for (std::size_t at = name.hash() & mask_; places_[at].number != 0; at = (at + 1) & mask_) {
      if (places_[at].hash != name.hash()) continue;
      const Entry& entry = entries_[places_[at].number - 1];
      if (name.is(texts_ + entry.text_at, entry.units)) return &entry;
    }
    return nullptr;
  }

 private:
  const Place* places_ = nullptr;
  const Entry* entries_ = nullptr;
  const char16_t* texts_ = nullptr;
  std::size_t mask_ = 0;
};

}  // namespace hive
