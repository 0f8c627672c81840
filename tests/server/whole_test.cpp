// Whole hives on their way, and what the host knows.
#include <sys/mman.h>
#include <sys/stat.h>
#include <winerror.h>

#include <filesystem>

#include "impl/wire/sealed_memory.h"
#include "tests/hive/database.h"
#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);

std::string content_of(int fd) {
  std::string content;
  char block[65536];
  ssize_t size = 0;
  for (off_t at = 0; (size = pread(fd, block, sizeof block, at)) > 0; at += size) {
    content.append(block, static_cast<std::size_t>(size));
  }
  return content;
}

class Whole_Hives : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client.begin()->code, 0u);
    key = create(client, machine, u"Tree\\Branch")->handle;
    ASSERT_EQ(set(client, key, u"v", "leaf"), 0u);
  }
  std::string saved() {
    const auto answered = client.ask<wire::Save_Key>({.key = open(client, machine, u"Tree")->handle});
    EXPECT_EQ(answered->code, 0u);
    return content_of(answered->hive.fd);
  }

  Served served;
  Client client{served.address()};
  wire::Number key = 0;
};

TEST_F(Whole_Hives, AreSavedAsAFileWithoutAName) {
  const auto answered = client.ask<wire::Save_Key>({.key = key});
  ASSERT_EQ(answered->code, 0u);
  struct stat found;
  ASSERT_EQ(fstat(answered->hive.fd, &found), 0);
  EXPECT_EQ(found.st_nlink, 0u);
  EXPECT_EQ(content_of(answered->hive.fd).substr(0, 15), "SQLite format 3");
}

TEST_F(Whole_Hives, AreLoadedFromSealedMemoryAndUnloaded) {
  const wire::Unique_Fd hive = wire::seal(bytes(saved()));
  ASSERT_EQ(client.ask<wire::Load_Key>({.key = machine, .path = text(u"Loaded"), .hive = {hive.get()}})->code, 0u);
  EXPECT_EQ(string_of(query(client, open(client, machine, u"Loaded\\Branch")->handle, u"v")->data), "leaf");
  EXPECT_EQ(client.ask<wire::Unload_Key>({.key = machine, .path = text(u"Loaded")})->code, 0u);
  EXPECT_EQ(open(client, machine, u"Loaded")->code, 2u);
}

TEST_F(Whole_Hives, AreNotLoadedFromWhatIsNone) {
  const wire::Unique_Fd text_file = wire::seal(bytes(std::string(5000, 't')));
  EXPECT_EQ(client.ask<wire::Load_Key>({.key = machine, .path = text(u"L"), .hive = {text_file.get()}})->code, 1017u);
  const wire::Unique_Fd unsealed(memfd_create("hive", 0));
  EXPECT_EQ(client.ask<wire::Load_Key>({.key = machine, .path = text(u"L"), .hive = {unsealed.get()}})->code, 87u);
  EXPECT_EQ(client.ask<wire::Load_Key>({.key = machine, .path = text(u"L")})->code, 87u);
  EXPECT_EQ(open(client, machine, u"L")->code, 2u);
}

TEST_F(Whole_Hives, AreBackedUpWhileTheyAreUsed) {
  create(client, number(HKEY_CURRENT_USER), u"Mine");
  const auto answered = client.ask<wire::Backup>({});
  ASSERT_EQ(answered->code, 0u);
  ASSERT_EQ(answered->files.size(), 2u);
  EXPECT_EQ(string_of(answered->files[0].name), "machine.hive");
  EXPECT_EQ(string_of(answered->files[1].name), "users.hive");
  EXPECT_EQ(content_of(answered->files[1].file.fd).substr(0, 15), "SQLite format 3");
}

TEST_F(Whole_Hives, LeaveNothingInTheDataFolder) {
  saved();
  client.ask<wire::Backup>({});
  for (const auto& entry : std::filesystem::directory_iterator(served.folder())) {
    EXPECT_EQ(entry.path().filename().string().find("passing"), std::string::npos) << entry.path();
  }
}

TEST_F(Whole_Hives, TheUsersHiveIsGivenAsAnImage) {
  create(client, number(HKEY_CURRENT_USER), u"Mine");
  const auto answered = client.ask<wire::User_Image>({});
  ASSERT_EQ(answered->code, 0u);
  EXPECT_EQ(content_of(answered->image.fd).substr(0, 8), "KVIMAGE\n");
}

TEST_F(Whole_Hives, AreWrittenThroughWithoutKeepingOthersWaiting) {
  EXPECT_EQ(client.ask<wire::Flush_Key>({.key = key})->code, 0u);
  EXPECT_EQ(client.ask<wire::Flush_Key>({.key = 12345})->code, 6u);
}

TEST_F(Whole_Hives, KeysAreRenamedInTheirPlace) {
  const wire::Rename_Key::Question asked{.key = machine, .path = text(u"Tree\\Branch"), .new_name = text(u"Twig")};
  EXPECT_EQ(client.ask<wire::Rename_Key>(asked)->code, 0u);
  EXPECT_EQ(string_of(query(client, key, u"v")->data), "leaf");
  EXPECT_EQ(open(client, machine, u"Tree\\Twig")->code, 0u);
  EXPECT_EQ(client.ask<wire::Rename_Key>(asked)->code, 2u);
}

