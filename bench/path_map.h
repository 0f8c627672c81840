// The floor of reading a value: the same numbers in a hash map by their whole paths, which ignores case.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>

#include "bench/settings.h"

namespace bench {

// Eight bytes at a time: a fair opponent.
struct Ignore_Case {
  static constexpr std::uint64_t lower_case_bits = 0x2020202020202020;

  static std::uint64_t eight_bytes(const char* text, std::size_t size) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, text, size < 8 ? size : 8);
    return bytes | lower_case_bits;
  }
  static bool equal_byte(unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); }

  std::size_t operator()(const std::string& text) const {
    std::uint64_t hash = text.size();
    for (std::size_t i = 0; i < text.size(); i += 8) {
      hash = (hash ^ eight_bytes(text.data() + i, text.size() - i)) * 0x9E3779B97F4A7C15u;
      hash ^= hash >> 32;
    }
    return hash;
  }
  bool operator()(const std::string& a, const std::string& b) const {
    if (a.size() != b.size()) return false;
    if (std::memcmp(a.data(), b.data(), a.size()) == 0) return true;
    return std::equal(a.begin(), a.end(), b.begin(), &equal_byte);
  }
};

using Path_Map = std::unordered_map<std::string, DWORD, Ignore_Case, Ignore_Case>;

inline const Path_Map& whole_paths() {
  static const Path_Map map = [] {
    Path_Map filled;
    for (unsigned i = 0; i < key_count; ++i) {
      for (unsigned j = 0; j < values_of_a_key; ++j) filled[path_of(i, j)] = number_of(i, j);
    }
    return filled;
  }();
  return map;
}

}  // namespace bench
