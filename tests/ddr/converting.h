// What a converter writes for an item, and what it reads, through buffers between guard pages.
#ifndef KELVANE_TESTS_DDR_CONVERTING_H
#define KELVANE_TESTS_DDR_CONVERTING_H

#include <gtest/gtest.h>
#include <kelvane/ddr.h>
#include <string.h>

#include "tests/support/guarded_block.h"

namespace kvtest {

using Bytes = std::vector<unsigned char>;

inline DDR open_on(Guarded_Block& block, ddr_op op) {
  DDR stream;
  ddrmem_create(&stream, block.data(), static_cast<int>(block.size()), op);
  return stream;
}

// The bytes that stand for the item, in a buffer that has room for exactly as many.
template <class Item>
Bytes encoded(int (*converter)(DDR*, Item*), Item item, size_t size) {
  Guarded_Block block(size);
  DDR stream = open_on(block, DDR_ENCODE);
  EXPECT_EQ(converter(&stream, &item), 1);
  EXPECT_EQ(stream.next, stream.end);
  return block.bytes();
}

// Reads exactly these bytes into the item.
template <class Item>
void decode_into(int (*converter)(DDR*, Item*), const Bytes& bytes, Item* item) {
  Guarded_Block block(bytes);
  block.make_read_only();
  DDR stream = open_on(block, DDR_DECODE);
  EXPECT_EQ(converter(&stream, item), 1);
  EXPECT_EQ(stream.next, stream.end);
}

// An item of which every byte is 0xAA, also those between fields.
template <class Item>
Item untouched_item() {
  Item item;
  memset(static_cast<void*>(&item), 0xAA, sizeof item);
  return item;
}

template <class Item>
Item decoded(int (*converter)(DDR*, Item*), const Bytes& bytes) {
  Item item = untouched_item<Item>();
  decode_into(converter, bytes, &item);
  return item;
}

template <class Item>
Bytes bytes_of(const Item& item) {
  const auto* start = reinterpret_cast<const unsigned char*>(&item);
  return {start, start + sizeof item};
}

}  // namespace kvtest

#endif
