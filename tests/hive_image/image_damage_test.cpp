// Bytes that are no good image: each gives a status and nothing else.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "hive/image/image.h"
#include "hive/image/image_bytes.h"
#include "tests/hive_image/trees.h"

namespace {

using hive::Image_Head;
using hive::Status;
using kvtest::mark;
using kvtest::Recorder;
using Bytes = std::vector<unsigned char>;

Status read(const Bytes& bytes, Recorder& recorder) {
  // A block of exactly this size, so that a sanitizer sees the first byte read beyond it.
  const auto block = std::make_unique<unsigned char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), block.get());
  Image_Head head;
  return hive::read_image({block.get(), bytes.size()}, &head, recorder);
}

Status read(const Bytes& bytes) {
  Recorder recorder;
  return read(bytes, recorder);
}

void put_u64(Bytes& bytes, std::size_t at, std::uint64_t number) {
  for (int i = 7; i >= 0; --i, number >>= 8) bytes[at + static_cast<std::size_t>(i)] = number & 0xFF;
}

// An image with this tree, whose prologue and hash are right.
Bytes image_of(const Bytes& tree, std::uint64_t keys, std::uint64_t values) {
  Bytes image = kvtest::small_image();
  image.resize(hive::image_head_size);
  image.insert(image.end(), tree.begin(), tree.end());
  put_u64(image, 60, tree.size());
  put_u64(image, 68, keys);
  put_u64(image, 76, values);
  const auto hash = hive::image_hash(image);
  std::copy(hash.begin(), hash.end(), image.begin() + 84);
  return image;
}

Bytes key_record(std::initializer_list<unsigned char> name_units) {
  Bytes record{1, 0, static_cast<unsigned char>(name_units.size())};
  for (unsigned char unit : name_units) {
    record.push_back(0);
    record.push_back(unit);
  }
  record.resize(record.size() + 2 + 8 + 4 * 4);
  return record;
}

Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes whole;
  for (const Bytes& part : parts) whole.insert(whole.end(), part.begin(), part.end());
  return whole;
}

const Bytes root = key_record({});
const Bytes end{3};
const Bytes empty_value{2, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0};

TEST(DamagedImage, EveryTruncationIsToldAndNothingIsVisited) {
  const Bytes whole = kvtest::small_image();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Recorder recorder;
    EXPECT_EQ(read(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)), recorder), Status::damaged)
        << size;
    EXPECT_TRUE(recorder.lines.empty()) << size;
  }
}

TEST(DamagedImage, EveryFlippedBitIsToldAndNothingIsVisited) {
  const Bytes whole = kvtest::small_image();
  for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit) {
    Bytes flipped = whole;
    flipped[bit / 8] ^= static_cast<unsigned char>(1 << (bit % 8));
    Recorder recorder;
    const Status status = read(flipped, recorder);
    EXPECT_TRUE(status == Status::damaged || status == Status::not_a_hive || status == Status::newer_version) << bit;
    EXPECT_TRUE(recorder.lines.empty()) << bit;
  }
}

TEST(DamagedImage, BytesBehindTheTreeAreTold) {
  Bytes longer = kvtest::small_image();
  longer.push_back(0);
  EXPECT_EQ(read(longer), Status::damaged);
}

TEST(DamagedImage, RandomTreesUnderARightHashGiveAStatus) {
  std::mt19937 random(20);
  int good = 0;
  for (int round = 0; round < 20000; ++round) {
    Bytes tree = joined({root, empty_value, key_record({'k'}), end, end});
    const int changes = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < changes; ++i) tree[random() % tree.size()] = static_cast<unsigned char>(random() % 5);
    if (random() % 4 == 0) tree.resize(random() % tree.size());
    const Status status = read(image_of(tree, 2, 1));
    EXPECT_TRUE(status == Status::ok || status == Status::damaged);
    good += status == Status::ok ? 1 : 0;
  }
  EXPECT_GT(good, 0);
  EXPECT_LT(good, 20000);
}

TEST(DamagedImage, HelperMakesGoodImages) { EXPECT_EQ(read(image_of(joined({root, end}), 1, 0)), Status::ok); }

TEST(DamagedImage, WrongCountsAreTold) {
  EXPECT_EQ(read(image_of(joined({root, end}), 2, 0)), Status::damaged);
  EXPECT_EQ(read(image_of(joined({root, end}), 1, 1)), Status::damaged);
}

TEST(DamagedImage, TreeThatIsEmptyUnfinishedOrDoubleIsTold) {
  EXPECT_EQ(read(image_of({}, 0, 0)), Status::damaged);
  EXPECT_EQ(read(image_of(root, 1, 0)), Status::damaged);
  EXPECT_EQ(read(image_of(end, 0, 0)), Status::damaged);
  EXPECT_EQ(read(image_of(joined({root, end, root, end}), 2, 0)), Status::damaged);
  EXPECT_EQ(read(image_of(joined({root, end, end}), 1, 0)), Status::damaged);
}

TEST(DamagedImage, ValueOutsideAKeyOrBehindASubKeyIsTold) {
  EXPECT_EQ(read(image_of(empty_value, 0, 1)), Status::damaged);
  EXPECT_EQ(read(image_of(joined({root, key_record({'k'}), end, empty_value, end}), 2, 1)), Status::damaged);
  EXPECT_EQ(read(image_of(joined({root, empty_value, key_record({'k'}), end, end}), 2, 1)), Status::ok);
}

TEST(DamagedImage, KeyNamesThatNoPathCarriesAreTold) {
  EXPECT_EQ(read(image_of(joined({key_record({'r'}), end}), 1, 0)), Status::damaged);
  EXPECT_EQ(read(image_of(joined({root, key_record({}), end, end}), 2, 0)), Status::damaged);
  EXPECT_EQ(read(image_of(joined({root, key_record({'a', '\\'}), end, end}), 2, 0)), Status::damaged);
  EXPECT_EQ(read(image_of(joined({root, key_record({'a', 0}), end, end}), 2, 0)), Status::damaged);
}

TEST(DamagedImage, ValueSizeBeyondTheEndIsTold) {
  const Bytes value{2, 0, 0, 0, 0, 0, 3, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(read(image_of(joined({root, value, end}), 1, 1)), Status::damaged);
}

TEST(DamagedImage, UnknownRecordIsTold) { EXPECT_EQ(read(image_of(joined({root, {4}, end}), 1, 0)), Status::damaged); }

TEST(ImagePrologue, ForeignFileIsNotAHive) {
  EXPECT_EQ(read({'S', 'Q', 'L', 'i', 't', 'e'}), Status::not_a_hive);
  EXPECT_EQ(read(Bytes(1000, 0)), Status::not_a_hive);
}

TEST(ImagePrologue, LaterVersionIsToldApart) {
  Bytes image = kvtest::small_image();
  image[11] = 2;
  EXPECT_EQ(read(image), Status::newer_version);
}

}  // namespace
