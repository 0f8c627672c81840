#include "tools/kvreg/browse/change.h"

#include <winerror.h>

#include "tools/kvreg/batch.h"
#include "tools/kvreg/failure.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/snapshot.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/whole_hives.h"

namespace kvreg {
namespace {

// In one batch where there are batches.
template <class Body>
void together(Body body) {
  std::optional<Batch> batch;
  try {
    batch.emplace();
  } catch (const Complaint&) {
  }
  body();
  if (batch) batch->commit();
}

// One value of a key before and after; null where there is none.
struct Value_Step {
  std::optional<Value> before;
  std::optional<Value> after;
};

void put_in_place(const Key& key, const std::optional<Value>& old, const std::optional<Value>& wanted) {
  if (wanted) {
    key.set_value(*wanted);
  } else if (old) {
    key.delete_value(old->name);
  }
}

class Values_Change : public Change {
 public:
  Values_Change(Key_Path key, std::string what, std::vector<Value_Step> steps)
      : key_(std::move(key)), what_(std::move(what)), steps_(std::move(steps)) {}

  bool is_as_left() const override;
  std::string what() const override { return what_; }
  Place place_made() const override { return {key_, name_after(&Value_Step::after)}; }
  Place place_undone() const override { return {key_, name_after(&Value_Step::before)}; }
  std::size_t size() const override;

 private:
  void do_make() override;
  void do_undo() override;
  std::optional<std::u16string> name_after(std::optional<Value> Value_Step::*side) const;
  bool is_set_again(std::u16string_view name) const;

  Key_Path key_;
  std::string what_;
  std::vector<Value_Step> steps_;
};

bool Values_Change::is_as_left() const {
  const std::optional<Key> key = Key::find(key_);
  if (!key) return false;
  for (const Value_Step& each : steps_) {
    if (!each.after && is_set_again(each.before->name)) continue;
    const std::u16string& name = each.after ? each.after->name : each.before->name;
    const std::optional<Value> standing = key->find_value(name);
    if (standing.has_value() != each.after.has_value()) return false;
    if (standing && (standing->type != each.after->type || standing->data != each.after->data)) return false;
  }
  return true;
}

std::size_t Values_Change::size() const {
  std::size_t bytes = 0;
  for (const Value_Step& each : steps_)
    bytes += (each.before ? each.before->data.size() : 0) + (each.after ? each.after->data.size() : 0);
  return bytes;
}

void Values_Change::do_make() {
  const Key key = Key::open(key_, KEY_READ | KEY_WRITE);
  for (const Value_Step& each : steps_) put_in_place(key, each.before, each.after);
}

void Values_Change::do_undo() {
  const Key key = Key::open(key_, KEY_READ | KEY_WRITE);
  for (auto each = steps_.rbegin(); each != steps_.rend(); ++each) put_in_place(key, each->after, each->before);
}

std::optional<std::u16string> Values_Change::name_after(std::optional<Value> Value_Step::*side) const {
  for (const Value_Step& each : steps_)
    if (each.*side) return (each.*side)->name;
  return std::nullopt;
}

// Whether a renaming has changed no more than the case of the name.
bool Values_Change::is_set_again(std::u16string_view name) const {
  for (const Value_Step& each : steps_)
    if (each.after && folded(each.after->name) == folded(name)) return true;
  return false;
}

class Key_Creation : public Change {
 public:
  explicit Key_Creation(Key_Path key) : key_(std::move(key)) {}

  bool is_as_left() const override {
    const std::optional<Key> key = Key::find(key_);
    if (!key) return false;
    const Key_Info info = key->info();
    return info.sub_keys == 0 && info.values == 0;
  }
  std::string what() const override { return "the key " + shown(key_.name()) + " was created"; }
  Place place_made() const override { return {key_, std::nullopt}; }
  Place place_undone() const override { return {key_.parent(), std::nullopt}; }
  std::size_t size() const override { return 0; }

 private:
  void do_make() override {
    bool is_new = false;
    Key::create(key_, REG_OPTION_NON_VOLATILE, &is_new);
    if (!is_new) throw Failure{key_.shown(), "", ERROR_ALREADY_EXISTS};
  }
  void do_undo() override { delete_tree(key_); }

  Key_Path key_;
};

class Key_Renaming : public Change {
 public:
  Key_Renaming(Key_Path before, Key_Path after) : before_(std::move(before)), after_(std::move(after)) {}

  bool is_as_left() const override { return Key::find(after_).has_value(); }
  std::string what() const override { return "the key " + shown(before_.name()) + " was renamed"; }
  bool moves_key() const override { return true; }
  Place place_made() const override { return {after_, std::nullopt}; }
  Place place_undone() const override { return {before_, std::nullopt}; }
  std::size_t size() const override { return 0; }

 private:
  void do_make() override { rename_key(before_, after_.name()); }
  void do_undo() override { rename_key(after_, before_.name()); }

  Key_Path before_;
  Key_Path after_;
};

class Key_Deletion : public Change {
 public:
  Key_Deletion(Key_Path key, Saved_Tree saved) : key_(std::move(key)), saved_(std::move(saved)) {}

  bool is_as_left() const override { return !Key::find(key_); }
  std::string what() const override { return "the key " + shown(key_.name()) + " was deleted"; }
  Place place_made() const override { return {key_.parent(), std::nullopt}; }
  Place place_undone() const override { return {key_, std::nullopt}; }
  std::size_t size() const override { return saved_.bytes; }

 private:
  void do_make() override {
    if (!delete_tree(key_)) throw Failure{key_.shown(), "", ERROR_FILE_NOT_FOUND};
  }
  void do_undo() override {
    if (Key::find(key_)) throw Failure{key_.shown(), "", ERROR_ALREADY_EXISTS};
    restore_tree(key_, saved_.top);
  }

  Key_Path key_;
  Saved_Tree saved_;
};

}  // namespace

void Change::make() {
  together([this] { do_make(); });
}

void Change::undo() {
  together([this] { do_undo(); });
}

std::unique_ptr<Change> setting_value(const Key_Path& key, std::optional<Value> before, Value after) {
  const std::string what = "the value " + shown_name(after) + (before ? " was changed" : " was created");
  return std::make_unique<Values_Change>(key, what, std::vector<Value_Step>{{std::move(before), std::move(after)}});
}

std::unique_ptr<Change> deleting_value(const Key_Path& key, Value before) {
  const std::string what = "the value " + shown_name(before) + " was deleted";
  return std::make_unique<Values_Change>(key, what, std::vector<Value_Step>{{std::move(before), std::nullopt}});
}

std::unique_ptr<Change> renaming_value(const Key_Path& key, Value before, std::u16string_view new_name) {
  const std::string what = "the value " + shown_name(before) + " was renamed";
  Value after = before;
  after.name = new_name;
  std::vector<Value_Step> steps = {{std::move(before), std::nullopt}, {std::nullopt, std::move(after)}};
  return std::make_unique<Values_Change>(key, what, std::move(steps));
}

std::unique_ptr<Change> creating_key(const Key_Path& key) { return std::make_unique<Key_Creation>(key); }

std::unique_ptr<Change> renaming_key(const Key_Path& key, std::u16string_view new_name) {
  return std::make_unique<Key_Renaming>(key, key.parent().child(new_name));
}

std::unique_ptr<Change> deleting_key(const Key_Path& key, Saved_Tree saved) {
  return std::make_unique<Key_Deletion>(key, std::move(saved));
}

}  // namespace kvreg