TEST_F(Whole_Hives, AreLookedThroughAndCounted) {
  const auto answered = client.ask<wire::Check_Key>({.key = key});
  EXPECT_EQ(answered->code, 0u);
  EXPECT_EQ(answered->values, 1u);
  EXPECT_EQ(answered->data_size, 4u);
  EXPECT_GE(answered->keys, 3u);
  EXPECT_TRUE(answered->faults.empty());
  create(client, machine, u"Tree\\Mist", KEY_ALL_ACCESS, REG_OPTION_VOLATILE);
  const auto again = client.ask<wire::Check_Key>({.key = key});
  EXPECT_EQ(again->keys, answered->keys + 1);
  EXPECT_EQ(again->volatile_keys, answered->volatile_keys + 1);
}

TEST_F(Whole_Hives, AreLookedThroughOnlyByAHandleThatMayRead) {
  const wire::Number writer = open(client, machine, u"Tree", KEY_SET_VALUE)->handle;
  EXPECT_EQ(client.ask<wire::Check_Key>({.key = writer})->code, 5u);
  EXPECT_EQ(client.ask<wire::Check_Key>({.key = 12345})->code, 6u);
}

TEST_F(Whole_Hives, ThatAreSentAreLookedThrough) {
  const wire::Unique_Fd hive = wire::seal(bytes(saved()));
  const auto answered = client.ask<wire::Check_File>({.hive = {hive.get()}});
  EXPECT_EQ(answered->code, 0u);
  EXPECT_EQ(answered->values, 1u);
  EXPECT_EQ(answered->data_size, 4u);
  EXPECT_TRUE(answered->faults.empty());
  const wire::Unique_Fd text_file = wire::seal(bytes(std::string(5000, 't')));
  EXPECT_EQ(client.ask<wire::Check_File>({.hive = {text_file.get()}})->code, 1017u);
  EXPECT_EQ(client.ask<wire::Check_File>({})->code, 87u);
}

TEST_F(Whole_Hives, AreToldOfWithTheirFaults) {
  const std::string file = served.folder() + "/damaged";
  hivetest::write_bytes(file, saved());
  hivetest::Database(file).run(
      "UPDATE node SET value_count = 0 WHERE folded = 'BRANCH' AND kind = 0;"
      "UPDATE node SET type = -1 WHERE folded = 'V' AND kind = 1");
  const wire::Unique_Fd hive = wire::seal(bytes(hivetest::bytes_of(file)));
  const auto answered = client.ask<wire::Check_File>({.hive = {hive.get()}});
  EXPECT_EQ(answered->code, 0u);
  ASSERT_EQ(answered->faults.size(), 2u);
  const wire::Hive_Fault& counts = answered->faults[0];
  EXPECT_EQ(counts.kind, 8u);
  EXPECT_EQ(counts.has, 1u);
  EXPECT_EQ(units_of(counts.key), u"Branch");
  EXPECT_NE(string_of(counts.text).find("the number of its values is not what it says"), std::string::npos);
  const wire::Hive_Fault& data = answered->faults[1];
  EXPECT_EQ(data.kind, 12u);
  EXPECT_EQ(data.has, 3u);
  EXPECT_EQ(units_of(data.key), u"Branch");
  EXPECT_EQ(units_of(data.value), u"v");
}

TEST(Whole_Hives_Of_Others, AreNotLookedThrough) {
  if (geteuid() != 0) GTEST_SKIP() << "only root becomes an ordinary user";
  Served served;
  EXPECT_EQ(as_ordinary_user([&] {
              Client client(served.address());
              CHECK_OR_LINE(client.begin()->code == 0);
              CHECK_OR_LINE(client.ask<wire::Check_Key>({.key = machine})->code == 5);
              const wire::Unique_Fd hive = wire::seal(bytes("any"));
              CHECK_OR_LINE(client.ask<wire::Check_File>({.hive = {hive.get()}})->code == 5);
              return 0;
            }),
            0);
}

TEST_F(Whole_Hives, TheHostTellsOfItsUsersAndOfItself) {
  EXPECT_EQ(client.ask<wire::User_Number>({.user = text(u"root")})->user, 0u);
  EXPECT_EQ(client.ask<wire::User_Number>({.user = text(u"no such user")})->code, 1317u);
  char host[65] = {};
  gethostname(host, sizeof host - 1);
  const std::string name(host);
  const auto policy = client.ask<wire::Policy>({.information_class = 5});
  EXPECT_EQ(units_of(policy->name), std::u16string(name.begin(), name.end()));
  ASSERT_EQ(policy->sid.size(), 24u);
  EXPECT_EQ(policy->sid[1], 4);
  EXPECT_TRUE(client.ask<wire::Policy>({.information_class = 3})->sid.empty());
  EXPECT_EQ(client.ask<wire::Policy>({.information_class = 99})->code, 87u);
}

}  // namespace
