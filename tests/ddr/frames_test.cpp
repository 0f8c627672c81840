// Frames: what they open, convert and release, also when another library's code deletes them.
#include <memory>

#include "tests/ddr/converting.h"
#include "tests/registry/heap_use.h"

namespace kvtest {
namespace {

const auto convert_point = reinterpret_cast<ddr_procedure>(ddr_POINT);
const auto convert_points = reinterpret_cast<ddr_procedure>(ddr_POINTS);

TEST(BasicDdr, OwnsAZeroedBufferOfItsSize) {
  const Basic_Ddr frame(5, DDR_DECODE);
  ASSERT_NE(frame.ownedBuffer, nullptr);
  EXPECT_EQ(frame.stream.buffer, frame.ownedBuffer);
  EXPECT_EQ(frame.stream.next, frame.ownedBuffer);
  EXPECT_EQ(frame.stream.end, frame.ownedBuffer + 5);
  EXPECT_EQ(frame.stream.op, DDR_DECODE);
  EXPECT_EQ(Bytes(frame.stream.buffer, frame.stream.end), (Bytes{0, 0, 0, 0, 0}));
}

TEST(BasicDdr, OnACallersBufferOwnsNothing) {
  Guarded_Block block(2);
  {
    Basic_Ddr frame(block.data(), 2, DDR_ENCODE);
    EXPECT_EQ(frame.ownedBuffer, nullptr);
    EXPECT_EQ(frame.stream.buffer, block.data());
    WORD value = 0x0102;
    EXPECT_EQ(ddr_WORD(&frame.stream, &value), 1);
    EXPECT_EQ(ddr_WORD(&frame.stream, &value), 0);
  }
  EXPECT_EQ(block.bytes(), (Bytes{1, 2}));
}

TEST(BasicDdr, TakesItsBufferFromTheHeap) {
  const std::size_t before = heap_in_use();
  const Basic_Ddr frame(10'000, DDR_ENCODE);
  EXPECT_GE(heap_in_use(), before + 10'000);
}

TEST(BasicDdr, ReleasesItsBufferAtItsEnd) {
  const auto make = [] { const Basic_Ddr frame(10'000, DDR_ENCODE); };
  make();
  const std::size_t before = heap_in_use();
  for (int i = 0; i < 10; ++i) make();
  EXPECT_LT(heap_in_use(), before + 10'000);
}

TEST(BasicDdr, OfOneByteHasRoomForOne) {
  Basic_Ddr frame(1, DDR_ENCODE);
  BYTE value = 7;
  EXPECT_EQ(ddr_BYTE(&frame.stream, &value), 1);
  EXPECT_EQ(frame.ownedBuffer[0], 7);
  EXPECT_EQ(ddr_BYTE(&frame.stream, &value), 0);
}

TEST(BasicDdr, OfNegativeSizeHasNoRoom) {
  Basic_Ddr frame(-1, DDR_ENCODE);
  BYTE value = 1;
  EXPECT_EQ(ddr_BYTE(&frame.stream, &value), 0);
}

TEST(BasicDdr, HasItsFieldsBehindTheTableOfVirtualFunctions) {
  Basic_Ddr frame(1, DDR_ENCODE);
  EXPECT_EQ(reinterpret_cast<char*>(&frame.stream) - reinterpret_cast<char*>(&frame), 8);
  EXPECT_EQ(reinterpret_cast<char*>(&frame.ownedBuffer) - reinterpret_cast<char*>(&frame.stream),
            static_cast<ptrdiff_t>(sizeof(DDR)));
  EXPECT_EQ(sizeof(To_Ddr), sizeof(Basic_Ddr));
}

TEST(FromDdr, HasItsFieldsBehindThoseOfItsBase) {
  From_Ddr frame(nullptr, 0);
  const auto* start = reinterpret_cast<const char*>(&frame);
  const ptrdiff_t base = 8 + static_cast<ptrdiff_t>(sizeof(DDR)) + 8;
  EXPECT_EQ(reinterpret_cast<const char*>(&frame.count) - start, base);
  EXPECT_EQ(reinterpret_cast<const char*>(&frame.stride) - start, base + 4);
  EXPECT_EQ(reinterpret_cast<const char*>(&frame.item) - start, base + 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&frame.procedure) - start, base + 16);
}

TEST(BasicDdr, IsDeletedThroughItsBase) {
  POINT point = {0, 0};
  Guarded_Block block(Bytes{0, 0, 0, 1, 0, 0, 0, 2});
  auto decoding = std::make_unique<From_Ddr>(block.data(), 8);
  decoding->count = 1;
  decoding->stride = sizeof point;
  decoding->item = &point;
  decoding->procedure = convert_point;
  std::unique_ptr<Basic_Ddr> frame = std::move(decoding);
  frame.reset();
  EXPECT_EQ(point.x, 1);
  EXPECT_EQ(point.y, 2);
  frame = std::make_unique<To_Ddr>(8, &point, convert_point, 1, 8);
  EXPECT_EQ(frame->stream.next, frame->stream.end);
}

TEST(ToDdr, EncodesItemsWithTheirStride) {
  const struct {
    POINTS point;
    DWORD other;
  } items[] = {{{1, 2}, 9}, {{3, 4}, 9}};
  const To_Ddr frame(10, items, convert_points, 2, sizeof items[0]);
  EXPECT_EQ(frame.stream.op, DDR_ENCODE);
  EXPECT_EQ(Bytes(frame.ownedBuffer, frame.stream.next), (Bytes{0, 1, 0, 2, 0, 3, 0, 4}));
  EXPECT_EQ(frame.ownedBuffer[8], 0);
}

TEST(ToDdr, CutsOffWhatDoesNotFit) {
  const POINTS items[] = {{1, 2}, {3, 4}};
  const To_Ddr frame(7, items, convert_points, 2, sizeof items[0]);
  EXPECT_EQ(Bytes(frame.ownedBuffer, frame.stream.end), (Bytes{0, 1, 0, 2, 0, 3, 0}));
}

// Fails for the first item.
int fail_first(DDR* stream, void* item) {
  const bool is_first = *static_cast<BYTE*>(item) == 1;
  return is_first ? 0 : ddr_BYTE(stream, static_cast<BYTE*>(item));
}

TEST(ToDdr, GoesOnBehindAnItemThatFails) {
  const BYTE items[] = {1, 2, 3};
  const To_Ddr frame(3, items, fail_first, 3, 1);
  EXPECT_EQ(Bytes(frame.ownedBuffer, frame.stream.next), (Bytes{2, 3}));
}

TEST(ToDdr, EncodesNothingForACountOf0OrLess) {
  const To_Ddr none(4, nullptr, convert_point, 0, 8);
  const To_Ddr less(4, nullptr, convert_point, -1, 8);
  EXPECT_EQ(none.stream.next, none.ownedBuffer);
  EXPECT_EQ(less.stream.next, less.ownedBuffer);
}

TEST(FromDdr, DecodesAtItsEndWithItsStride) {
  struct {
    POINTS point;
    DWORD other;
  } items[] = {{{0, 0}, 9}, {{0, 0}, 9}};
  Guarded_Block block(Bytes{0, 1, 0, 2, 0, 3, 0, 4});
  {
    From_Ddr frame(block.data(), 8);
    frame.count = 2;
    frame.stride = sizeof items[0];
    frame.item = items;
    frame.procedure = convert_points;
    EXPECT_EQ(items[0].point.x, 0);
  }
  EXPECT_EQ(items[0].point.x, 1);
  EXPECT_EQ(items[0].point.y, 2);
  EXPECT_EQ(items[1].point.x, 3);
  EXPECT_EQ(items[1].point.y, 4);
  EXPECT_EQ(items[0].other, 9u);
  EXPECT_EQ(items[1].other, 9u);
}

TEST(FromDdr, ConvertsInWhateverOperationItsStreamIsSetTo) {
  POINTS point = {1, 2};
  Guarded_Block block(4);
  {
    From_Ddr frame(block.data(), 4);
    frame.count = 1;
    frame.stride = sizeof point;
    frame.item = &point;
    frame.procedure = convert_points;
    frame.stream.op = DDR_ENCODE;
  }
  EXPECT_EQ(block.bytes(), (Bytes{0, 1, 0, 2}));
}

TEST(FromDdr, OfNoItemsConvertsNothing) {
  Guarded_Block block(0);
  const From_Ddr frame(block.data(), 0);
  EXPECT_EQ(frame.count, 0);
  EXPECT_EQ(frame.stream.op, DDR_DECODE);
}

TEST(InMemory, ConvertsInEveryDirection) {
  POINT items[] = {{1, 2}, {3, 4}};
  Guarded_Block block(16);
  inmemory_ddr(DDR_ENCODE, 16, block.data(), items, convert_point, 2, sizeof(POINT));
  EXPECT_EQ(block.bytes(), (Bytes{0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4}));
  block.make_read_only();
  POINT back[2] = {};
  inmemory_ddr(DDR_DECODE, 16, block.data(), back, convert_point, 2, sizeof(POINT));
  EXPECT_EQ(back[1].x, 3);
  EXPECT_EQ(back[1].y, 4);
  inmemory_ddr(DDR_FREE, 0, nullptr, back, convert_point, 2, sizeof(POINT));
  EXPECT_EQ(back[1].y, 4);
}

TEST(InMemory, GoesOnBehindItemsThatDoNotFit) {
  const BYTE items[] = {1, 2, 3};
  Guarded_Block block(2);
  inmemory_ddr(DDR_ENCODE, 2, block.data(), const_cast<BYTE*>(items), fail_first, 3, 1);
  EXPECT_EQ(block.bytes(), (Bytes{2, 3}));
}

TEST(InMemory, OfACountOf0OrLessConvertsNothing) {
  Guarded_Block block(4);
  inmemory_ddr(DDR_ENCODE, 4, block.data(), nullptr, convert_point, 0, 8);
  inmemory_ddr(DDR_ENCODE, 4, block.data(), nullptr, convert_point, -5, 8);
  EXPECT_EQ(block.bytes(), (Bytes{0xAA, 0xAA, 0xAA, 0xAA}));
}

}  // namespace
}  // namespace kvtest
