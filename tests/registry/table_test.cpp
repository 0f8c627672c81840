// The implementation table after binding: every row names its entry and points at the recording library's.
#include <dlfcn.h>

#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Table : public Fronts {};

const char* const slot_names[] = {
#define KV_SLOT(number, name, result, parameters, arguments) #name,
#include <kelvane/registry_slots.def>
#undef KV_SLOT
};

TEST_F(Table, NamesItsFortyTwoEntriesInOrderAndEndsWithLastFunc) {
  ASSERT_EQ(std::size(slot_names), 42u);
  for (std::size_t i = 0; i < 42; ++i) EXPECT_STREQ(KvIRegFunctions[i].name, slot_names[i]) << i;
  EXPECT_STREQ(KvIRegFunctions[42].name, "LastFunc");
}

TEST_F(Table, PointsAtTheLibraryThatWasBound) {
  for (std::size_t i = 0; i < 42; ++i) {
    Dl_info where = {};
    ASSERT_NE(dladdr(KvIRegFunctions[i].entry, &where), 0) << slot_names[i];
    EXPECT_STREQ(where.dli_sname, slot_names[i]);
    EXPECT_STREQ(where.dli_fname, KV_RECORDING_FOLDER "/advapi32impl.dll");
  }
}

// The rows of the keys' own numbers as they are published to implementation libraries.
TEST_F(Table, HasTheRegistrysEntriesAtTheirPublishedNumbers) {
  EXPECT_STREQ(KvIRegFunctions[0].name, "KvIRegCreateKeyEx");
  EXPECT_STREQ(KvIRegFunctions[5].name, "KvIRegOpenKeyEx");
  EXPECT_STREQ(KvIRegFunctions[7].name, "KvIRegQueryValueEx");
  EXPECT_STREQ(KvIRegFunctions[16].name, "KvIRegSetKeySecurity");
  EXPECT_STREQ(KvIRegFunctions[22].name, "KvIRegListConnected");
  EXPECT_STREQ(KvIRegFunctions[29].name, "KvIGetServiceData");
  EXPECT_STREQ(KvIRegFunctions[38].name, "KvIOnLoadDll");
  EXPECT_STREQ(KvIRegFunctions[41].name, "KvIAutoReportNotification");
}

TEST_F(Table, EachRecordingLibraryKnowsItsName) {
  for (const char* name : {"advapi32impl.dll", "advapi32client.dll", "advapi32server.dll"}) {
    HMODULE library = LoadLibraryA(name);
    ASSERT_NE(library, nullptr) << name;
    ASSERT_NE(kvrecording::control_of(library), nullptr) << name;
    EXPECT_STREQ(kvrecording::control_of(library)->library_name(), name);
  }
}

TEST_F(Table, AFrontCallsWhateverItsRowPointsAt) {
  void* const bound = KvIRegFunctions[9].entry;
  static HKEY closed;
  KvIRegFunctions[9].entry = reinterpret_cast<void*>(+[](HKEY which, void*) -> DWORD {
    closed = which;
    return 4711;
  });
  EXPECT_EQ(RegCloseKey(key), 4711);
  KvIRegFunctions[9].entry = bound;
  EXPECT_EQ(closed, key);
  EXPECT_EQ(entries(), "");
}

TEST_F(Table, HkeyRootIsPublishedAsAHandleValue) { EXPECT_EQ(number_of(HKEY_ROOT), 0x85000000u); }

}  // namespace
}  // namespace kvtest
