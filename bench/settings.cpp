#include "bench/settings.h"

#include <cstdlib>
#include <random>

namespace bench {
namespace {

constexpr char root[] = "Software\\Vendor\\Bench";

DWORD count_values(HKEY key) {
  DWORD count = 0;
  RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr,
                   nullptr);
  return count;
}

Settings make_settings() {
  Settings made{make_key(HKEY_CURRENT_USER, root), {}};
  for (unsigned i = 0; i < key_count; ++i) {
    made.keys.push_back(make_key(made.parent, key_name(i)));
    for (unsigned j = count_values(made.keys.back()); j < values_of_a_key; ++j) {
      set_number(made.keys.back(), value_name(j), number_of(i, j));
    }
  }
  return made;
}

}  // namespace

HKEY make_key(HKEY parent, const std::string& path) {
  HKEY key = nullptr;
  if (RegCreateKeyExA(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS) {
    std::abort();
  }
  return key;
}

void set_number(HKEY key, const std::string& name, DWORD number) {
  if (RegSetValueExA(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number) != 0) {
    std::abort();
  }
}

DWORD get_number(HKEY key, const char* name) {
  DWORD type = 0;
  DWORD number = 0;
  DWORD size = sizeof number;
  if (RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&number), &size) != ERROR_SUCCESS) {
    std::abort();
  }
  return number;
}

std::string key_name(unsigned i) { return "Product" + std::to_string(i); }
std::string value_name(unsigned i) { return "WindowHeight" + std::to_string(i); }

std::string path_of(unsigned key, unsigned value) {
  return std::string(root) + "\\" + key_name(key) + "\\" + value_name(value);
}

const Settings& settings() {
  static const Settings made = make_settings();
  return made;
}

std::vector<Hot_Value> pick_hot(unsigned count, unsigned keys) {
  std::vector<Hot_Value> values;
  std::mt19937 random(1);
  for (unsigned i = 0; i < count; ++i) {
    const unsigned key = static_cast<unsigned>(random() % keys);
    const unsigned value = static_cast<unsigned>(random() % values_of_a_key);
    values.push_back({key, value, value_name(value), path_of(key, value)});
  }
  return values;
}

}  // namespace bench
