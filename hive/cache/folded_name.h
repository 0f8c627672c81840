// A name as look-ups in memory compare it: its case-folded units and a hash of them. Folded texts are filled up with
// zeros to whole blocks; the units are folded, hashed and compared a block at a time while they are ASCII.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "hive/cache/unit_block.h"
#include "hive/case_fold.h"

namespace hive {

// The length of a text that is filled up.
constexpr std::size_t filled_up(std::size_t units) {
  return (units + Unit_Block::units - 1) / Unit_Block::units * Unit_Block::units;
}

inline bool equal_blocks(const char16_t* a, const char16_t* b, std::size_t units) {
  for (std::size_t i = 0; i < units; i += Unit_Block::units) {
    if (!(Unit_Block(a + i) == Unit_Block(b + i))) return false;
  }
  return true;
}

inline std::uint32_t hash_blocks(const char16_t* folded, std::size_t units) {
  std::uint64_t hash = units;
  for (std::size_t i = 0; i < units; i += Unit_Block::units) hash = Unit_Block(folded + i).mixed_into(hash);
  return static_cast<std::uint32_t>(hash);
}

// The start of a folded name, whole when the name is short, filled up with zeros.
struct Folded_Start {
  static constexpr std::size_t max_units = 2 * Unit_Block::units;

  void set(std::u16string_view folded) { std::copy_n(folded.begin(), std::min(folded.size(), max_units), units); }

  char16_t units[max_units] = {};
};

// On the stack. Longer names than it takes are not looked up in memory.
class Folded_Name {
 public:
  static constexpr std::size_t max_units = 256;

  explicit Folded_Name(std::u16string_view name) {
    if (name.size() > max_units) return;
    size_ = name.size();
    fits_ = true;
    std::uint64_t hash = size_;
    bool is_ascii = true;
    std::size_t i = 0;
    for (; i + Unit_Block::units <= size_; i += Unit_Block::units) {
      is_ascii &= take(Unit_Block(name.data() + i), i, hash);
    }
    if (i < size_) is_ascii &= take(Unit_Block(name.data() + i, size_ - i), i, hash);
    for (i = filled_up(size_); i < Folded_Start::max_units; i += Unit_Block::units) Unit_Block().store(units_ + i);
    hash_ = static_cast<std::uint32_t>(hash);
    if (!is_ascii) fold_slowly(name);
  }

  bool fits() const { return fits_; }
  std::u16string_view units() const { return {units_, size_}; }
  // Whether this is the name of so many units that starts so, and whose folded text, filled up, stands at `folded` if
  // it is longer than the start.
  bool is(const Folded_Start& start, const char16_t* folded, std::size_t units) const {
    if (units != size_ || !equal_blocks(units_, start.units, Folded_Start::max_units)) return false;
    return size_ <= Folded_Start::max_units || equal_blocks(units_, folded, size_);
  }
  std::uint32_t hash() const { return hash_; }

 private:
  // False when the block is not all ASCII; what is taken is then worth nothing.
  bool take(Unit_Block block, std::size_t at, std::uint64_t& hash) {
    const bool is_ascii = block.is_ascii();
    block.fold_ascii();
    block.store(units_ + at);
    hash = block.mixed_into(hash);
    return is_ascii;
  }
  void fold_slowly(std::u16string_view name) {
    std::transform(name.begin(), name.end(), units_, [](char16_t unit) { return fold_case(unit); });
    hash_ = hash_blocks(units_, size_);
  }

  char16_t units_[max_units];  // a whole number of blocks
  std::size_t size_ = 0;
  std::uint32_t hash_ = 0;
  bool fits_ = false;
};

}  // namespace hive
