// Threads that use all ten maps at once.
#include <atomic>
#include <thread>

#include "tests/thunks/window.h"

namespace kvtest {
namespace {

// Counts calls, and in each looks its own registration up.
struct Counted {
  HWND window;
  std::atomic<int> calls{0};
};

LRESULT count_call(void* context, UINT map, WPARAM, LPARAM) {
  Counted& counted = *static_cast<Counted*>(context);
  ++counted.calls;
  return hmap_getex(counted.window, static_cast<int>(map)) == context;
}

int map_of(KvWindowProcedure procedure) {
  for (int i = 0; i < 10; ++i) {
    if (window_procedures()[static_cast<std::size_t>(i)] == procedure) return i;
  }
  return -1;
}

// Registers the window three times, calls each registration and removes it. Returns the number of registrations, or
// a negative number when something went wrong.
int use_maps(HWND window) {
  Counted contexts[3] = {{window}, {window}, {window}};
  int done = 0;
  for (Counted& context : contexts) {
    const KvWindowProcedure procedure = hmap_addex(window, &context, count_call);
    if (procedure == nullptr) continue;
    const int map = map_of(procedure);
    if (map < 0 || procedure(window, static_cast<UINT>(map), 0, 0) != 1 || context.calls != 1) return -1000000;
    ++done;
  }
  for (Counted& context : contexts) {
    if (context.calls == 1 && hmap_removeex(window, &context) != &context) return -1000000;
  }
  return done;
}

TEST_F(Window_Maps, AreUsedByManyThreadsAtOnce) {
  const HWND shared = window_of(0x1000);
  std::vector<std::thread> threads;
  std::atomic<int> registered{0};
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      for (int step = 0; step < 500; ++step) {
        registered += use_maps(shared);
        registered += use_maps(window_of(0x2000 + 16 * static_cast<UINT_PTR>(i)));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(registered, 8 * 500 * 3);
  for (int map = 0; map < 10; ++map) EXPECT_EQ(hmap_getex(shared, map), nullptr);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(hmap_add(shared, nullptr), window_procedures()[static_cast<std::size_t>(i)]);
}

}  // namespace
}  // namespace kvtest
