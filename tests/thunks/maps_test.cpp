// Registering windows, and finding and removing what is registered.
#include "tests/thunks/window.h"

namespace kvtest {
namespace {

TEST_F(Window_Maps, GiveTheTenProceduresInOrderAndNullForTheEleventh) {
  for (int i = 0; i < 10; ++i) EXPECT_EQ(hmap_addex(window, &noted[i], note_call), window_procedures()[i]) << i;
  EXPECT_EQ(hmap_addex(window, &noted[10], note_call), nullptr);
  EXPECT_EQ(hmap_add(window, &noted[10]), nullptr);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(hmap_getex(window, i), &noted[i]) << i;
}

TEST_F(Window_Maps, TakeARegistrationIntoThePlaceThatBecameFree) {
  for (int i = 0; i < 10; ++i) hmap_addex(window, &noted[i], note_call);
  EXPECT_EQ(hmap_removeex(window, &noted[3]), &noted[3]);
  EXPECT_EQ(hmap_getex(window, 3), nullptr);
  EXPECT_EQ(hmap_getex(window, 4), &noted[4]);
  EXPECT_EQ(hmap_addex(window, &noted[10], note_call), AdvWindowProc3);
  EXPECT_EQ(hmap_getex(window, 3), &noted[10]);
}

TEST_F(Window_Maps, TellWindowsApart) {
  const HWND same_low_half = window_of(0x100004711);
  EXPECT_EQ(hmap_add(window, &noted[0]), AdvWindowProc0);
  EXPECT_EQ(hmap_add(same_low_half, &noted[1]), AdvWindowProc0);
  EXPECT_EQ(hmap_add(nullptr, &noted[2]), AdvWindowProc0);
  EXPECT_EQ(hmap_add(window_of(~UINT_PTR{0}), &noted[3]), AdvWindowProc0);
  EXPECT_EQ(hmap_get(window), &noted[0]);
  EXPECT_EQ(hmap_get(same_low_half), &noted[1]);
  EXPECT_EQ(hmap_get(nullptr), &noted[2]);
  EXPECT_EQ(hmap_get(window_of(~UINT_PTR{0})), &noted[3]);
  EXPECT_EQ(hmap_remove(window), &noted[0]);
  EXPECT_EQ(hmap_get(window), nullptr);
  EXPECT_EQ(hmap_get(same_low_half), &noted[1]);
}

TEST_F(Window_Maps, HoldManyWindows) {
  std::vector<int> contexts(1000);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(hmap_add(window_of(16 * UINT_PTR(i)), &contexts[i]), AdvWindowProc0);
  for (int i = 0; i < 1000; i += 2) ASSERT_EQ(hmap_remove(window_of(16 * UINT_PTR(i))), &contexts[i]);
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(hmap_get(window_of(16 * UINT_PTR(i))), i % 2 == 0 ? nullptr : &contexts[i]);
  }
}

TEST_F(Window_Maps, KnowNothingOfAWindowThatIsNotRegistered) {
  EXPECT_EQ(hmap_get(window), nullptr);
  EXPECT_EQ(hmap_getex(window, 9), nullptr);
  EXPECT_EQ(hmap_remove(window), nullptr);
  EXPECT_EQ(hmap_removeex(window, &noted[0]), nullptr);
}

TEST_F(Window_Maps, GetLooksIntoMap0Only) {
  hmap_add(window, &noted[0]);
  hmap_add(window, &noted[1]);
  EXPECT_EQ(hmap_remove(window), &noted[0]);
  EXPECT_EQ(hmap_get(window), nullptr);
  EXPECT_EQ(hmap_getex(window, 1), &noted[1]);
}

TEST_F(Window_Maps, RemoveTheLowestOfSeveralRegistrationsWithOneContext) {
  hmap_add(window, &noted[0]);
  hmap_add(window, &noted[5]);
  hmap_add(window, &noted[5]);
  EXPECT_EQ(hmap_removeex(window, &noted[5]), &noted[5]);
  EXPECT_EQ(hmap_getex(window, 1), nullptr);
  EXPECT_EQ(hmap_getex(window, 2), &noted[5]);
  EXPECT_EQ(hmap_removeex(window, &noted[7]), nullptr);
  EXPECT_EQ(hmap_removeex(window, &noted[5]), &noted[5]);
  EXPECT_EQ(hmap_removeex(window, &noted[5]), nullptr);
  EXPECT_EQ(hmap_get(window), &noted[0]);
}

TEST_F(Window_Maps, RegisterANullContextLikeAnyOther) {
  EXPECT_EQ(hmap_add(window, nullptr), AdvWindowProc0);
  EXPECT_EQ(hmap_add(window, nullptr), AdvWindowProc1);
  EXPECT_EQ(hmap_get(window), nullptr);
  EXPECT_EQ(hmap_removeex(window, nullptr), nullptr);
  EXPECT_EQ(hmap_add(window, &noted[0]), AdvWindowProc0);
}

// QUIRK hmap-remove-null-context
TEST_F(Window_Maps, RemoveOneWithANullContextWhenMap0HasNothing) {
  hmap_addex(window, &noted[0], note_call);
  hmap_addex(window, &noted[1], note_call);
  hmap_addex(window, nullptr, [](void*, UINT, WPARAM, LPARAM) -> LRESULT { return 5; });
  EXPECT_EQ(hmap_remove(window), &noted[0]);
  EXPECT_EQ(AdvWindowProc2(window, 0, 0, 0), 5);
  EXPECT_EQ(hmap_remove(window), nullptr);
  EXPECT_EQ(AdvWindowProc2(window, 0, 0, 0), 0);
  EXPECT_EQ(hmap_getex(window, 1), &noted[1]);
}

}  // namespace
}  // namespace kvtest
