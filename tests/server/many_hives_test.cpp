// The hives of one server: as many as its page of change numbers has room for, and one that is a copy of another.
#include <filesystem>

#include "impl/server/changes.h"
#include "tests/server/served.h"

namespace {

using namespace servertest;
using hive::Status;

constexpr std::size_t most_hives = 62;

class Many_Hives : public testing::Test {
 protected:
  void SetUp() override {
    changes.open();
    if (changes.page_fd() < 0) GTEST_SKIP() << "this kernel makes no page of change numbers";
  }

  // A folder for one registry.
  std::string new_folder() {
    const std::string made = folder / std::to_string(++folders);
    std::filesystem::create_directory(made);
    return made;
  }
  hive::Registry& registry_in(const std::string& place) {
    registries.push_back(
        std::make_unique<hive::Registry>(std::make_unique<Test_Locations>(place, false), [](const std::string&) {}));
    return *registries.back();
  }
  static hive::Key key_of(hive::Registry& registry) {
    hive::Key root, key;
    bool is_made = false;
    EXPECT_EQ(registry.open_root(hive::Root::machine, &root), Status::ok);
    EXPECT_EQ(registry.create(root, u"Counted", {}, &key, &is_made), Status::ok);
    return key;
  }
  bool rises_with_a_change(const hive::Key& key) {
    const std::uint64_t before = changes.number_for(key);
    changes.will_change(key);
    changes.publish();
    const std::uint64_t after = changes.number_for(key);
    return before != 0 && after > before;
  }

  kvtest::Temp_Folder folder;
  int folders = 0;
  std::vector<std::unique_ptr<hive::Registry>> registries;
  impl::server::Changes changes{registry_in(new_folder())};
};

TEST_F(Many_Hives, TheOneBehindTheLastPlaceOfThePageIsServedWithoutANumber) {
  std::vector<hive::Key> keys;
  for (std::size_t i = 0; i <= most_hives; ++i) keys.push_back(key_of(registry_in(new_folder())));
  for (std::size_t i = 0; i < most_hives; ++i) ASSERT_NE(changes.number_for(keys[i]), 0u) << i;
  const hive::Key& beyond = keys[most_hives];
  EXPECT_EQ(changes.number_for(beyond), 0u);
  EXPECT_FALSE(rises_with_a_change(beyond));
  EXPECT_EQ(changes.since(beyond, 2).number(), 0u);
  EXPECT_TRUE(changes.since(beyond, 2).may_have_changed(beyond));
  EXPECT_TRUE(rises_with_a_change(keys.front()));
  EXPECT_TRUE(rises_with_a_change(keys[most_hives - 1]));
}

// Its keys could be taken for those of the other one.
TEST_F(Many_Hives, ACopyOfAServedOneHasNoNumber) {
  hive::Registry& first = registry_in(new_folder());
  const hive::Key original = key_of(first);
  ASSERT_EQ(first.backup(folder / "backup"), Status::ok);
  const std::string place = new_folder();
  std::filesystem::copy_file(folder / "backup/machine.hive", place + "/machine");
  const hive::Key copied = key_of(registry_in(place));
  hive::Key_Identity of_original{}, of_copy{};
  ASSERT_EQ(first.identity(original, &of_original), Status::ok);
  ASSERT_EQ(registries.back()->identity(copied, &of_copy), Status::ok);
  ASSERT_EQ(of_original, of_copy);

  const std::uint64_t number = changes.number_for(original);
  EXPECT_NE(number, 0u);
  EXPECT_EQ(changes.number_for(copied), 0u);
  EXPECT_FALSE(rises_with_a_change(copied));
  EXPECT_EQ(changes.number_for(original), number);
  EXPECT_TRUE(changes.since(original, number).may_have_changed(copied));
}

}  // namespace
