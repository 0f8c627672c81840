// Windows for tests, and a procedure that notes how it was called.
#ifndef KELVANE_TESTS_THUNKS_WINDOW_H
#define KELVANE_TESTS_THUNKS_WINDOW_H

#include <gtest/gtest.h>
#include <kelvane/window_procedure.h>

#include <vector>

namespace kvtest {

inline HWND window_of(UINT_PTR number) { return reinterpret_cast<HWND>(number); }

inline const std::vector<KvWindowProcedure>& window_procedures() {
  static const std::vector<KvWindowProcedure> procedures = {
      AdvWindowProc0, AdvWindowProc1, AdvWindowProc2, AdvWindowProc3, AdvWindowProc4,
      AdvWindowProc5, AdvWindowProc6, AdvWindowProc7, AdvWindowProc8, AdvWindowProc9,
  };
  return procedures;
}

// The context of note_call.
struct Noted {
  UINT message = 0;
  WPARAM first = 0;
  LPARAM second = 0;
  int calls = 0;
  LRESULT result = 0;
};

inline LRESULT note_call(void* context, UINT message, WPARAM first, LPARAM second) {
  Noted& noted = *static_cast<Noted*>(context);
  noted.message = message;
  noted.first = first;
  noted.second = second;
  ++noted.calls;
  return noted.result;
}

// Each test begins with empty maps.
class Window_Maps : public testing::Test {
 protected:
  Window_Maps() { AdvInitMapping(); }

  const HWND window = window_of(0x4711);
  Noted noted[11];
};

}  // namespace kvtest

#endif
