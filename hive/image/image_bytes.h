// The small parts of an image's bytes that its writer and its reader share.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "hive/image/image.h"

namespace hive {

inline constexpr std::string_view image_magic{"KVIMAGE\n", 8};
inline constexpr unsigned char tag_key = 0x01;
inline constexpr unsigned char tag_value = 0x02;
inline constexpr unsigned char tag_end = 0x03;
inline constexpr std::size_t max_text_units = 0xFFFF;

// Appends a number, high byte first.
template <class Number>
void put_number(std::vector<unsigned char>& bytes, Number number) {
  for (int shift = 8 * (static_cast<int>(sizeof(Number)) - 1); shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<unsigned char>(number >> shift));
  }
}

// SHA-256 over an image without the bytes of the hash itself.
std::array<unsigned char, image_hash_size> image_hash(std::span<const unsigned char> image);

}  // namespace hive
