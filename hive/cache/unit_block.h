// Eight units at once, as one vector of the machine.
#pragma once

#include <cstdint>
#include <cstring>

namespace hive {

class Unit_Block {
 public:
  static constexpr std::size_t units = 8;

  // Zeros.
  Unit_Block() : units_{} {}
  explicit Unit_Block(const char16_t* text) { std::memcpy(&units_, text, sizeof units_); }
  // The last units of a text, less than eight, filled up with zeros.
  Unit_Block(const char16_t* text, std::size_t size) {
    constexpr std::size_t half = units / 2;
    const Halves halves = size < half ? Halves{few(text, size), 0} : Halves{four(text), few(text + half, size - half)};
    units_ = reinterpret_cast<Vector>(halves);
  }

  bool operator==(const Unit_Block& other) const { return is_zero(units_ ^ other.units_); }
  bool is_ascii() const { return is_zero(units_ & ~0x7F); }
  // Of ASCII.
  void fold_ascii() { units_ -= (units_ >= 'a') & (units_ <= 'z') & ('a' - 'A'); }
  void store(char16_t* text) const { std::memcpy(text, &units_, sizeof units_); }
  std::uint64_t mixed_into(std::uint64_t hash) const {
    const Halves halves = reinterpret_cast<Halves>(units_);
    hash = (hash ^ halves[0]) * 0x9E3779B97F4A7C15 + halves[1] * 0xC2B2AE3D27D4EB4F;
    return hash ^ hash >> 32;
  }

 private:
  using Vector = std::int16_t __attribute__((vector_size(16)));
  using Halves = std::uint64_t __attribute__((vector_size(16)));

  static bool is_zero(Vector vector) {
    const Halves halves = reinterpret_cast<Halves>(vector);
    return (halves[0] | halves[1]) == 0;
  }
  static std::uint64_t four(const char16_t* text) {
    std::uint64_t bits;
    std::memcpy(&bits, text, sizeof bits);
    return bits;
  }
  // Less than four.
  static std::uint64_t few(const char16_t* text, std::size_t size) {
    std::uint32_t two = 0;
    if (size >= 2) std::memcpy(&two, text, sizeof two);
    if (size % 2 == 0) return two;
    return two | static_cast<std::uint64_t>(text[size - 1]) << ((size - 1) * 16);
  }

  Vector units_;
};

}  // namespace hive
