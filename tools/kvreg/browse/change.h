// What the browser does to the registry, each with the way back. A change is one batch where the registry has batches:
// it is done whole or not at all.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/kvreg/browse/saved_tree.h"
#include "tools/kvreg/key.h"

namespace kvreg {

// Where a change is seen: a key, and in it perhaps a value.
struct Place {
  Key_Path key;
  std::optional<std::u16string> value;
};

class Change {
 public:
  virtual ~Change() = default;

  // Both throw Failure or Complaint, and nothing is changed then.
  void make();
  void undo();

  // Whether everything is still as the change left it.
  virtual bool is_as_left() const = 0;
  // "the value Font was deleted".
  virtual std::string what() const = 0;
  // Where to look after it was made, and after it was undone.
  virtual Place place_made() const = 0;
  virtual Place place_undone() const = 0;
  // Whether all below a key is below another one now.
  virtual bool moves_key() const { return false; }
  // Bytes that remembering it takes.
  virtual std::size_t size() const = 0;

 private:
  virtual void do_make() = 0;
  virtual void do_undo() = 0;
};

// A value that is set for the first time or anew.
std::unique_ptr<Change> setting_value(const Key_Path& key, std::optional<Value> before, Value after);
std::unique_ptr<Change> deleting_value(const Key_Path& key, Value before);
std::unique_ptr<Change> renaming_value(const Key_Path& key, Value before, std::u16string_view new_name);
// The key must not be there.
std::unique_ptr<Change> creating_key(const Key_Path& key);
std::unique_ptr<Change> renaming_key(const Key_Path& key, std::u16string_view new_name);
std::unique_ptr<Change> deleting_key(const Key_Path& key, Saved_Tree saved);

}  // namespace kvreg
