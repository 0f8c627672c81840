#include "tools/kvreg/browse/browser.h"

#include <fcntl.h>
#include <unistd.h>
#include <winerror.h>
#include <winreg.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/hive_files.h"
#include "tools/kvreg/new_file.h"
#include "tools/kvreg/snapshot.h"
#include "tools/kvreg/value_text.h"

namespace kvreg {
namespace {

std::vector<Key_Path> tops_for(const std::optional<Key_Path>& start) {
  std::vector<Key_Path> tops;
  for (const Root& each : all_roots()) tops.push_back({&each, start ? start->machine : std::u16string(), {}});
  return tops;
}

void require_key_name(std::u16string_view name) {
  if (name.empty()) throw Bad_Arguments("a key has a name");
  if (name.find(u'\\') != name.npos) throw Bad_Arguments("a name of a key has no backslash");
  if (name.find(u'\0') != name.npos) throw Bad_Arguments("a name has no NUL");
}

void require_no_root(const Key_Path& path, const char* what) {
  if (path.sub_path.empty()) throw Complaint(path.shown() + " is a root key; it cannot be " + what);
}

void require_new_value(const Key_Path& key, std::u16string_view name) {
  if (name.find(u'\0') != name.npos) throw Bad_Arguments("a name has no NUL");
  if (Key::open(key).find_value(name)) throw Bad_Arguments("the key has a value of this name already");
}

Value existing_value(const Key_Path& key, std::u16string_view name) {
  std::optional<Value> value = Key::open(key).find_value(name);
  if (value) return std::move(*value);
  throw Failure{key.shown() + ": the value " + shown_name({std::u16string(name), REG_NONE, {}}), "",
                ERROR_FILE_NOT_FOUND};
}

// The registry in a process opens keys of a hive that it cannot write; a server looks at the rights of the key. Keys of
// HKEY_USERS lie in several hives.
bool may_write_hive(const Key_Path& key) {
  const std::string file = key.root->handle == HKEY_USERS ? std::string() : hive_file_of(key);
  return file.empty() || !is_there(file) || faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) == 0;
}

}  // namespace

Browser::Browser(const std::optional<Key_Path>& start, bool is_read_only)
    : tree_(tops_for(start)), is_read_only_(is_read_only) {
  if (start) {
    Key::open(*start);
    tree_.show(*start);
    tree_.open();
  }
  read_selected();
}

std::optional<Value> Browser::selected_value() const {
  const Value_List::Row* const row = values_.row();
  if (row == nullptr) return std::nullopt;
  return existing_value(path(), row->value.name);
}

Place Browser::place() const {
  const Value_List::Row* const row = side_ == Side_Of_Screen::values ? values_.row() : nullptr;
  return {path(), row != nullptr ? std::optional(row->value.name) : std::nullopt};
}

void Browser::change_side() { side_ = side_ == Side_Of_Screen::tree ? Side_Of_Screen::values : Side_Of_Screen::tree; }

void Browser::move(std::ptrdiff_t rows) {
  if (side_ == Side_Of_Screen::values) return values_.move(rows);
  tree_.move(rows);
  read_selected();
}

void Browser::move_to_first() {
  if (side_ == Side_Of_Screen::values) return values_.select(0);
  tree_.select(0);
  read_selected();
}

void Browser::move_to_last() {
  if (side_ == Side_Of_Screen::values) return values_.select(values_.rows().size());
  tree_.select(tree_.rows().size());
  read_selected();
}

void Browser::go_in() {
  const Key_Tree::Row& row = tree_.rows()[tree_.selected()];
  if (!row.is_open) {
    tree_.open();
  } else if (tree_.selected() + 1 < tree_.rows().size() && tree_.rows()[tree_.selected() + 1].depth > row.depth) {
    tree_.move(1);
  }
  read_selected();
}

void Browser::go_out() {
  if (tree_.rows()[tree_.selected()].is_open) {
    tree_.close();
  } else {
    tree_.leave();
  }
  read_selected();
}

void Browser::open_or_close() {
  if (tree_.rows()[tree_.selected()].is_open) {
    tree_.close();
  } else {
    tree_.open();
  }
}

