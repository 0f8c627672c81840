// Streams that run out in the middle of a record, at every byte: 0 at the first field that does not fit, what is in
// front of it converted, what is behind it left alone. Buffers of every size end at a guard page.
#include "tests/ddr/converting.h"

namespace kvtest {
namespace {

// A record with its size on the stream and the sizes of its fields there, in order.
template <class Record>
struct Shape {
  int (*converter)(DDR*, Record*);
  std::vector<size_t> fields;
};

// The bytes of whole fields that fit into room bytes.
size_t whole_fields(const std::vector<size_t>& fields, size_t room) {
  size_t used = 0;
  for (size_t field : fields) {
    if (used + field > room) break;
    used += field;
  }
  return used;
}

size_t sum(const std::vector<size_t>& fields) {
  size_t total = 0;
  for (size_t field : fields) total += field;
  return total;
}

template <class Record>
void cut_everywhere(const Shape<Record>& shape) {
  const size_t whole = sum(shape.fields);
  for (size_t room = 0; room < whole; ++room) {
    SCOPED_TRACE(room);
    Guarded_Block block(room, Guarded_Block::guard_behind, 0x11);
    Record record = untouched_item<Record>();
    DDR stream = open_on(block, DDR_DECODE);
    EXPECT_EQ(shape.converter(&stream, &record), 0);
    EXPECT_EQ(static_cast<size_t>(stream.next - stream.buffer), whole_fields(shape.fields, room));
    size_t taken = 0;
    for (unsigned char byte : bytes_of(record)) taken += byte == 0x11 ? 1 : 0;
    EXPECT_EQ(taken, whole_fields(shape.fields, room));

    record = untouched_item<Record>();
    stream = open_on(block, DDR_ENCODE);
    EXPECT_EQ(shape.converter(&stream, &record), 0);
    const Bytes written = block.bytes();
    for (size_t at = 0; at < room; ++at) {
      EXPECT_EQ(written[at], at < whole_fields(shape.fields, room) ? 0xAA : 0x11) << at;
    }
  }
}

TEST(CutStreams, OfGuids) { cut_everywhere<GUID>({ddr_GUID, {4, 2, 2, 1, 1, 1, 1, 1, 1, 1, 1}}); }
TEST(CutStreams, OfFileTimes) { cut_everywhere<FILETIME>({ddr_FILETIME, {4, 4}}); }
TEST(CutStreams, OfRectangles) { cut_everywhere<RECTL>({ddr_RECTL, {4, 4, 4, 4}}); }
TEST(CutStreams, OfSizes) { cut_everywhere<SIZEL>({ddr_SIZEL, {4, 4}}); }
TEST(CutStreams, OfShortPoints) { cut_everywhere<POINTS>({ddr_POINTS, {2, 2}}); }
TEST(CutStreams, OfPoints) { cut_everywhere<POINT>({ddr_POINT, {4, 4}}); }
TEST(CutStreams, OfBitmapFileHeaders) { cut_everywhere<BITMAPFILEHEADER>({ddr_BITMAPFILEHEADER, {2, 4, 2, 2, 4}}); }
TEST(CutStreams, OfBitmapCoreHeaders) { cut_everywhere<BITMAPCOREHEADER>({ddr_BITMAPCOREHEADER, {4, 2, 2, 2, 2}}); }
TEST(CutStreams, OfBitmapInfoHeaders) {
  cut_everywhere<BITMAPINFOHEADER>({ddr_BITMAPINFOHEADER, {4, 4, 4, 2, 2, 4, 4, 4, 4, 4, 4}});
}
TEST(CutStreams, OfMetaHeaders) { cut_everywhere<METAHEADER>({ddr_METAHEADER, {2, 2, 2, 4, 2, 4, 2}}); }
TEST(CutStreams, OfEnhancedMetaHeaders) {
  cut_everywhere<ENHMETAHEADER>(
      {ddr_ENHMETAHEADER, {4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 2, 2, 4, 4, 4, 4, 4, 4, 4}});
}

TEST(CutStreams, OfFormatsKeepWhatIsBehindThePlaceholder) {
  for (size_t room = 0; room < 20; ++room) {
    SCOPED_TRACE(room);
    Guarded_Block block(room, Guarded_Block::guard_behind, 0x11);
    FORMATETC format = untouched_item<FORMATETC>();
    DDR stream = open_on(block, DDR_DECODE);
    EXPECT_EQ(ddr_FORMATETC(&stream, &format), 0);
    EXPECT_EQ(format.cfFormat, room < 2 ? 0xAAAA : 0x1111);
    EXPECT_EQ(format.dwAspect, room < 12 ? 0xAAAAAAAAu : 0x11111111u);
    EXPECT_EQ(format.lindex, static_cast<LONG>(room < 16 ? 0xAAAAAAAAu : 0x11111111u));
    EXPECT_EQ(format.tymed, 0xAAAAAAAAu);
  }
}

TEST(CutStreams, OfScalarsChangeNothing) {
  Guarded_Block block(3);
  DDR stream = open_on(block, DDR_ENCODE);
  DWORD value = 1;
  EXPECT_EQ(ddr_DWORD(&stream, &value), 0);
  EXPECT_EQ(block.bytes(), (Bytes{0xAA, 0xAA, 0xAA}));
}

}  // namespace
}  // namespace kvtest
