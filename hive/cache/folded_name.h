// A name as look-ups in memory compare it: its case-folded units and a hash of them. Four units at a time are
// folded while they are ASCII, hashed and compared; the last four are filled up with zeros.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "hive/case_fold.h"

namespace hive {

// Four units as one number.
class Unit_Quad {
 public:
  static constexpr std::size_t units = 4;

  explicit Unit_Quad(const char16_t* text) { std::memcpy(&bits_, text, sizeof bits_); }
  // The last units of a text, less than four.
  Unit_Quad(const char16_t* text, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) bits_ |= static_cast<std::uint64_t>(text[i]) << (i * 16);
  }
  bool operator==(const Unit_Quad&) const = default;

  bool is_ascii() const { return (bits_ & 0xFF80FF80FF80FF80) == 0; }
  // Of ASCII: a lower-case letter is one that reaches 0x80 when what lies below "a" is added, and does not when
  // what lies up to "z" is; it is 0x20 above its upper case.
  void fold_ascii() {
    const std::uint64_t from_a = bits_ + 0x001F001F001F001F;
    const std::uint64_t beyond_z = bits_ + 0x0005000500050005;
    bits_ -= (from_a & ~beyond_z & 0x0080008000800080) >> 2;
  }
  void store(char16_t* text) const { std::memcpy(text, &bits_, sizeof bits_); }
  std::uint64_t mixed_into(std::uint64_t hash) const {
    hash = (hash ^ bits_) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 32;
  }

 private:
  std::uint64_t bits_ = 0;
};

constexpr std::size_t quads_of(std::size_t units) { return (units + Unit_Quad::units - 1) / Unit_Quad::units; }

// Of texts that are filled up with zeros.
inline bool equal_quads(const char16_t* a, const char16_t* b, std::size_t quads) {
  for (std::size_t i = 0; i < quads * Unit_Quad::units; i += Unit_Quad::units) {
    if (!(Unit_Quad(a + i) == Unit_Quad(b + i))) return false;
  }
  return true;
}

inline std::uint32_t hash_quads(const char16_t* folded, std::size_t units) {
  std::uint64_t hash = units;
  for (std::size_t i = 0; i < units; i += Unit_Quad::units) hash = Unit_Quad(folded + i).mixed_into(hash);
  return static_cast<std::uint32_t>(hash);
}

// On the stack. Longer names than it takes are not looked up in memory.
class Folded_Name {
 public:
  static constexpr std::size_t max_units = 256;

  explicit Folded_Name(std::u16string_view name) {
    if (name.size() > max_units) return;
    size_ = name.size();
    fits_ = true;
    std::uint64_t hash = size_;
    for (std::size_t i = 0; i < size_; i += Unit_Quad::units) {
      const std::size_t left = size_ - i;
      Unit_Quad quad = left < Unit_Quad::units ? Unit_Quad(name.data() + i, left) : Unit_Quad(name.data() + i);
      if (!quad.is_ascii()) {
        fold_slowly(name);
        return;
      }
      quad.fold_ascii();
      quad.store(units_ + i);
      hash = quad.mixed_into(hash);
    }
    hash_ = static_cast<std::uint32_t>(hash);
  }

  bool fits() const { return fits_; }
  std::u16string_view units() const { return {units_, size_}; }
  // Whether a folded text of as many units, filled up with zeros, is this name.
  bool is(const char16_t* folded, std::size_t units) const {
    return units == size_ && equal_quads(units_, folded, quads_of(size_));
  }
  std::uint32_t hash() const { return hash_; }

 private:
  void fold_slowly(std::u16string_view name) {
    std::size_t i = 0;
    for (; i < name.size(); ++i) units_[i] = fold_case(name[i]);
    for (; i % Unit_Quad::units != 0; ++i) units_[i] = 0;
    hash_ = hash_quads(units_, size_);
  }

  char16_t units_[max_units];  // a whole number of quads
  std::size_t size_ = 0;
  std::uint32_t hash_ = 0;
  bool fits_ = false;
};

}  // namespace hive
