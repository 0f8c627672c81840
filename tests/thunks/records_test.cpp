// The records of registrations: none is left behind. A sanitizer's heap counts no blocks, so that these tests say
// something in plain builds only.
#include <malloc.h>

#include "tests/thunks/window.h"

namespace kvtest {
namespace {

size_t bytes_in_use() { return mallinfo2().uordblks; }

TEST_F(Window_Maps, KeepNoRecordOfARegistrationThatIsRefused) {
  for (int i = 0; i < 10; ++i) hmap_add(window, &noted[i]);
  hmap_add(window, &noted[10]);
  const size_t before = bytes_in_use();
  for (int i = 0; i < 1000; ++i) hmap_add(window, &noted[10]);
  EXPECT_EQ(bytes_in_use(), before);
}

void come_and_go(HWND window, void* context) {
  for (int i = 0; i < 1000; ++i) {
    hmap_add(window, context);
    hmap_remove(window);
  }
}

// The map itself may grow at first.
TEST_F(Window_Maps, KeepNoRecordOfARegistrationThatIsRemoved) {
  come_and_go(window, &noted[0]);
  const size_t before = bytes_in_use();
  come_and_go(window, &noted[0]);
  EXPECT_EQ(bytes_in_use(), before);
}

TEST_F(Window_Maps, RemoveByTheContextOfMap0ThatRegistrationOnly) {
  hmap_add(window, &noted[5]);
  hmap_add(window, &noted[5]);
  EXPECT_EQ(hmap_remove(window), &noted[5]);
  EXPECT_EQ(hmap_get(window), nullptr);
  EXPECT_EQ(hmap_getex(window, 1), &noted[5]);
}

TEST_F(Window_Maps, HoldARegistrationWithoutAProcedure) {
  EXPECT_EQ(hmap_addex(window, &noted[0], nullptr), AdvWindowProc0);
  EXPECT_EQ(hmap_get(window), &noted[0]);
}

}  // namespace
}  // namespace kvtest
