// What benchmarks of the store read and write: fifty thousand numbers below one key of HKEY_CURRENT_USER, a thousand
// keys with fifty values each, and the thousand of them that are hot. HOME decides where the hive is made. A failing
// call ends the process.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace bench {

constexpr unsigned key_count = 1000;
constexpr unsigned values_of_a_key = 50;
constexpr unsigned hot_values = 1000;

HKEY make_key(HKEY parent, const std::string& path);
void set_number(HKEY key, const std::string& name, DWORD number);
DWORD get_number(HKEY key, const char* name);

std::string key_name(unsigned i);
std::string value_name(unsigned i);
std::string path_of(unsigned key, unsigned value);
constexpr DWORD number_of(unsigned key, unsigned value) { return key * values_of_a_key + value; }

// Made at the first use, each key of them open.
struct Settings {
  HKEY parent;
  std::vector<HKEY> keys;
};
const Settings& settings();

// Which value of which key, with its name and its whole path.
struct Hot_Value {
  unsigned key;
  unsigned value;
  std::string name;
  std::string path;
};

// So many values of the first so many keys, in random order, the same one at each call.
std::vector<Hot_Value> pick_hot(unsigned count, unsigned keys = key_count);

// Goes round a list for ever.
class Round_Robin {
 public:
  explicit Round_Robin(const std::vector<Hot_Value>& values) : values_(values) {}
  const Hot_Value& next() {
    const Hot_Value& value = values_[next_];
    next_ = next_ + 1 == values_.size() ? 0 : next_ + 1;
    return value;
  }

 private:
  const std::vector<Hot_Value>& values_;
  std::size_t next_ = 0;
};

}  // namespace bench
