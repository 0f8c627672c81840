// Whole hives on their way, and what the host knows.
#include <sys/mman.h>
#include <sys/stat.h>
#include <winerror.h>

#include <filesystem>

#include "impl/wire/sealed_memory.h"
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
