// compare KEY1 KEY2: the values of two keys, with /s also all below them. Exit status 0 the same, 2 different, 1 when
// it could not be told.

#include <optional>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/snapshot.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Compare : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  bool shows(bool is_same) const;
  void keep_one_value(Snapshot& key) const;
  void print(Side side, const Key_Path& top, const std::u16string& below, const Value* value) const;

  std::string left_;
  std::string right_;
  std::optional<std::string> name_;
  bool is_default_ = false;
  bool is_deep_ = false;
  bool all_ = false;
  bool differences_ = false;
  bool same_ = false;
  bool nothing_ = false;
};

void Compare::declare(Options& options) {
  options.argument("KEY1", left_, "A key");
  options.argument("KEY2", right_, "The key that it is compared with; a root alone means the same path there");
  options.text("v", "value", name_, "Only this value");
  options.flag("ve", "default", is_default_, "Only the default value");
  options.flag("s", "recurse", is_deep_, "Also all keys below");
  options.flag("oa", "all", all_, "Prints what differs and what is the same");
  options.flag("od", "differences", differences_, "Prints what differs (as without a switch)");
  options.flag("os", "same", same_, "Prints what is the same");
  options.flag("on", "nothing", nothing_, "Prints nothing: the exit status tells");
  options.example("kvreg compare HKLM\\Software\\A HKLM\\Software\\B /s", "prints what differs: < first, > second");
  options.example("kvreg compare HKLM\\Software\\A HKCU /v Font /on",
                  "answers 0 when both have the same value, else 2");
}

bool Compare::shows(bool is_same) const {
  if (nothing_) return false;
  if (all_) return true;
  return same_ ? is_same : !is_same;
}

void Compare::keep_one_value(Snapshot& key) const {
  if (!name_ && !is_default_) return;
  const std::u16string wanted = is_default_ ? std::u16string() : folded(units_of(*name_));
  std::erase_if(key.values, [&](const auto& each) { return each.first != wanted; });
  for (auto& [name, sub_key] : key.sub_keys) keep_one_value(sub_key);
}

void Compare::print(Side side, const Key_Path& top, const std::u16string& below, const Value* value) const {
  const char* const mark = side == Side::left ? "<" : side == Side::right ? ">" : "=";
  const std::string key = (below.empty() ? top : top.child(below)).shown();
  if (value == nullptr) {
    put_line(std::string(mark) + " Key:  " + key);
  } else {
    put_line(std::string(mark) + " Value:  " + key + "  " + shown_name(*value) + "  " + name_of_type(value->type) +
             "  " + shown_data(*value));
  }
}

int Compare::run() {
  if ((all_ ? 1 : 0) + (differences_ ? 1 : 0) + (same_ ? 1 : 0) + (nothing_ ? 1 : 0) > 1)
    throw Bad_Arguments("/oa, /od, /os and /on exclude each other");
  if (name_ && is_default_) throw Bad_Arguments("/v and /ve exclude each other");
  const Key_Path left = parse_key_path(left_);
  Key_Path right = parse_key_path(right_);
  if (right.sub_path.empty()) right.sub_path = left.sub_path;
  Key::open(left), Key::open(right);
  Snapshot one = snapshot_of(left, is_deep_), other = snapshot_of(right, is_deep_);
  keep_one_value(one), keep_one_value(other);
  bool is_same = true;
  compare(one, other, [&](Side side, const std::u16string& below, const Value* value) {
    is_same = is_same && side == Side::both;
    if (!shows(side == Side::both) || (side == Side::both && value == nullptr)) return;
    print(side, side == Side::right ? right : left, below, value);
  });
  if (!nothing_) put_line(std::string("\nResult Compared:  ") + (is_same ? "Identical" : "Different"));
  if (!nothing_) put_line("\nThe operation completed successfully.");
  return is_same ? exit_good : exit_different;
}

}  // namespace

std::unique_ptr<Verb> make_compare() { return std::make_unique<Compare>(); }

}  // namespace kvreg
