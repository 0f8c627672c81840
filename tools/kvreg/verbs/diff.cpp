// diff A B: what is in A and not in B, and the other way. Each is a key, or a .reg file; a key beside a file stands for
// what the file says of it.

#include <nlohmann/json.hpp>
#include <optional>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/form.h"
#include "tools/kvreg/json_text.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/snapshot.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

// A key or a file, read, with what stands before the paths in it.
struct Tree {
  Snapshot top;
  std::u16string path;  // of the top; empty for a file
};

class Diff : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void print(Side side, const std::u16string& key, const Value* value);

  std::string left_;
  std::string right_;
  Form form_;
  std::optional<Json_List> list_;
};

void Diff::declare(Options& options) {
  options.argument("A", left_, "A key or a .reg file");
  options.argument("B", right_, "What it is compared with: a key or a .reg file");
  form_.declare(options);
  options.example("kvreg diff HKLM\\Software\\A HKLM\\Software\\B", "shows what differs below two keys");
  options.example("kvreg diff old.reg new.reg",
                  "shows what a new version of a file changes; exit status 0 nothing, 2 some");
}

Tree read_tree(const std::string& argument) {
  const Key_Path path = try_key_path(units_of(argument));
  if (path.root == nullptr) return {snapshot_of_reg_file(argument), {}};
  Key::open(path);
  return {snapshot_of(path, true), path.units()};
}

// Puts a key where a file has it: below its root.
void lower(Tree& tree) {
  if (tree.path.empty()) return;
  Snapshot top;
  Snapshot& at = top.make(tree.path);
  at.values = std::move(tree.top.values);
  at.sub_keys = std::move(tree.top.sub_keys);
  tree = {std::move(top), {}};
}

// Cuts what a file says of other keys, so that a key is compared with what the file says of it.
void keep_below(Snapshot& top, std::u16string_view path) {
  Snapshot kept;
  Snapshot& at = kept.make(path);
  Snapshot& from = top.make(path);
  at.values = std::move(from.values);
  at.sub_keys = std::move(from.sub_keys);
  top = std::move(kept);
}

void Diff::print(Side side, const std::u16string& key, const Value* value) {
  const char* const mark = side == Side::left ? "-" : "+";
  if (form_.json) {
    nlohmann::json object = {{"side", side == Side::left ? "A" : "B"}};
    put_units(object, "key", key);
    if (value != nullptr) object["value"] = json_of(*value);
    list_->put(written(object));
  } else if (form_.zero) {
    const std::u16string type = value != nullptr ? units_of_utf8(name_of_type(value->type)) : u"";
    put_fields({units_of_utf8(mark), key, value != nullptr ? value->name : u"", type,
                value != nullptr ? data_units(*value) : u""});
  } else {
    std::string line = std::string(mark) + " " + shown(key);
    if (value != nullptr)
      line += "  " + shown_name(*value) + "  " + name_of_type(value->type) + "  " + shown_data(*value);
    put_line(line);
  }
}

int Diff::run() {
  Tree left = read_tree(left_), right = read_tree(right_);
  if (left.path.empty() != right.path.empty()) {
    keep_below(left.path.empty() ? left.top : right.top, left.path.empty() ? right.path : left.path);
    lower(left), lower(right);
  }
  if (form_.json) list_.emplace();
  bool is_same = true;
  compare(left.top, right.top, [&](Side side, const std::u16string& below, const Value* value) {
    if (side == Side::both) return;
    is_same = false;
    const std::u16string& top = side == Side::left ? left.path : right.path;
    print(side, top.empty() || below.empty() ? top + below : top + u'\\' + below, value);
  });
  if (list_) list_->end();
  return is_same ? exit_good : exit_different;
}

}  // namespace

std::unique_ptr<Verb> make_diff() { return std::make_unique<Diff>(); }

}  // namespace kvreg
