// The maps between start-up and shutdown, and when memory is short.
#include <kelvane/advapi32.h>
#include <kelvane/heap.h>
#include <stdlib.h>

#include <atomic>
#include <thread>

#include "tests/support/child.h"
#include "tests/thunks/window.h"

namespace {

std::atomic<bool> no_memory{false};

}  // namespace

// In place of the base library's: the library's own allocations come from here once the system's heap is not to be used
// any more.
void* KvKernelCalloc(size_t size) { return no_memory ? nullptr : calloc(1, size); }

namespace kvtest {
namespace {

int status_of(const std::function<int()>& body) {
  const Child_Result result = run_child([&] {
    setenv("KVREGISTRY_MODE", "1", 1);
    setenv("KVMODULE_PATH", KV_RECORDING_FOLDER, 1);
    _exit(body());
  });
  return result.exit_status;
}

TEST(Maps, AreThereAfterStartUp) {
  EXPECT_EQ(status_of([] {
              const HWND window = window_of(16);
              if (hmap_add(window, nullptr) != nullptr) return 1;
              init_advapi32();
              return hmap_add(window, nullptr) == AdvWindowProc0 ? 0 : 2;
            }),
            0);
}

TEST(Maps, AreEmptyAfterAnotherStartUp) {
  EXPECT_EQ(status_of([] {
              int context = 0;
              init_advapi32();
              hmap_add(window_of(16), &context);
              init_advapi32();
              if (hmap_get(window_of(16)) != nullptr) return 1;
              return hmap_add(window_of(16), &context) == AdvWindowProc0 ? 0 : 2;
            }),
            0);
}

TEST(Maps, AreGoneAfterShutdownAndFindNothing) {
  EXPECT_EQ(status_of([] {
              Noted noted;
              const HWND window = window_of(16);
              init_advapi32();
              hmap_addex(window, &noted, note_call);
              KvDestroyAdvapi32();
              if (hmap_get(window) != nullptr || hmap_remove(window) != nullptr) return 1;
              if (AdvWindowProc0(window, 1, 2, 3) != 0 || noted.calls != 0) return 2;
              return hmap_add(window, &noted) == nullptr ? 0 : 3;
            }),
            0);
}

TEST(Maps, ThrowWithoutMemoryAndStayUsable) {
  EXPECT_EQ(status_of([] {
              init_advapi32();
              KvDllUseMalloc = 0;
              no_memory = true;
              bool thrown = false;
              try {
                hmap_add(window_of(16), nullptr);
              } catch (const std::bad_alloc&) {
                thrown = true;
              }
              no_memory = false;
              if (!thrown) return 1;
              KvWindowProcedure got = nullptr;
              std::thread([&] { got = hmap_add(window_of(16), nullptr); }).join();
              return got == AdvWindowProc0 ? 0 : 2;
            }),
            0);
}

}  // namespace
}  // namespace kvtest
