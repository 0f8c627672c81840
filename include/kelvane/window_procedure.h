/*
 * Window procedures with a context: ten fixed window procedures that call, for a registered window, a procedure of the
 * program with a context value in place of the window.
 *
 * A window can be registered up to ten times, each time in the first of ten maps (0 to 9) that does not have it yet;
 * map i belongs to AdvWindowProc<i>. Every function may be called from any thread, also from inside a procedure that a
 * window procedure has called. None sets the last error.
 */
#ifndef KELVANE_WINDOW_PROCEDURE_H
#define KELVANE_WINDOW_PROCEDURE_H

#include "../windef.h"

KV_BEGIN_C

typedef LRESULT(CALLBACK* KvWindowProcedure)(HWND window, UINT message, WPARAM first, LPARAM second);
typedef LRESULT(CALLBACK* KvContextProcedure)(void* context, UINT message, WPARAM first, LPARAM second);

/*
 * Registers a window with a context and the procedure to call with it; neither is looked at, and both stay the
 * caller's. Returns the fixed window procedure of the map that took the window, or null when all ten have it. In C++ it
 * throws std::bad_alloc when memory is short; nothing is registered then.
 */
KV_EXPORT KvWindowProcedure hmap_addex(HWND window, void* context, KvContextProcedure procedure);

/* The same without a procedure: the fixed window procedure that is returned must not be called. */
KV_EXPORT KvWindowProcedure hmap_add(HWND window, void* context);

/* The context of a window in one map, 0 to 9 (not checked), or in map 0; null when it is not there. */
KV_EXPORT void* hmap_getex(HWND window, int map);
KV_EXPORT void* hmap_get(HWND window);

/*
 * Takes away the registration of a window with this context, the one in the lowest map when there are several, and
 * returns the context; null when there is none.
 */
KV_EXPORT void* hmap_removeex(HWND window, void* context);

/*
 * The same with the context that map 0 has for the window. When it has none that is null: a registration with a null
 * context in another map is then taken away.
 */
KV_EXPORT void* hmap_remove(HWND window);

/*
 * Calls the procedure that map i has for the window with its context, the message and both parameters, and returns its
 * result; 0 when the map does not have the window. No lock is held during the call. A registration may be removed while
 * its procedure runs: whatever the context points to must outlive the call.
 */
KV_EXPORT LRESULT CALLBACK AdvWindowProc0(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc1(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc2(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc3(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc4(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc5(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc6(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc7(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc8(HWND window, UINT message, WPARAM first, LPARAM second);
KV_EXPORT LRESULT CALLBACK AdvWindowProc9(HWND window, UINT message, WPARAM first, LPARAM second);

/* Makes the lock and ten empty maps. Called by start-up; a further call begins anew, with empty maps. */
KV_EXPORT void AdvInitMapping(void);

KV_END_C

#endif
