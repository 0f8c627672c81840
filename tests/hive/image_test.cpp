// The live user hive and its image: when one is made, and that a fresh hive takes it.
#include <filesystem>
#include <fstream>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

using Bytes = std::vector<unsigned char>;

struct Image : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key user() { return root_of(*registry, Root::current_user); }

  void write_image(const Bytes& bytes) {
    std::ofstream file(folder / "image.bin", std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  Bytes closing_image() {
    Bytes bytes;
    EXPECT_EQ(registry->closing_user_image(&bytes), Status::ok);
    return bytes;
  }
  void lose_live_hive() {
    registry.reset();
    for (const char* name : {"user.bin", "user.bin-wal", "user.bin-shm"}) std::filesystem::remove(folder / name);
    registry = registry_on(folder.path());
  }
};

TEST_F(Image, AFreshHiveTakesTheImage) {
  Key key = make_key(*registry, user(), u"Software\\App", {.class_name = u"C"});
  ASSERT_EQ(put(*registry, key, u"Small", "s", 1), Status::ok);
  ASSERT_EQ(put(*registry, key, u"Large", std::string(30000, 'L')), Status::ok);
  make_key(*registry, user(), u"Volatile", {.class_name = {}, .is_volatile = true});
  write_image(closing_image());
  lose_live_hive();
  EXPECT_EQ(key_names(*registry, user()), Names{u"Software"});
  ASSERT_EQ(registry->open(user(), u"software\\app", &key), Status::ok);
  EXPECT_EQ(get(*registry, key, u"large"), std::string(30000, 'L'));
  EXPECT_EQ(counts_of(*registry, key).values, 2u);
  EXPECT_EQ(counts_of(*registry, user()).sub_keys, 1u);
}

TEST_F(Image, NoneIsMadeForAProcessThatNeverUsedTheHive) {
  EXPECT_TRUE(closing_image().empty());
  EXPECT_NE(access((folder / "user.bin").c_str(), F_OK), 0);
}

TEST_F(Image, NoneIsMadeOfAHiveThatWasNeverChanged) {
  key_names(*registry, user());
  EXPECT_TRUE(closing_image().empty());
}

TEST_F(Image, NoneIsMadeWhileTheFileCarriesTheState) {
  make_key(*registry, user(), u"a");
  write_image(closing_image());
  EXPECT_TRUE(closing_image().empty());
  make_key(*registry, user(), u"b");
  EXPECT_FALSE(closing_image().empty());
}

TEST_F(Image, OneThatNeverReachedTheFileIsMadeAgain) {
  make_key(*registry, user(), u"a");
  EXPECT_FALSE(closing_image().empty());
  EXPECT_FALSE(closing_image().empty());
}

TEST_F(Image, ADamagedOneIsSetAsideAndTold) {
  make_key(*registry, user(), u"a");
  Bytes image = closing_image();
  image[image.size() / 2] ^= 1;
  write_image(image);
  lose_live_hive();
  complaints().clear();
  EXPECT_EQ(key_names(*registry, user()), Names{});
  EXPECT_EQ(complaints().size(), 1u);
  EXPECT_NE(access((folder / "image.bin").c_str(), F_OK), 0);
  EXPECT_EQ(access((folder / "image.bin.damaged.1").c_str(), F_OK), 0);
}

TEST_F(Image, WithoutACoreDataFolderThereIsNothingToSave) {
  Registry with_private(std::make_unique<Fixed_Locations>(folder / "machine.bin", "", folder / "image.bin"), nullptr);
  make_key(with_private, root_of(with_private, Root::current_user), u"a");
  Bytes bytes{1};
  EXPECT_EQ(with_private.closing_user_image(&bytes), Status::ok);
  EXPECT_TRUE(bytes.empty());
  EXPECT_EQ(with_private.user_image(&bytes), Status::ok);
  EXPECT_FALSE(bytes.empty());
}

}  // namespace
