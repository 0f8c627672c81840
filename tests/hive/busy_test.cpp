// Another program that holds a hive: the answer comes after the time-out, and readers are never held up by
// a writer.
#include <sqlite3.h>

#include <chrono>
#include <thread>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

// A program that holds the write lock of the hive until it is released.
class Holder {
 public:
  explicit Holder(const std::string& file) {
    int ready[2];
    int release[2];
    if (pipe(ready) != 0 || pipe(release) != 0) std::abort();
    child_ = fork();
    if (child_ == 0) {
      close(ready[0]);
      close(release[1]);
      hold(file, ready[1], release[0]);
    }
    close(ready[1]);
    close(release[0]);
    char byte = 0;
    holds_ = read(ready[0], &byte, 1) == 1 && byte == '+';
    close(ready[0]);
    release_ = release[1];
  }
  ~Holder() { release(); }

  bool holds() const { return holds_; }
  void release() {
    if (release_ < 0) return;
    close(release_);
    release_ = -1;
    waitpid(child_, nullptr, 0);
  }

 private:
  [[noreturn]] static void hold(const std::string& file, int ready, int release) {
    sqlite3* other = nullptr;
    sqlite3_open(file.c_str(), &other);
    bool ok = sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) == SQLITE_OK;
    char byte = ok ? '+' : '-';
    if (write(ready, &byte, 1) == 1) {
      while (read(release, &byte, 1) > 0) {
      }
    }
    _exit(0);
  }

  pid_t child_ = -1;
  int release_ = -1;
  bool holds_ = false;
};

struct Busy : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"a");
};

TEST_F(Busy, AWriteGivesUpAfterTheTimeOutAndWorksAfterwards) {
  ASSERT_EQ(put(*registry, key, u"v", "before"), Status::ok);
  complaints().clear();
  Holder holder(folder / "machine.bin");
  ASSERT_TRUE(holder.holds());
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(put(*registry, key, u"v", "while held"), Status::busy);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  ASSERT_EQ(complaints().size(), 1u);
  EXPECT_NE(complaints()[0].find(folder / "machine.bin"), std::string::npos);
  EXPECT_EQ(get(*registry, key, u"v"), "before");
  holder.release();
  EXPECT_EQ(put(*registry, key, u"v", "after"), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "after");
}

TEST_F(Busy, AWaitingWriterKeepsNoReaderWaiting) {
  ASSERT_EQ(put(*registry, key, u"v", "before"), Status::ok);
  Holder holder(folder / "machine.bin");
  ASSERT_TRUE(holder.holds());
  std::thread writer([&] { EXPECT_EQ(put(*registry, key, u"v", "x"), Status::busy); });
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i) EXPECT_EQ(get(*registry, key, u"v"), "before");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
  writer.join();
}

TEST_F(Busy, AFlushBesideAReaderIsStillDurable) {
  sqlite3* reader = nullptr;
  ASSERT_EQ(sqlite3_open((folder / "machine.bin").c_str(), &reader), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT count(*) FROM node", nullptr, nullptr, nullptr), SQLITE_OK);
  ASSERT_EQ(put(*registry, key, u"v", "x"), Status::ok);
  EXPECT_EQ(registry->flush(key), Status::ok);
  sqlite3_close(reader);
}

}  // namespace
