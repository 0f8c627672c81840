// The primitives on a memory stream. Every buffer ends at, or begins behind, a page that may not be touched.
#include <gtest/gtest.h>
#include <kelvane/ddr_stream.h>
#include <winbase.h>

#include "tests/support/guarded_block.h"

namespace kvtest {
namespace {

using Bytes = std::vector<unsigned char>;

DDR open_on(Guarded_Block& block, ddr_op op) {
  DDR stream;
  ddrmem_create(&stream, block.data(), static_cast<int>(block.size()), op);
  return stream;
}

// What the procedure writes for one item into a buffer of exactly that size.
template <class Item>
Bytes encoded(int (*procedure)(DDR*, Item*), Item item, size_t size) {
  Guarded_Block block(size);
  DDR stream = open_on(block, DDR_ENCODE);
  EXPECT_EQ(procedure(&stream, &item), 1);
  EXPECT_EQ(stream.next - stream.buffer, static_cast<ptrdiff_t>(size));
  return block.bytes();
}

// The item that the procedure reads from these bytes.
template <class Item>
Item decoded(int (*procedure)(DDR*, Item*), const Bytes& bytes) {
  Guarded_Block block(bytes);
  block.make_read_only();
  DDR stream = open_on(block, DDR_DECODE);
  Item item = 0;
  EXPECT_EQ(procedure(&stream, &item), 1);
  return item;
}

TEST(Primitives, HaveTheirNaturalWidthHighByteFirst) {
  EXPECT_EQ(encoded<char>(ddr_char, 'A', 1), (Bytes{0x41}));
  EXPECT_EQ(encoded<unsigned char>(ddr_u_char, 0xFE, 1), (Bytes{0xFE}));
  EXPECT_EQ(encoded<short>(ddr_short, -2, 2), (Bytes{0xFF, 0xFE}));
  EXPECT_EQ(encoded<unsigned short>(ddr_u_short, 0x1234, 2), (Bytes{0x12, 0x34}));
  EXPECT_EQ(encoded<int>(ddr_int, -2, 4), (Bytes{0xFF, 0xFF, 0xFF, 0xFE}));
  EXPECT_EQ(encoded<unsigned>(ddr_u_int, 0x12345678, 4), (Bytes{0x12, 0x34, 0x56, 0x78}));
  EXPECT_EQ(encoded<LONG>(ddr_long, 1, 4), (Bytes{0, 0, 0, 1}));
  EXPECT_EQ(encoded<ULONG>(ddr_u_long, 0x80000001u, 4), (Bytes{0x80, 0, 0, 1}));
}

TEST(Primitives, ReadWhatTheyWrite) {
  EXPECT_EQ(decoded<char>(ddr_char, {0xE9}), static_cast<char>(-23));
  EXPECT_EQ(decoded<unsigned char>(ddr_u_char, {0xE9}), 0xE9);
  EXPECT_EQ(decoded<short>(ddr_short, {0x80, 0x00}), -32768);
  EXPECT_EQ(decoded<unsigned short>(ddr_u_short, {0xFF, 0x01}), 0xFF01);
  EXPECT_EQ(decoded<int>(ddr_int, {0xFF, 0xFF, 0xFF, 0xFF}), -1);
  EXPECT_EQ(decoded<unsigned>(ddr_u_int, {0x12, 0x34, 0x56, 0x78}), 0x12345678u);
  EXPECT_EQ(decoded<LONG>(ddr_long, {0x80, 0, 0, 0}), -2147483647 - 1);
  EXPECT_EQ(decoded<ULONG>(ddr_u_long, {0xFF, 0, 0, 1}), 0xFF000001u);
}

TEST(Primitives, StandOneBehindTheOtherWithoutPadding) {
  Guarded_Block block(7);
  DDR stream = open_on(block, DDR_ENCODE);
  char character = 'x';
  unsigned number = 0x01020304;
  unsigned short half = 0x0506;
  EXPECT_EQ(ddr_char(&stream, &character), 1);
  EXPECT_EQ(ddr_u_int(&stream, &number), 1);
  EXPECT_EQ(ddr_u_short(&stream, &half), 1);
  EXPECT_EQ(block.bytes(), (Bytes{'x', 1, 2, 3, 4, 5, 6}));
}

TEST(Primitives, ThatDoNotFitWriteNothingAndLeaveTheStreamWhereItIs) {
  Guarded_Block block(3);
  DDR stream = open_on(block, DDR_ENCODE);
  LONG number = 1;
  unsigned short half = 0x0102;
  EXPECT_EQ(ddr_long(&stream, &number), 0);
  EXPECT_EQ(block.bytes(), (Bytes{0xAA, 0xAA, 0xAA}));
  EXPECT_EQ(ddr_u_short(&stream, &half), 1);
  EXPECT_EQ(ddr_u_short(&stream, &half), 0);
  EXPECT_EQ(block.bytes(), (Bytes{1, 2, 0xAA}));
}

TEST(Primitives, WithTooLittleDataLeaveTheItemAsItIs) {
  Guarded_Block block(Bytes{1, 2, 3});
  block.make_read_only();
  DDR stream = open_on(block, DDR_DECODE);
  unsigned number = 77;
  unsigned short half = 0;
  EXPECT_EQ(ddr_u_int(&stream, &number), 0);
  EXPECT_EQ(number, 77u);
  EXPECT_EQ(ddr_u_short(&stream, &half), 1);
  EXPECT_EQ(half, 0x0102);
}

TEST(Primitives, DoNotReachInFrontOfTheBuffer) {
  Guarded_Block block(4, Guarded_Block::guard_before);
  DDR stream = open_on(block, DDR_ENCODE);
  int number = 5;
  EXPECT_EQ(ddr_int(&stream, &number), 1);
  EXPECT_EQ(ddr_int(&stream, &number), 0);
  EXPECT_EQ(block.bytes(), (Bytes{0, 0, 0, 5}));
}

TEST(Primitives, SucceedAndChangeNothingWhenFreeing) {
  Guarded_Block block(1);
  DDR stream = open_on(block, DDR_FREE);
  int number = 5;
  EXPECT_EQ(ddr_int(&stream, &number), 1);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(block.bytes(), (Bytes{0xAA}));
  EXPECT_EQ(stream.next, stream.buffer);
}

TEST(Primitives, RefuseAnOperationThatIsNone) {
  Guarded_Block block(4);
  DDR stream = open_on(block, static_cast<ddr_op>(3));
  int number = 5;
  EXPECT_EQ(ddr_int(&stream, &number), 0);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(block.bytes(), (Bytes{0xAA, 0xAA, 0xAA, 0xAA}));
}

TEST(Primitives, LeaveTheLastErrorAlone) {
  Guarded_Block block(0);
  DDR stream = open_on(block, DDR_ENCODE);
  char character = 'x';
  SetLastError(77);
  EXPECT_EQ(ddr_char(&stream, &character), 0);
  EXPECT_EQ(GetLastError(), 77u);
}

TEST(MemoryStream, OfNegativeSizeOrWithoutBufferHasNoRoom) {
  char character = 'x';
  Guarded_Block block(1);
  DDR stream;
  ddrmem_create(&stream, block.data(), -1, DDR_ENCODE);
  EXPECT_EQ(ddr_char(&stream, &character), 0);
  ddrmem_create(&stream, nullptr, 100, DDR_ENCODE);
  EXPECT_EQ(ddr_char(&stream, &character), 0);
  EXPECT_EQ(block.bytes(), (Bytes{0xAA}));
}

TEST(Operations, AreNumberedEncodeDecodeFree) {
  EXPECT_EQ(DDR_ENCODE, 0);
  EXPECT_EQ(DDR_DECODE, 1);
  EXPECT_EQ(DDR_FREE, 2);
}

int convert_short(DDR* stream, void* item) { return ddr_u_short(stream, static_cast<unsigned short*>(item)); }

TEST(Vector, ConvertsItemsThatStandSizeBytesApart) {
  unsigned short items[] = {1, 0xDEAD, 2, 0xDEAD, 3, 0xDEAD};
  Guarded_Block block(6);
  DDR stream = open_on(block, DDR_ENCODE);
  EXPECT_EQ(ddr_vector(&stream, items, 3, 4, convert_short), 1);
  EXPECT_EQ(block.bytes(), (Bytes{0, 1, 0, 2, 0, 3}));
}

TEST(Vector, EndsAtTheFirstItemThatFails) {
  unsigned short items[] = {7, 7, 7};
  Guarded_Block block(Bytes{0, 1, 0});
  DDR stream = open_on(block, DDR_DECODE);
  EXPECT_EQ(ddr_vector(&stream, items, 3, 2, convert_short), 0);
  EXPECT_EQ(items[0], 1);
  EXPECT_EQ(items[1], 7);
  EXPECT_EQ(items[2], 7);
}

TEST(Vector, OfNoItemsSucceeds) {
  Guarded_Block block(0);
  DDR stream = open_on(block, DDR_ENCODE);
  EXPECT_EQ(ddr_vector(&stream, nullptr, 0, 2, convert_short), 1);
}

}  // namespace
}  // namespace kvtest
