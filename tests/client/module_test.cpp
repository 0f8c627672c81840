// The library as libadvapi32 loads it.
#include <filesystem>
#include <set>
#include <sstream>

#include "tests/impl/module.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;

std::set<std::string> slot_names() {
  return {
#define KV_SLOT(number, name, result, parameters, arguments) #name,
#include <kelvane/registry_slots.def>
#undef KV_SLOT
  };
}

std::string listing_of(const char* which) {
  const auto listing = run_program({"/usr/bin/nm", "-D", which, "--format=just-symbols", KV_IMPL_FILE});
  EXPECT_EQ(listing.exit_status, 0) << listing.err;
  return listing.out;
}

TEST(Client_Library, ExportsTheEntriesOfTheTableAndTheOptionalOnesAndNothingElse) {
  std::istringstream lines(listing_of("--defined-only"));
  std::set<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("__asan_", 0) != 0 && line.rfind("__odr_asan", 0) != 0) names.insert(line);
  }
  std::set<std::string> expected = slot_names();
  EXPECT_EQ(expected.size(), 42u);
  expected.insert({"KvIRegBeginBatch", "KvIRegCommitBatch", "KvIRegAbandonBatch", "KvIRegUnLoadKey", "KvIRegRenameKey",
                   "KvIRegCheck", "KvIRegCheckFile"});
  EXPECT_EQ(names, expected);
}

TEST(Client_Library, AloneLeansOnTheServiceManagersLibrary) {
  const std::string libraries = std::filesystem::path(KV_MODULE_FOLDER).parent_path();
  const auto leans = [](const std::string& file) {
    const auto listing = run_program({"/usr/bin/readelf", "-d", file});
    EXPECT_EQ(listing.exit_status, 0) << listing.err;
    return listing.out.find("[libsystemd.so") != listing.out.npos;
  };
  EXPECT_TRUE(leans(KV_IMPL_FILE));
  EXPECT_FALSE(leans(libraries + "/libadvapi32.so"));
  EXPECT_FALSE(leans(libraries + "/libkernel32.so"));
}

TEST(Client_Library, HasNoStoreOfItsOwn) {
  const auto listing = run_program({"/usr/bin/strings", KV_IMPL_FILE});
  ASSERT_EQ(listing.exit_status, 0) << listing.err;
  EXPECT_EQ(listing.out.find("SQLite format 3"), std::string::npos);
}

TEST(Client_Library, IsLoadedWithoutLookingForAServer) {
  const Temp_Folder folder;
  const auto child = run_child([&] {
    setenv("TMPDIR", folder.path().c_str(), 1);
    setenv("KVREGISTRY_MODE", "0", 1);
    const Entries fresh = bind_entries(load_module());
    fresh.KvIOnLoadDll();
    _exit(fresh.KvIRegCloseKey(HKEY_LOCAL_MACHINE, nullptr) == 0 ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Client_Library, WithoutAServerAnswers1722AndNamesTheEndpointAndTheCommand) {
  const Temp_Folder folder;
  const auto child = run_child([&] {
    setenv("TMPDIR", folder.path().c_str(), 1);
    setenv("KVREGISTRY_MODE", "0", 1);
    const Entries fresh = bind_entries(load_module());
    HKEY key = nullptr;
    for (int i = 0; i < 2; ++i) {
      const DWORD code = fresh.KvIRegOpenKeyEx(HKEY_LOCAL_MACHINE, win(u"k").data(), 0, KEY_READ, &key, nullptr);
      if (code != 1722) _exit(1);
    }
    BYTE* image = nullptr;
    int size = 0;
    _exit(fresh.KvIRegProcessEnding(&image, &size, 0) == 0 && size == 0 ? 0 : 2);
  });
  EXPECT_EQ(child.exit_status, 0);
  const std::string endpoint = folder / "kv/regss";
  EXPECT_EQ(child.err, "kelvane registry: no server answers at " + endpoint + " (" + endpoint +
                           ": No such file or directory); it is started by \"regss --machine\"\n");
}

TEST(Client_Library, MeetsTheServerOfTheMachineBelowTheTemporaryDirectory) {
  const Temp_Folder folder;
  for (const char* name : {"kv", "core"}) std::filesystem::create_directory(folder / name);
  detail::Pipe ready;
  const pid_t server = fork();
  if (server == 0) {
    dup2(ready.write_end, STDOUT_FILENO);
    detail::change_environment({"KVREGISTRY=" + (folder / "hklm.hive") + ":" + (folder / "hkcu.bin"),
                                "KVCORE_PRIVATE_DATA=" + (folder / "core"), "KVREGISTRY_MODE=2",
                                "KVMODULE_PATH=" KV_MODULE_FOLDER});
    execl(KV_TEST_SERVER, KV_TEST_SERVER, (folder / "kv/regss").c_str(), (folder / "kv/rgsport").c_str(), nullptr);
    _exit(127);
  }
  close(ready.write_end);
  char word = 0;
  ASSERT_EQ(read(ready.read_end, &word, 1), 1);
  const auto child = run_child([&] {
    setenv("TMPDIR", folder.path().c_str(), 1);
    setenv("KVREGISTRY_MODE", "0", 1);
    HKEY key = nullptr;
    const bool good = create_key(HKEY_LOCAL_MACHINE, u"k", &key) == 0 && set_value(key, u"v", REG_BINARY, "x") == 0 &&
                      value_of(key, u"v") == Value{0, REG_BINARY, "x"} && close_key(key) == 0;
    _exit(good ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  kill(server, SIGTERM);
  int status = 0;
  waitpid(server, &status, 0);
  EXPECT_EQ(status, 0);
  close(ready.read_end);
}

}  // namespace
