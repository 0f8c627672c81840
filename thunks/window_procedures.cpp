// The ten fixed window procedures, all made from one template.
#include "thunks/mapping.h"

inline namespace kelvane {
namespace {

// The maps are not locked during the call, so that the procedure may use them.
template <int index>
LRESULT call_registered(HWND window, UINT message, WPARAM first, LPARAM second) {
  WndProc_And_Context found;
  if (!find_registration(index, window, &found)) return 0;
  return found.procedure(found.context, message, first, second);
}

}  // namespace
}  // namespace kelvane

#define KV_WINDOW_PROCEDURES(PROCEDURE) \
  PROCEDURE(0)                          \
  PROCEDURE(1)                          \
  PROCEDURE(2)                          \
  PROCEDURE(3)                          \
  PROCEDURE(4)                          \
  PROCEDURE(5)                          \
  PROCEDURE(6)                          \
  PROCEDURE(7)                          \
  PROCEDURE(8)                          \
  PROCEDURE(9)

#define KV_DEFINE(number)                                                                 \
  LRESULT AdvWindowProc##number(HWND window, UINT message, WPARAM first, LPARAM second) { \
    return call_registered<number>(window, message, first, second);                       \
  }
KV_WINDOW_PROCEDURES(KV_DEFINE)

#define KV_ADDRESS(number) AdvWindowProc##number,
const KvWindowProcedure kelvane::WindowProcs[map_count] = {KV_WINDOW_PROCEDURES(KV_ADDRESS)};
