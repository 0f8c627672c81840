// What the browser does when a value is edited or made.

#include <winnt.h>

#include "tools/kvreg/browse/edit_kind.h"
#include "tools/kvreg/browse/session.h"
#include "tools/kvreg/failure.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"

namespace kvreg {
namespace {

// More than that is no work for a terminal.
constexpr std::size_t largest_edited = 1024 * 1024;

constexpr DWORD offered_types[] = {REG_SZ,    REG_EXPAND_SZ, REG_MULTI_SZ,         REG_DWORD,
                                   REG_QWORD, REG_BINARY,    REG_DWORD_BIG_ENDIAN, REG_NONE};

Value with_data(const Value& value, std::string data) { return {value.name, value.type, std::move(data)}; }

}  // namespace

void Session::edit_value() {
  const Key_Path key = browser_.path();
  const std::optional<Value> value = browser_.selected_value();
  if (!value) return tell("this key has no values; v makes one");
  browser_.require_change(key);
  edit_as(key, *value, false, false);
}

void Session::edit_bytes() {
  const Key_Path key = browser_.path();
  const std::optional<Value> value = browser_.selected_value();
  if (!value) return tell("this key has no values; v makes one");
  browser_.require_change(key);
  edit_as(key, *value, false, true);
}

void Session::create_value() {
  const Key_Path key = browser_.path();
  browser_.require_change(key);
  Line_Dialog name("New value", "Its name; none for the default value of the key", {});
  if (!run(name)) return;
  if (Key::open(key).find_value(name.text())) throw Complaint("the key has a value of this name already");
  std::vector<std::string> types;
  for (const DWORD each : offered_types) types.push_back(name_of_type(each));
  Choice_Dialog type("Type of the new value", types);
  if (!run(type)) return;
  const DWORD chosen = offered_types[type.chosen()];
  edit_as(key, {name.text(), chosen, data_of_text(chosen, {})}, true, false);
}

void Session::edit_as(const Key_Path& key, const Value& value, bool is_new, bool as_bytes) {
  if (value.data.size() > largest_edited)
    throw Complaint("the value has more than 1 MiB; export and import change it in a file");
  const std::string title = shown_name(value) + "  " + name_of_type(value.type);
  const Edit_Kind kind = as_bytes ? Edit_Kind::bytes : edit_kind(value);
  if (kind == Edit_Kind::bytes) {
    Bytes_Dialog dialog(title, value.data);
    keep_answer(dialog, [&] { keep_value(key, value, with_data(value, dialog.bytes()), is_new); });
  } else if (kind == Edit_Kind::texts) {
    const std::vector<std::u16string> texts = texts_of(value.data);
    Texts_Dialog dialog(title, texts);
    keep_answer(dialog, [&] {
      const bool is_same = !is_new && dialog.texts() == texts;
      keep_value(key, value, is_same ? value : with_data(value, data_of_texts(dialog.texts())), is_new);
    });
  } else {
    const std::u16string text = is_new ? std::u16string() : text_to_edit(value);
    const bool is_number = kind == Edit_Kind::number;
    Line_Dialog dialog(title, is_number ? "A number, decimal or with 0x" : "A text", text);
    keep_answer(dialog, [&] {
      const bool is_same = !is_new && dialog.text() == text;
      keep_value(key, value, is_same ? value : with_data(value, data_of_text(value.type, dialog.text())), is_new);
    });
  }
}

// What was not changed is not written, and what somebody else has changed meanwhile not without a question.
void Session::keep_value(const Key_Path& key, const Value& before, const Value& after, bool is_new) {
  if (is_new) {
    browser_.create_value(key, after);
    return tell_change();
  }
  if (before == after) return tell("nothing was changed");
  const std::optional<Value> standing = Key::open(key).find_value(before.name);
  const bool is_as_read = standing && standing->type == before.type && standing->data == before.data;
  const char* const what = standing ? "changed" : "deleted";
  if (!is_as_read &&
      !ask("Changed", std::string("Meanwhile somebody else has ") + what + " the value. Write yours anyway?"))
    return tell("nothing was changed");
  browser_.set_value(key, after);
  tell_change();
}

}  // namespace kvreg
