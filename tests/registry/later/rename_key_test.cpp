// RegRenameKey: an entry of the implementation library that is found by name, or not.
#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Rename_Key : public Fronts {};

TEST_F(Rename_Key, IsNotImplementedWithoutAnEntry) {
  EXPECT_EQ(RegRenameKey(key, L"old", L"new"), 120);
  EXPECT_EQ(entries(), "");
}

TEST_F(Rename_Key, AsksTheEntryOfTheBoundLibrary) {
  const KvIRegFunction bound = KvIRegFunctions[5];
  KvIRegFunctions[5].entry =
      reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(KVTEST_RENAMING_LIBRARY), "KvIRegOpenKeyEx"));
  EXPECT_EQ(RegRenameKey(key, L"old", L"new"), 1234);
  EXPECT_EQ(RegRenameKey(key, nullptr, L"new"), 1235);
  KvIRegFunctions[5] = bound;
}

TEST_F(Rename_Key, RefusesNoNewName) { EXPECT_EQ(RegRenameKey(key, L"old", nullptr), 87); }

}  // namespace
}  // namespace kvtest
