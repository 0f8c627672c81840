// A registry on files of a folder of the test's own, and short ways to ask it.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "hive/registry.h"
#include "tests/support/child.h"

namespace hivetest {

using hive::Key;
using hive::Registry;
using hive::Root;
using hive::Status;
using kvtest::Temp_Folder;

class Fixed_Locations : public hive::Locations {
 public:
  Fixed_Locations(std::string machine, std::string user, std::string image)
      : machine_(std::move(machine)), user_(std::move(user)), image_(std::move(image)) {}
  std::string machine_hive() override { return machine_; }
  std::string user_hive() override { return user_; }
  std::string user_image() override { return image_; }
  mode_t machine_mask() override { return 022; }

 private:
  std::string machine_;
  std::string user_;
  std::string image_;
};

// Every line that a registry of this process complained with.
inline std::vector<std::string>& complaints() {
  static std::vector<std::string> lines;
  return lines;
}

// From any thread: the one that watches a hive complains too.
inline void note_complaint(const std::string& line) {
  static std::mutex mutex;
  std::lock_guard lock(mutex);
  complaints().push_back(line);
}

// "machine.bin", "user.bin" and "image.bin" of a folder.
inline std::unique_ptr<Registry> registry_on(const std::string& folder) {
  return std::make_unique<Registry>(
      std::make_unique<Fixed_Locations>(folder + "/machine.bin", folder + "/user.bin", folder + "/image.bin"),
      &note_complaint);
}

inline Key root_of(Registry& registry, Root root = Root::machine) {
  Key key;
  EXPECT_EQ(registry.open_root(root, &key), Status::ok);
  return key;
}

inline Status create(Registry& registry, const Key& at, std::u16string_view path, Key* out_key,
                     const hive::Creation& creation = {}) {
  bool created = false;
  return registry.create(at, path, creation, out_key, &created);
}

// A new key; the test fails when there is none.
inline Key make_key(Registry& registry, const Key& at, std::u16string_view path, const hive::Creation& creation = {}) {
  Key key;
  EXPECT_EQ(create(registry, at, path, &key, creation), Status::ok);
  return key;
}

inline Status put(Registry& registry, const Key& key, std::u16string_view name, std::string_view data,
                  std::uint32_t type = 3) {
  return registry.write_value(key, name, type, reinterpret_cast<const unsigned char*>(data.data()),
                              static_cast<std::uint32_t>(data.size()));
}

// A value's data; "(status n)" when it cannot be read.
inline std::string get(Registry& registry, const Key& key, std::u16string_view name) {
  std::string data(1 << 20, '\0');
  hive::Value_Out out{reinterpret_cast<unsigned char*>(data.data()), static_cast<std::uint32_t>(data.size()), 0, 0};
  Status status = registry.read_value(key, name, out);
  if (status != Status::ok) return "(status " + std::to_string(static_cast<int>(status)) + ")";
  data.resize(out.size);
  return data;
}

inline Status status_of_get(Registry& registry, const Key& key, std::u16string_view name) {
  hive::Value_Out out{nullptr, 0, 0, 0};
  return registry.read_value(key, name, out);
}

inline std::vector<std::u16string> key_names(Registry& registry, const Key& key) {
  std::vector<std::u16string> names;
  char16_t text[300];
  hive::Text_Out name{text, 300, 0};
  while (registry.enumerate_key(key, static_cast<std::uint32_t>(names.size()), name, nullptr, nullptr) == Status::ok) {
    names.emplace_back(text, name.length);
  }
  return names;
}

inline std::vector<std::u16string> value_names(Registry& registry, const Key& key) {
  std::vector<std::u16string> names;
  std::vector<char16_t> text(20000);
  hive::Text_Out name{text.data(), text.size(), 0};
  hive::Value_Out value{nullptr, 0, 0, 0};
  while (registry.enumerate_value(key, static_cast<std::uint32_t>(names.size()), &name, value) == Status::ok) {
    names.emplace_back(text.data(), name.length);
  }
  return names;
}

inline hive::Key_Counts counts_of(Registry& registry, const Key& key) {
  hive::Key_Counts counts{};
  EXPECT_EQ(registry.info(key, nullptr, &counts), Status::ok);
  return counts;
}

using Names = std::vector<std::u16string>;

constexpr uid_t nobody = 65534;

// A folder that other users may enter: the tests' own temporary folder is closed to them.
class Open_Folder {
 public:
  Open_Folder() {
    char pattern[] = "/tmp/kvtest.XXXXXX";
    if (mkdtemp(pattern) == nullptr || chmod(pattern, 0755) != 0) throw std::runtime_error("mkdtemp");
    path_ = pattern;
  }
  ~Open_Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Open_Folder(const Open_Folder&) = delete;
  Open_Folder& operator=(const Open_Folder&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Runs a check as a user without any rights, who has complained of nothing yet; the test fails when it does not hold.
// For root only.
inline void as_nobody(const std::function<bool()>& check) {
  kvtest::Child_Result child = kvtest::run_child([&] {
    if (setgid(nobody) != 0 || setuid(nobody) != 0) _exit(2);
    complaints().clear();
    bool holds = check();
    for (const std::string& line : complaints()) fprintf(stderr, "%s\n", line.c_str());
    fflush(stderr);
    _exit(holds ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
}

}  // namespace hivetest
