// The ten window procedures, called as a window system calls them.
#include <thread>

#include "tests/support/child.h"
#include "tests/thunks/window.h"

namespace kvtest {
namespace {

class Window_Procedures : public Window_Maps {};

TEST_F(Window_Procedures, CallWhatIsRegisteredWithItsContext) {
  for (int i = 0; i < 10; ++i) {
    noted[i].result = 0x1234567800000000 + i;
    hmap_addex(window, &noted[i], note_call);
  }
  for (int i = 0; i < 10; ++i) {
    const LRESULT result = window_procedures()[i](window, 0xFFFF0000u + static_cast<UINT>(i), ~WPARAM{0} - 1, -7);
    EXPECT_EQ(result, 0x1234567800000000 + i);
    EXPECT_EQ(noted[i].message, 0xFFFF0000u + static_cast<UINT>(i));
    EXPECT_EQ(noted[i].first, 0xFFFFFFFFFFFFFFFE);
    EXPECT_EQ(noted[i].second, -7);
  }
  for (int i = 0; i < 10; ++i) EXPECT_EQ(noted[i].calls, 1);
}

TEST_F(Window_Procedures, CutTheMessageTo32Bits) {
  hmap_addex(window, &noted[0], note_call);
  using Wide_Procedure = LRESULT (*)(HWND, std::uint64_t, WPARAM, LPARAM);
  reinterpret_cast<Wide_Procedure>(reinterpret_cast<void*>(AdvWindowProc0))(window, 0x1122334455667788, 1, 2);
  EXPECT_EQ(noted[0].message, 0x55667788u);
}

TEST_F(Window_Procedures, OfAMapWithoutTheWindowReturn0AndCallNothing) {
  for (int i = 0; i < 5; ++i) {
    noted[i].result = 9;
    hmap_addex(window, &noted[i], note_call);
  }
  EXPECT_EQ(AdvWindowProc5(window, 1, 2, 3), 0);
  EXPECT_EQ(AdvWindowProc0(window_of(0x4712), 1, 2, 3), 0);
  for (const Noted& each : noted) EXPECT_EQ(each.calls, 0);
}

TEST_F(Window_Procedures, OfARegistrationThatWasRemovedCallNothing) {
  hmap_addex(window, &noted[0], note_call);
  hmap_remove(window);
  EXPECT_EQ(AdvWindowProc0(window, 1, 2, 3), 0);
  EXPECT_EQ(noted[0].calls, 0);
}

// What a procedure does that uses the maps itself.
struct Reentrant {
  HWND window;
  KvWindowProcedure next = nullptr;
  LRESULT inner = 0;
};

TEST_F(Window_Procedures, LetTheProcedureUseTheMaps) {
  Reentrant own{window};
  noted[1].result = 33;
  hmap_addex(window, &own, [](void* context, UINT message, WPARAM first, LPARAM second) -> LRESULT {
    Reentrant& self = *static_cast<Reentrant*>(context);
    if (hmap_removeex(self.window, context) != context) return -1;
    self.inner = AdvWindowProc1(self.window, message + 1, first, second);
    self.next = hmap_add(self.window, context);
    return 44;
  });
  hmap_addex(window, &noted[1], note_call);
  EXPECT_EQ(AdvWindowProc0(window, 7, 0, 0), 44);
  EXPECT_EQ(own.inner, 33);
  EXPECT_EQ(noted[1].message, 8u);
  EXPECT_EQ(own.next, AdvWindowProc0);
}

TEST_F(Window_Procedures, HoldNoLockDuringTheCall) {
  Reentrant own{window};
  hmap_addex(window, &own, [](void* context, UINT, WPARAM, LPARAM) -> LRESULT {
    const HWND target = static_cast<Reentrant*>(context)->window;
    KvWindowProcedure got = nullptr;
    std::thread([&] { got = hmap_add(target, nullptr); }).join();
    return got == AdvWindowProc1;
  });
  EXPECT_EQ(AdvWindowProc0(window, 0, 0, 0), 1);
}

TEST_F(Window_Procedures, LetAnExceptionOfTheProcedurePass) {
  hmap_addex(window, &noted[0], [](void*, UINT, WPARAM, LPARAM) -> LRESULT { throw 5; });
  EXPECT_THROW(AdvWindowProc0(window, 0, 0, 0), int);
  KvWindowProcedure got = nullptr;
  std::thread([&] { got = hmap_add(window, nullptr); }).join();
  EXPECT_EQ(got, AdvWindowProc1);
}

TEST(WindowProcedure, HasTheSameAddressInAProgramOfFixedAddresses) {
  const Child_Result result = run_program({KVTEST_FIXED_PROGRAM});
  EXPECT_EQ(result.exit_status, 10) << result.err;
}

}  // namespace
}  // namespace kvtest
