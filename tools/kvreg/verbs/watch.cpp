// watch KEY: a line for each key and value below it that comes (+), goes (-) or changes (~), until SIGINT or SIGTERM,
// which are its normal end. It looks at the keys whenever it is told of a change, so what comes and goes between two
// looks is not seen.

#include <winbase.h>
#include <winerror.h>
#include <winreg.h>

#include <nlohmann/json.hpp>
#include <optional>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/form.h"
#include "tools/kvreg/json_text.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/snapshot.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

constexpr DWORD look_for_signals = 200;  // milliseconds

// An event that tells of the next change.
class Change_Event {
 public:
  Change_Event() : event_(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {
    if (event_ == nullptr) throw Failure{"", "an event", GetLastError()};
  }
  ~Change_Event() { CloseHandle(event_); }
  Change_Event(const Change_Event&) = delete;
  Change_Event& operator=(const Change_Event&) = delete;

  void arm(const Key& key, bool is_deep) {
    constexpr DWORD filter = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
    key.check(static_cast<DWORD>(RegNotifyChangeKeyValue(key.handle(), is_deep, filter, event_, TRUE)));
  }
  void wait() {
    while (WaitForSingleObject(event_, look_for_signals) != WAIT_OBJECT_0) stop_if_interrupted();
  }

 private:
  HANDLE event_;
};

class Watch : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void watch(const Key_Path& path);
  void tell(const Snapshot& before, const Snapshot& after);
  void tell_gone();
  void print(const char* change, const std::u16string& below, const Value* value);

  std::string key_;
  bool only_itself_ = false;
  Form form_;
  Key_Path path_;
  // A value that went, until the next line shows whether another took its place.
  std::optional<std::pair<std::u16string, Value>> gone_;
};

void Watch::declare(Options& options) {
  options.argument("KEY", key_, "The key");
  options.flag("", "no-recurse", only_itself_, "The values of the key itself only");
  form_.declare(options);
  options.example("kvreg watch HKCU\\Software\\Editor", "prints what the program changes, until Ctrl-C");
  options.example("kvreg watch HKLM --json | jq .key", "a JSON object for each change, one a line");
}

void Watch::print(const char* change, const std::u16string& below, const Value* value) {
  const std::u16string key = (below.empty() ? path_ : path_.child(below)).units();
  if (form_.json) {
    nlohmann::json object = {{"change", change}};
    put_units(object, "key", key);
    if (value != nullptr) object["value"] = json_of(*value);
    put_line(written(object));
  } else if (form_.zero) {
    const std::u16string type = value != nullptr ? units_of_utf8(name_of_type(value->type)) : u"";
    put_fields({units_of_utf8(change), key, value != nullptr ? value->name : u"", type,
                value != nullptr ? data_units(*value) : u""});
  } else {
    std::string line = std::string(change) + " " + shown(key);
    if (value != nullptr)
      line += "  " + shown_name(*value) + "  " + name_of_type(value->type) + "  " + shown_data(*value);
    put_line(line);
  }
}

void Watch::tell_gone() {
  if (gone_) print("-", gone_->first, &gone_->second);
  gone_.reset();
}

void Watch::tell(const Snapshot& before, const Snapshot& after) {
  compare(before, after, [&](Side side, const std::u16string& below, const Value* value) {
    const bool replaces = gone_ && side == Side::right && value != nullptr && below == gone_->first &&
                          folded(value->name) == folded(gone_->second.name);
    if (replaces) gone_.reset();
    tell_gone();
    if (side == Side::both) return;
    if (side == Side::left && value != nullptr) {
      gone_.emplace(below, *value);
    } else {
      print(replaces ? "~" : side == Side::left ? "-" : "+", below, value);
    }
  });
  tell_gone();
  flush_output();
}

void Watch::watch(const Key_Path& path) {
  const Key key = Key::open(path);
  Change_Event event;
  event.arm(key, !only_itself_);
  Snapshot before = snapshot_of(path, !only_itself_);
  std::fprintf(stderr, "watching %s; Ctrl-C ends it\n", path.shown().c_str());
  for (;;) {
    event.wait();
    event.arm(key, !only_itself_);
    Snapshot after = snapshot_of(path, !only_itself_);
    tell(before, after);
    before = std::move(after);
  }
}

int Watch::run() {
  path_ = parse_key_path(key_);
  try {
    watch(path_);
  } catch (const Interrupted&) {
  }
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_watch() { return std::make_unique<Watch>(); }

}  // namespace kvreg
