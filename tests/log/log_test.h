// What the tests of the loggers share: files, and a registry that answers the settings.
//
// It is 25 April, 07:08:09, in every record.
#ifndef KELVANE_TESTS_LOG_LOG_TEST_H
#define KELVANE_TESTS_LOG_LOG_TEST_H

#include <kelvane/advapi32.h>
#include <stdlib.h>
#include <windows.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>

#include "tests/recording_impl/recording.h"
#include "tests/support/child.h"

namespace kvtest {

// How often the time was asked for.
std::atomic<int>& clock_reads();

inline std::string content_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline void write_file(const std::string& file, const std::string& content) {
  std::ofstream(file, std::ios::binary) << content;
}

// A record as it stands in a log.
inline std::string record(int number, const std::string& message) {
  return "25/04 07:08:09  [# " + std::to_string(number) + "] ->\n" + message + "\n";
}

inline const std::string started = "+++ log_test logging started +++";
inline const std::string ending = "--- log_test logging ending ---";

// In a child: a registry that has the settings key and these values, until the child ends. Starting the library
// leaves no calls behind.
class Settings_Double {
 public:
  static constexpr std::uint64_t key = 0x5151;

  struct Value {
    DWORD type = REG_DWORD;
    std::string bytes;
  };

  explicit Settings_Double(const char* mode = "1", const char* library = "advapi32impl.dll") {
    setenv("KVREGISTRY_MODE", mode, 1);
    setenv("KVMODULE_PATH", KV_RECORDING_FOLDER, 1);
    setenv("KVREGISTRY", "/nowhere/hklm.bin:/nowhere/hkcu.bin", 1);
    init_advapi32();
    control_ = kvrecording::control_of(LoadLibraryA(library));
    if (control_ == nullptr) throw std::runtime_error("not the recording library");
    control_->reset();
    answer_create();
    answer_query();
  }
  Settings_Double(const Settings_Double&) = delete;
  Settings_Double& operator=(const Settings_Double&) = delete;

  void set(const std::u16string& name, DWORD value) {
    values_[name] = {REG_DWORD, std::string(reinterpret_cast<const char*>(&value), sizeof value)};
  }
  void set(const std::u16string& name, DWORD type, const std::string& bytes) { values_[name] = {type, bytes}; }
  void remove(const std::u16string& name) { values_.erase(name); }

  // What every opening answers from now on; 0 gives the key.
  void answer_open(DWORD code) { open_code_ = code; }
  // Runs inside every opening, and inside every query of a value, when set.
  void on_open(std::function<void()> function) { open_hook_ = std::move(function); }
  void on_query(std::function<void(const std::u16string&)> function) { query_hook_ = std::move(function); }

  kvrecording::Control& control() { return *control_; }

  // The calls since the last time that this was asked: "create", "query LogLevel", ...
  std::string calls() {
    std::string text;
    const auto all = control_->calls();
    for (; seen_ < all.size(); ++seen_) text += described(all[seen_]) + ";";
    return text;
  }

 private:
  static std::string described(const kvrecording::Call& call) {
    if (call.entry == "KvIRegCreateKeyEx") return "create";
    if (call.entry == "KvIRegCloseKey") return "close";
    if (call.entry != "KvIRegQueryValueEx") return call.entry;
    const std::u16string& name = call["value_name"].text;
    return "query " + std::string(name.begin(), name.end());
  }

  void answer_create() {
    control_->script("KvIRegCreateKeyEx", [this](const kvrecording::Call& call) -> std::uint64_t {
      answer_create();
      if (open_hook_) open_hook_();
      if (open_code_ == ERROR_SUCCESS) call.store("out_key", reinterpret_cast<HKEY>(key));
      return open_code_;
    });
  }

  void answer_query() {
    control_->script("KvIRegQueryValueEx", [this](const kvrecording::Call& call) -> std::uint64_t {
      answer_query();
      if (query_hook_) query_hook_(call["value_name"].text);
      const auto found = values_.find(call["value_name"].text);
      if (found == values_.end()) return ERROR_FILE_NOT_FOUND;
      const Value& value = found->second;
      call.store("out_type", value.type);
      const DWORD room = call["data_size"].count;
      call.store("data_size", static_cast<DWORD>(value.bytes.size()));
      if (value.bytes.size() > room) return ERROR_MORE_DATA;
      call.write("data", value.bytes);
      return ERROR_SUCCESS;
    });
  }

  kvrecording::Control* control_;
  std::map<std::u16string, Value> values_;
  DWORD open_code_ = ERROR_SUCCESS;
  std::function<void()> open_hook_;
  std::function<void(const std::u16string&)> query_hook_;
  std::size_t seen_ = 0;
};

}  // namespace kvtest

#endif
