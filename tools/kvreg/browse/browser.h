// What the browser shows and does, without a terminal: the tree, the values of the selected key, which side is worked
// on, changes and the way back, the search, and the line that tells what happened.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/kvreg/browse/key_tree.h"
#include "tools/kvreg/browse/search.h"
#include "tools/kvreg/browse/undo_list.h"
#include "tools/kvreg/browse/value_list.h"

namespace kvreg {

enum class Side_Of_Screen { tree, values };

class Browser {
 public:
  // Begins at the key, or at the first root without one. Throws Failure when the key is not there.
  Browser(const std::optional<Key_Path>& start, bool is_read_only);

  const Key_Tree& tree() const { return tree_; }
  const Value_List& values() const { return values_; }
  Side_Of_Screen side() const { return side_; }
  const Key_Path& path() const { return tree_.path(); }
  // The selected value, all of it; null when the key has none. Throws Failure.
  std::optional<Value> selected_value() const;
  Place place() const;

  // Why the selected key cannot be changed; empty when it can.
  const std::string& read_only_reason() const { return read_only_reason_; }

  // Moving about. Rows on the side that is worked on.
  void change_side();
  void move(std::ptrdiff_t rows);
  void move_to_first();
  void move_to_last();
  // Goes into the selected key: opens it, or from an open one to its first sub-key; and out of it.
  void go_in();
  void go_out();
  void open_or_close();
  // False when it is not there; what is nearest is selected then.
  bool show(const Place& place);

  // Somebody may have changed what is shown: reads it again. True when the selected key is gone.
  bool refresh();

  // Changes. Each throws Failure or Complaint with the reason, and then nothing is changed. What was changed is
  // selected. Names are checked.
  void create_key(const Key_Path& parent, std::u16string_view name);
  void create_value(const Key_Path& key, Value value);
  void set_value(const Key_Path& key, Value after);
  void rename_key(const Key_Path& key, std::u16string_view name);
  void rename_value(const Key_Path& key, std::u16string_view name, std::u16string_view new_name);
  void delete_value(const Key_Path& key, std::u16string_view name);
  // With all below it. Throws, and deletes nothing, when it can be remembered no more.
  void delete_key(const Key_Path& key);
  // The same without remembering.
  void delete_key_for_good(const Key_Path& key);
  // What deleting would take, null when that cannot be remembered: it is too much, or may not be read. Throws for a
  // root.
  std::optional<Saved_Tree> look_at_tree(const Key_Path& key) const;

  // Throws Complaint with the reason when the key cannot be changed.
  void require_change(const Key_Path& key) const;

  const Undo_List& undo_list() const { return undo_list_; }
  // Undoes the newest change, which is kept when that fails.
  void undo();
  void forget_newest() { undo_list_.take(); }

  // A search from what is selected on.
  std::unique_ptr<Search> search(std::u16string_view text) const;

 private:
  void read_selected();
  void make(std::unique_ptr<Change> change);
  void show_change(const Place& place);
  std::string reason_against_change(const Key_Path& key) const;

  Key_Tree tree_;
  Value_List values_;
  Undo_List undo_list_;
  Side_Of_Screen side_ = Side_Of_Screen::tree;
  bool is_read_only_;
  std::string read_only_reason_;
};

}  // namespace kvreg
