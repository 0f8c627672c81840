// Hosts as programs see them: each has a machine hive and core data of its own, all have one per-user file.
#ifndef KELVANE_TESTS_STORE_SHARED_IMAGE_H
#define KELVANE_TESTS_STORE_SHARED_IMAGE_H

#include <algorithm>
#include <filesystem>

#include "tests/store/act.h"

namespace kvtest {

namespace fs = std::filesystem;

class Shared_Image : public testing::Test {
 protected:
  void SetUp() override { fs::create_directory(images()); }

  std::vector<std::string> on(const std::string& host) const {
    return {"KVREGISTRY=" + machine_hive(host) + ":" + image(), "KVCORE_PRIVATE_DATA=" + core_data(host)};
  }
  Child_Result run(const std::string& host, const std::vector<Step>& steps) const { return act(steps, on(host)); }

  // A program that sets one value, and one that reads it.
  void set(const std::string& host, const std::string& name, const std::string& text) const {
    EXPECT_TRUE(answered(run(host, {{"set", "HKCU\\S", name, text}}), "0\n"));
  }
  void expect(const std::string& host, const std::string& name, const std::string& answer) const {
    EXPECT_TRUE(answered(run(host, {{"get", "HKCU\\S", name}}), answer + "\n"));
  }

  std::string machine_hive(const std::string& host) const { return folder_ / (host + ".hive"); }
  std::string core_data(const std::string& host) const { return folder_ / (host + ".core"); }
  std::string images() const { return folder_ / "images"; }
  std::string image() const { return images() + "/hkcu"; }

  // The live hive of the user on a host.
  std::string live_hive(const std::string& host) const {
    for (const auto& entry : fs::recursive_directory_iterator(core_data(host))) {
      if (entry.path().filename() == "hkcu.hive") return entry.path().string();
    }
    return "";
  }
  std::vector<std::string> files_beside_image() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(images())) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  const Temp_Folder folder_;
};

}  // namespace kvtest

#endif
