// Without memory: the program's linker leads the library's calls of calloc and realloc through these, which fail on
// cue.
#include <cstdlib>

#include "tests/security/com/com_test.h"

namespace {

int callocs_until_failure = 0;  // 0: none fails
bool realloc_fails = false;

}  // namespace

extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);

KV_EXPORT void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (callocs_until_failure > 0 && --callocs_until_failure == 0) return nullptr;
  return __real_calloc(count, size);
}

KV_EXPORT void* __wrap_realloc(void* block, std::size_t size) {
  return realloc_fails ? nullptr : __real_realloc(block, size);
}
}

namespace kvtest {
namespace {

class Com_Memory : public Com_Permissions {
 protected:
  ~Com_Memory() override {
    callocs_until_failure = 0;
    realloc_fails = false;
  }
};

TEST_F(Com_Memory, ForANewDescriptorIs14) {
  callocs_until_failure = 1;
  EXPECT_EQ(add({500}, {}, 1, 1), 0);
  EXPECT_EQ(GetLastError(), 14u);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegCloseKey ");
}

TEST_F(Com_Memory, ForTheListsAndThePackedDescriptorIsTheOtherCode) {
  for (const int failing : {2, 3, 4}) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key));
    callocs_until_failure = failing;
    SetLastError(0);
    EXPECT_EQ(add({500}, {}, 1, 1), 0);
    EXPECT_EQ(GetLastError(), 0x8007000Eu) << failing;
    EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegCloseKey ");
  }
}

TEST_F(Com_Memory, ForTheStoredValueIsTheOtherCode) {
  callocs_until_failure = 1;
  EXPECT_EQ(add({500}, {}, 1, 2), 0);
  EXPECT_EQ(GetLastError(), 0x8007000Eu);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegCloseKey ");
}

TEST_F(Com_Memory, ForALongerStoredValueIsTheOtherCode) {
  recording.script("KvIRegQueryValueEx", answer_value_size(ERROR_MORE_DATA, REG_BINARY, 300));
  realloc_fails = true;
  EXPECT_EQ(add({500}, {}, 1, 2), 0);
  EXPECT_EQ(GetLastError(), 0x8007000Eu);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegCloseKey ");
}

TEST_F(Com_Memory, ThatIsShortInTheLaunchPermissionBringsTheAccessPermissionBack) {
  answer_stored(bytes(stored_500_501));
  answer_set();
  callocs_until_failure = 5;
  EXPECT_EQ(add({7}, {}, 3, 2), 0);
  EXPECT_EQ(GetLastError(), 0x8007000Eu);
  ASSERT_EQ(written().size(), 2u);
  EXPECT_BYTES(written()[1].second, stored_500_501);
}

TEST_F(Com_Memory, ForTheScratchOfDeleteAceFailsAndChangesNothing) {
  recording.reset();
  Guarded acl(bytes("02 00 0c 00 01 00 00 00 00 00 04 00"));
  callocs_until_failure = 1;
  EXPECT_EQ(DeleteAce(acl.as<ACL>(), 1), 0);
  EXPECT_BYTES(acl.content(), "02 00 0c 00 01 00 00 00 00 00 04 00");
  EXPECT_EQ(GetLastError(), 0x5A5Au);
}

}  // namespace
}  // namespace kvtest
