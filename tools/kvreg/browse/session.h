// The browser at work: keys become actions, actions open dialogs, and what goes wrong is told in the line for it.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tools/kvreg/browse/browser.h"
#include "tools/kvreg/browse/dialog.h"
#include "tools/kvreg/browse/panes.h"
#include "tools/kvreg/browse/screen.h"
#include "tools/kvreg/browse/terminal_input.h"

namespace kvreg {

class Session {
 public:
  Session(Browser& browser, Screen& screen, Terminal_Input& input)
      : browser_(browser), screen_(screen), input_(input) {}

  // Until the person leaves. Throws Interrupted.
  void run();

 private:
  void draw(Dialog* dialog);
  void look_again();
  // The next key; changes and sizes are seen to meanwhile.
  Input next_key(Dialog* dialog);
  // True when the answer is to be kept.
  bool run(Dialog& dialog);
  bool ask(const std::string& title, const std::string& text);
  // Runs the dialog until its answer could be kept, or it was given up. True when it was kept.
  bool keep_answer(Dialog& dialog, const std::function<void()>& keep);

  void take(const Input& input);
  void move(Key_Code code);
  void take_character(char32_t character);
  void tell(std::string text, bool is_error = false);
  void tell_change();

#define KVREG_BROWSE_KEY(key, word, text, action) void action();
#include "tools/kvreg/browse/keys.def"
#undef KVREG_BROWSE_KEY
  void enter();
  void edit_as(const Key_Path& key, const Value& value, bool is_new, bool as_bytes);
  void keep_value(const Key_Path& key, const Value& before, const Value& after, bool is_new);
  void remove_key(const Key_Path& key);
  void remove_value(const Key_Path& key, const Value& value);
  void search_from_here();

  Browser& browser_;
  Screen& screen_;
  Terminal_Input& input_;
  Panes panes_;
  Message message_;
  std::u16string wanted_;
  bool is_over_ = false;
};

}  // namespace kvreg
