// The bytes of an image. All numbers are big-endian; u8 to u64 are unsigned numbers of that many bits.
//
//   image    = magic version identity number base-identity base-number length keys values hash tree
//   magic    = "KVIMAGE" 0x0A            version = u32, 1
//   identity = 16 bytes, the hive's      number  = u64, of its last change; base-... the same of the image
//                                                  that the hive was itself last imported from, else zeros
//   length   = u64, bytes of the tree    keys, values = u64, how many of them the tree has
//   hash     = 32 bytes, SHA-256 over everything before it and then over the tree
//   tree     = key                       its name is empty
//   key      = 0x01 text(name) text(class) written:u64 mode:u32 owner:u32 group:u32 flags:u32
//              value* key* 0x03          volatile keys are left out
//   value    = 0x02 text(name) type:u32 size:u32 data
//   text     = count:u16 units           16-bit units, no terminator
//
// Nothing follows the tree. A reader takes nothing from an image before its hash is right, follows no length
// beyond the end, and allocates nothing by a length that it read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hive/tree.h"

namespace hive {

inline constexpr std::size_t image_hash_size = 32;
inline constexpr std::size_t image_head_size = 8 + 4 + 2 * (16 + 8) + 3 * 8 + image_hash_size;
inline constexpr std::uint32_t image_version = 1;
inline constexpr std::size_t max_image_depth = 65536;

static_assert(image_head_size == 116);

// The fields of an image's first bytes.
struct Image_Prologue {
  Image_Head head;
  std::uint64_t length = 0;
  std::uint64_t keys = 0;
  std::uint64_t values = 0;
  std::array<unsigned char, image_hash_size> hash{};
};

// Takes a tree and makes an image of it. too_large for a text, value or depth that no image carries.
class Image_Writer : public Tree_Visitor {
 public:
  Image_Writer();

  Status begin_key(const Key_Record& key) override;
  Status value(const Value_Record& value) override;
  Status end_key() override;

  // The whole image; the writer is empty afterwards.
  std::vector<unsigned char> finish(const Image_Head& head);

 private:
  Status put_text(std::u16string_view text);

  std::vector<unsigned char> bytes_;  // the prologue's room first
  std::uint64_t keys_ = 0;
  std::uint64_t values_ = 0;
  std::size_t depth_ = 0;
};

// The prologue alone, from at least image_head_size bytes: not_a_hive without the magic, newer_version,
// damaged for too few bytes. The hash is not checked.
Status read_image_prologue(std::span<const unsigned char> bytes, Image_Prologue* out_prologue);

// Checks that the bytes are one whole image with the right hash.
Status check_image(std::span<const unsigned char> image, Image_Prologue* out_prologue);

// check_image, then the tree to the visitor. damaged when the tree does not hold together: the visitor may
// then have seen a part of it. The visitor's own status is passed back.
Status read_image(std::span<const unsigned char> image, Image_Head* out_head, Tree_Visitor& visitor);

}  // namespace hive
