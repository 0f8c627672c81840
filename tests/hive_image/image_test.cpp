// What an image carries, byte for byte and there and back.
#include "hive/image/image.h"

#include <gtest/gtest.h>

#include "hive/image/image_bytes.h"
#include "hive/registry.h"
#include "tests/hive_image/trees.h"

namespace {

using hive::Image_Head;
using hive::Image_Writer;
using hive::Status;
using kvtest::mark;
using kvtest::Recorder;

TEST(Image, GivesBackTheTreeItWasMadeOf) {
  Recorder recorder;
  Image_Head head;
  EXPECT_EQ(hive::read_image(kvtest::small_image(), &head, recorder), Status::ok);
  EXPECT_EQ(recorder.lines, kvtest::small_tree_lines);
  EXPECT_EQ(head.self, mark(1, 2));
  EXPECT_EQ(head.base, mark(3, 4));
}

TEST(Image, OfAnEmptyHiveIsTheRootKeyAlone) {
  Image_Writer writer;
  hive::Key_Record root;
  root.mode = 0x01020304;
  writer.begin_key(root);
  writer.end_key();
  const auto image = writer.finish({mark(9, 0x0102030405060708), {}});
  const std::vector<unsigned char> before_hash(image.begin(), image.begin() + 84);
  const std::vector<unsigned char> tree(image.begin() + 116, image.end());
  EXPECT_EQ(before_hash,
            (std::vector<unsigned char>{'K', 'V', 'I', 'M', 'A', 'G', 'E', '\n', 0, 0, 0, 1,  // magic, version
                                        9,   0,   0,   0,   0,   0,   0,   0,    0, 0, 0, 0, 0, 0, 0, 0,  // identity
                                        1,   2,   3,   4,   5,   6,   7,   8,                             // number
                                        0,   0,   0,   0,   0,   0,   0,   0,    0, 0, 0, 0, 0, 0, 0, 0,  // base
                                        0,   0,   0,   0,   0,   0,   0,   0,                             //
                                        0,   0,   0,   0,   0,   0,   0,   30,                            // length
                                        0,   0,   0,   0,   0,   0,   0,   1,                             // keys
                                        0,   0,   0,   0,   0,   0,   0,   0}));                          // values
  EXPECT_EQ(tree, (std::vector<unsigned char>{1, 0, 0, 0, 0,                       // key, no name, no class
                                              0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4,  // written, mode
                                              0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // owner, group, flags
                                              3}));
}

TEST(Image, CarriesEmptyLargeAndOddValues) {
  const std::string large(100000, 'x');
  Image_Writer writer;
  writer.begin_key({});
  writer.value({u"none", 0, nullptr, 0});
  writer.value(kvtest::value_of(u"large", 3, large));
  writer.value(kvtest::value_of(std::u16string(hive::max_value_name_units, u'n'), 0xFFFFFFFF, "odd"));
  writer.end_key();
  Recorder recorder;
  Image_Head head;
  ASSERT_EQ(hive::read_image(writer.finish({mark(1, 1), {}}), &head, recorder), Status::ok);
  ASSERT_EQ(recorder.lines.size(), 5u);
  EXPECT_EQ(recorder.lines[1], "value none type 0 data ");
  EXPECT_EQ(recorder.lines[2], "value large type 3 data " + large);
  EXPECT_EQ(recorder.lines[3], "value " + std::string(16383, 'n') + " type 4294967295 data odd");
}

TEST(Image, CarriesUnitsOutsideLatinAndLoneSurrogates) {
  class Names : public Recorder {
   public:
    Status begin_key(const hive::Key_Record& key) override {
      names.emplace_back(key.name);
      return Status::ok;
    }
    std::vector<std::u16string> names;
  } visitor;
  const std::u16string name{u'\u00e9', char16_t(0xD800), char16_t(0xDC80), u'\uffff'};
  Image_Writer writer;
  writer.begin_key({});
  writer.begin_key(kvtest::key_named(name));
  writer.end_key();
  writer.end_key();
  Image_Head head;
  ASSERT_EQ(hive::read_image(writer.finish({mark(1, 1), {}}), &head, visitor), Status::ok);
  EXPECT_EQ(visitor.names, (std::vector<std::u16string>{u"", name}));
}

TEST(Image, OfAVeryDeepTreeIsReadWithoutDeepRecursion) {
  Image_Writer writer;
  writer.begin_key({});
  for (int i = 1; i < 60000; ++i) writer.begin_key(kvtest::key_named(u"d"));
  for (int i = 0; i < 60000; ++i) writer.end_key();
  Recorder recorder;
  Image_Head head;
  EXPECT_EQ(hive::read_image(writer.finish({mark(1, 1), {}}), &head, recorder), Status::ok);
  EXPECT_EQ(recorder.lines.size(), 120000u);
}

TEST(Image, OfADeeperTreeThanImagesCarryIsRefusedByTheWriter) {
  Image_Writer writer;
  for (int i = 0; i < 65536; ++i) ASSERT_EQ(writer.begin_key(kvtest::key_named(u"d")), Status::ok);
  EXPECT_EQ(writer.begin_key(kvtest::key_named(u"d")), Status::too_large);
}

TEST(Image, WithALongerTextOrValueThanImagesCarryIsRefusedByTheWriter) {
  Image_Writer writer;
  const std::u16string class_name(0x10000, u'c');
  EXPECT_EQ(writer.begin_key({u"k", class_name, 0, 0, 0, 0, 0}), Status::too_large);
  const unsigned char byte = 0;
  EXPECT_EQ(writer.value({u"v", 3, &byte, 64 * 1024 * 1024 + 1}), Status::too_large);
}

TEST(Image, VisitorsStatusEndsTheReading) {
  Recorder recorder;
  recorder.answer = Status::disk_full;
  Image_Head head;
  EXPECT_EQ(hive::read_image(kvtest::small_image(), &head, recorder), Status::disk_full);
  EXPECT_EQ(recorder.lines.size(), 1u);
}

TEST(ImageWriter, IsEmptyAndUsableAfterFinish) {
  Image_Writer writer;
  kvtest::walk_small_tree(writer);
  const auto first = writer.finish({mark(1, 2), mark(3, 4)});
  kvtest::walk_small_tree(writer);
  EXPECT_EQ(writer.finish({mark(1, 2), mark(3, 4)}), first);
}

}  // namespace
