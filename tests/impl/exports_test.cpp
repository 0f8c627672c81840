// What the library shows of itself: its entries and nothing of what it is made of.
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

// Beside those for everybody the one through which the server's library reaches the store.
std::set<std::string> optional_names() {
  return {"KvIRegBeginBatch", "KvIRegCommitBatch", "KvIRegAbandonBatch", "KvIRegUnLoadKey",
          "KvIRegRenameKey",  "KvIRegCheck",       "KvIRegCheckFile",    "KvIHostedRegistry"};
}

TEST(Exports, AreTheFortyTwoEntriesAndTheOptionalOnesAndNothingElse) {
  const auto listing = run_program({"/usr/bin/nm", "-D", "--defined-only", "--format=just-symbols", KV_IMPL_FILE});
  ASSERT_EQ(listing.exit_status, 0) << listing.err;
  std::istringstream lines(listing.out);
  std::set<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("__asan_", 0) != 0 && line.rfind("__odr_asan", 0) != 0) names.insert(line);
  }
  EXPECT_EQ(names.size(), 42u + 8u);
  std::set<std::string> expected = slot_names();
  expected.merge(optional_names());
  EXPECT_EQ(names, expected);
}

TEST(Exports, AreReachedThroughNoExportedNameInside) {
  const auto listing = run_program({"/usr/bin/nm", "-D", "--undefined-only", "--format=just-symbols", KV_IMPL_FILE});
  ASSERT_EQ(listing.exit_status, 0) << listing.err;
  EXPECT_EQ(listing.out.find("KvIReg"), std::string::npos);
}

TEST(Loading, TouchesNoFileAndMayBeToldAgain) {
  const Temp_Folder folder;
  const auto child = run_child([&] {
    put_hives_into(folder.path());
    const Entries fresh = bind_entries(load_module());
    fresh.KvIOnLoadDll();
    fresh.KvIOnLoadDll();
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Loading, AgainAfterUnloadingGivesTheSameRegistry) {
  const Temp_Folder folder;
  const auto child = run_child([&] {
    put_hives_into(folder.path());
    void* module = load_module();
    const Entries first = bind_entries(module);
    HKEY key = nullptr;
    first.KvIRegCreateKeyEx(HKEY_LOCAL_MACHINE, win(u"k").data(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr,
                            0, nullptr);
    dlclose(module);
    const Entries second = bind_entries(load_module());
    _exit(second.KvIRegSetValueEx(key, nullptr, 0, REG_BINARY, nullptr, 0, nullptr) == 0 ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
}

}  // namespace
