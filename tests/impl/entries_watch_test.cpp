// The entry for watching over a service of the test's own.
#include "tests/impl/scripted_service.h"

namespace {

using namespace kvtest;

class EntriesForWatching : public Entries_Test {
 protected:
  const HANDLE event = HANDLE(0x44);
};

TEST_F(EntriesForWatching, AsynchronousPassesTheEventOn) {
  EXPECT_EQ(KvIRegNotifyChangeKeyValue(key, TRUE, 5, event, TRUE, nullptr), 0u);
  EXPECT_EQ(scripted.watched, (std::vector<DWORD>{1, 5}));
  EXPECT_EQ(scripted.watch_event, event);
}

TEST_F(EntriesForWatching, WaitingLooksAtNoEvent) {
  EXPECT_EQ(KvIRegNotifyChangeKeyValue(key, FALSE, 8, event, FALSE, nullptr), 0u);
  EXPECT_EQ(scripted.watched, (std::vector<DWORD>{0, 8}));
  EXPECT_EQ(scripted.watch_event, nullptr);
}

TEST_F(EntriesForWatching, AsynchronousWithoutAnEventIs87) {
  EXPECT_EQ(KvIRegNotifyChangeKeyValue(key, FALSE, 1, nullptr, TRUE, nullptr), 87u);
  EXPECT_TRUE(scripted.watched.empty());
}

TEST_F(EntriesForWatching, AFilterOfNothingOrOfSomethingUnknownIs87) {
  EXPECT_EQ(KvIRegNotifyChangeKeyValue(key, FALSE, 0, event, TRUE, nullptr), 87u);
  EXPECT_EQ(KvIRegNotifyChangeKeyValue(key, FALSE, 0x10000000, event, TRUE, nullptr), 87u);
  EXPECT_EQ(KvIRegNotifyChangeKeyValue(key, FALSE, 0x11, event, TRUE, nullptr), 87u);
  EXPECT_TRUE(scripted.watched.empty());
}

TEST_F(EntriesForWatching, BeingIndependentOfTheThreadMayBeAskedFor) {
  EXPECT_EQ(KvIRegNotifyChangeKeyValue(key, FALSE, 0x10000004, event, TRUE, nullptr), 0u);
  EXPECT_EQ(scripted.watched, (std::vector<DWORD>{0, 4}));
}

TEST_F(EntriesForWatching, TheServicesCodeIsTheAnswer) {
  scripted.code = ERROR_KEY_DELETED;
  EXPECT_EQ(KvIRegNotifyChangeKeyValue(key, FALSE, 1, event, TRUE, nullptr), 1018u);
}

}  // namespace