bool Browser::show(const Place& place) {
  bool is_there = tree_.show(place.key);
  read_selected();
  side_ = Side_Of_Screen::tree;
  if (!is_there || !place.value) return is_there;
  side_ = Side_Of_Screen::values;
  return values_.show(*place.value);
}

bool Browser::refresh() {
  const bool is_there = tree_.refresh();
  read_selected();
  return !is_there;
}

void Browser::create_key(const Key_Path& parent, std::u16string_view name) {
  require_key_name(name);
  require_change(parent);
  make(creating_key(parent.child(name)));
}

void Browser::create_value(const Key_Path& key, Value value) {
  require_change(key);
  require_new_value(key, value.name);
  make(setting_value(key, std::nullopt, std::move(value)));
}

void Browser::set_value(const Key_Path& key, Value after) {
  require_change(key);
  std::optional<Value> before = Key::open(key).find_value(after.name);
  make(setting_value(key, std::move(before), std::move(after)));
}

void Browser::rename_key(const Key_Path& key, std::u16string_view name) {
  require_no_root(key, "renamed");
  require_key_name(name);
  require_change(key);
  if (name != key.name()) make(renaming_key(key, name));
}

void Browser::rename_value(const Key_Path& key, std::u16string_view name, std::u16string_view new_name) {
  require_change(key);
  if (folded(name) != folded(new_name)) require_new_value(key, new_name);
  if (name != new_name) make(renaming_value(key, existing_value(key, name), new_name));
}

void Browser::delete_value(const Key_Path& key, std::u16string_view name) {
  require_change(key);
  make(deleting_value(key, existing_value(key, name)));
}

void Browser::delete_key(const Key_Path& key) {
  require_change(key);
  std::optional<Saved_Tree> saved = look_at_tree(key);
  if (!saved) throw Complaint(key.shown() + " has become too large to be remembered; nothing was deleted");
  make(deleting_key(key, std::move(*saved)));
}

void Browser::delete_key_for_good(const Key_Path& key) {
  require_no_root(key, "deleted");
  require_change(key);
  if (!delete_tree(key)) throw Failure{key.shown(), "", ERROR_FILE_NOT_FOUND};
  show({key.parent(), std::nullopt});
}

std::optional<Saved_Tree> Browser::look_at_tree(const Key_Path& key) const {
  require_no_root(key, "deleted");
  try {
    return save_tree(key);
  } catch (const Failure& failure) {
    if (failure.code != ERROR_ACCESS_DENIED) throw;
    return std::nullopt;
  }
}

void Browser::require_change(const Key_Path& key) const {
  const std::string reason = reason_against_change(key);
  if (!reason.empty()) throw Complaint(key.shown() + " is read-only: " + reason);
}

void Browser::undo() {
  if (undo_list_.newest() == nullptr) throw Complaint("there is nothing to be undone");
  std::unique_ptr<Change> change = undo_list_.take();
  try {
    change->undo();
  } catch (...) {
    undo_list_.push(std::move(change));
    throw;
  }
  if (change->moves_key()) tree_.follow(change->place_made().key, change->place_undone().key);
  show_change(change->place_undone());
}

std::unique_ptr<Search> Browser::search(std::u16string_view text) const {
  return std::make_unique<Search>(tree_.tops(), text, place());
}

void Browser::read_selected() {
  values_.read(path());
  read_only_reason_ = reason_against_change(path());
}

void Browser::make(std::unique_ptr<Change> change) {
  change->make();
  const Place place = change->place_made();
  if (change->moves_key()) tree_.follow(change->place_undone().key, place.key);
  undo_list_.push(std::move(change));
  show_change(place);
}

// Where a value went, the side of the values stays the one that is worked on.
void Browser::show_change(const Place& place) {
  const bool was_in_values = side_ == Side_Of_Screen::values && is_same_path(place.key, path());
  show(place);
  if (was_in_values) side_ = Side_Of_Screen::values;
}

std::string Browser::reason_against_change(const Key_Path& key) const {
  if (is_read_only_) return "as was asked for";
  try {
    Key::open(key, KEY_READ | KEY_WRITE);
  } catch (const Failure& failure) {
    return describe_code(failure.code);
  }
  return may_write_hive(key) ? "" : describe_code(ERROR_ACCESS_DENIED);
}

}  // namespace kvreg
