// The ten maps from windows to what their fixed procedures call. One lock guards them all.
#pragma once

#include <kelvane/window_procedure.h>

#include <cstddef>

inline namespace kelvane {

inline constexpr int map_count = 10;

struct WndProc_And_Context {
  void* context;
  KvContextProcedure procedure;
};
static_assert(sizeof(WndProc_And_Context) == 16 && offsetof(WndProc_And_Context, procedure) == 8);

// What map index has for the window, copied out under the lock; false when it has nothing.
bool find_registration(int index, HWND window, WndProc_And_Context* out);

// The fixed procedures, by map.
extern const KvWindowProcedure WindowProcs[map_count];

}  // namespace kelvane
