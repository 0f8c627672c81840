// What a person and the world do: keys, a new size of the terminal, changes in the registry.
#pragma once

#include <signal.h>

#include <chrono>
#include <optional>

#include "tools/kvreg/browse/change_watch.h"

namespace kvreg {

enum class Key_Code {
  character,
  enter,
  escape,
  tab,
  backspace,
  erase,
  insert,
  left,
  right,
  up,
  down,
  home,
  end,
  page_up,
  page_down,
  keep,        // F2 or Ctrl-D
  erase_line,  // Ctrl-U
  by_number,   // Ctrl-K
  help,        // F1
  refresh,     // F5 or Ctrl-L
  none
};

struct Input {
  enum class Kind { key, resized, changed } kind;
  Key_Code code = Key_Code::none;
  char32_t character = 0;
};

// While it lives the signals that end the program and the one of a new size come only while it waits.
class Terminal_Input {
 public:
  explicit Terminal_Input(Change_Watch& watch);
  ~Terminal_Input();
  Terminal_Input(const Terminal_Input&) = delete;
  Terminal_Input& operator=(const Terminal_Input&) = delete;

  // Waits. Throws Interrupted for a signal, and as by SIGHUP when the terminal is gone.
  Input next();
  // The same without waiting, keys and sizes only.
  std::optional<Input> poll();
  // Changes that follow quickly are told after a while of rest, so that looking at them leaves time for keys. To be
  // called when a change was looked at.
  void rest_after(std::chrono::steady_clock::duration looking);

 private:
  std::optional<Input> read_key();
  void wait();

  Change_Watch& watch_;
  sigset_t signals_before_;
  bool is_changed_ = false;
  std::chrono::steady_clock::time_point rest_until_{};
};

// Blocks those signals in this thread and all that it makes; gives what was blocked before.
sigset_t hold_signals();

}  // namespace kvreg
