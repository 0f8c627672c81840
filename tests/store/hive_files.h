// A hive of known content under test, what damages it, and what a program that meets it may show.
#ifndef KELVANE_TESTS_STORE_HIVE_FILES_H
#define KELVANE_TESTS_STORE_HIVE_FILES_H

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "tests/store/act.h"

namespace kvtest {

namespace fs = std::filesystem;

// Everything that was written into a hive in its file alone, with no log beside it.
inline void gather(const std::string& file) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(db, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(sqlite3_close(db), SQLITE_OK);
  EXPECT_FALSE(fs::exists(file + "-wal"));
}

class Hive_Files : public testing::Test {
 protected:
  // A hive of 300 keys and as many values, as bytes.
  static const std::string& good() {
    static const std::string content = make_good();
    return content;
  }

  // The hive under test, nothing beside it.
  void put_hive(const std::string& content) {
    for (const char* beside : {"-wal", "-shm"}) fs::remove(hive() + beside);
    write_file(hive(), content);
  }
  // It and a good one beside it.
  Hive_Files() { write_file(good_file(), good()); }
  std::string hive() const { return folder_ / "machine.hive"; }
  std::string good_file() const { return folder_ / "good.hive"; }
  std::vector<std::string> environment() const { return {"KVREGISTRY=" + hive()}; }

  // A read, a listing, a write and a new key, each of which meets the damage.
  std::vector<Step> uses() const {
    return {{"get", "HKLM\\Software\\K150", "n"},
            {"names", "HKLM\\Software\\K299"},
            {"set", "HKLM\\Software\\K150", "n", "new"},
            {"make", "HKLM\\Software\\New"}};
  }
  static std::string refused(const std::string& code) {
    return code + "\n" + code + " 0\n" + code + "\n" + code + " 0\n";
  }
  static void expect_one_line_naming(const std::string& file, const Child_Result& result) {
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_NE(result.err.find(file), std::string::npos) << result.err;
    EXPECT_GT(result.err.size(), file.size() + 10) << "no reason is told: " << result.err;
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.signal, 0);
  }

  // All that is to be seen of a hive with this content.
  void expect_refused(const std::string& content, const std::string& code) {
    put_hive(content);
    std::vector<Step> steps = uses();
    Child_Result result = act(steps, environment());
    EXPECT_EQ(result.out, refused(code));
    expect_one_line_naming(hive(), result);
    EXPECT_TRUE(content_of(hive()) == content) << "the file was changed";
  }
  // The same process goes on once the file is put right.
  void expect_mended_by_next_call(const std::string& content, const std::string& code) {
    put_hive(content);
    Child_Result result = act({{"get", "HKLM\\Software\\K150", "n"},
                               {"copy", good_file(), hive()},
                               {"get", "HKLM\\Software\\K150", "n"},
                               {"set", "HKLM\\Software\\K150", "n", "new"},
                               {"get", "HKLM\\Software\\K150", "n"}},
                              environment());
    EXPECT_EQ(result.out, code + "\ncopied\n0 " + std::string(100, 'v') + "\n0\n0 new\n");
    expect_one_line_naming(hive(), result);
    EXPECT_TRUE(answered(act({{"get", "HKLM\\Software\\K150", "n"}}, environment()), "0 new\n"));
  }

  static std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    unsigned state = 12345;
    for (char& byte : bytes) byte = static_cast<char>((state = state * 1103515245 + 12345) >> 16);
    return bytes;
  }
  static std::string with_noise_from(std::size_t place) {
    return good().substr(0, place) + noise(good().size() - place);
  }

  const Temp_Folder folder_;

 private:
  static std::string make_good() {
    Temp_Folder folder;
    const std::string file = folder / "good";
    std::vector<Step> steps;
    for (int i = 0; i < 300; ++i) {
      steps.push_back({"set", "HKLM\\Software\\K" + std::to_string(i), "n", std::string(100, 'v')});
    }
    if (act(steps, {"KVREGISTRY=" + file}).exit_status != 0) throw std::runtime_error("no good hive");
    gather(file);
    return content_of(file);
  }
};

}  // namespace kvtest

#endif
