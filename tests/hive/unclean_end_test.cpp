// The check of a hive whose last user ended without a word: once, and not after an orderly end.
#include <fcntl.h>
#include <sys/stat.h>

#include <csignal>

#include "tests/hive/database.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

constexpr std::size_t page = 4096;

struct Unclean_End : testing::Test {
  Unclean_End() { complaints().clear(); }

  enum class End { orderly, killed };

  // Another process fills the hive, most of it into its file and the rest into its log, and ends.
  void write_and_end(End end) {
    kvtest::Child_Result child = kvtest::run_child([&] {
      Registry& registry = *registry_on(folder.path()).release();
      Key key = make_key(registry, root_of(registry), u"key");
      for (int i = 0; i < 40; ++i)
        put(registry, key, u"v" + std::u16string(1, char16_t(u'0' + i)), std::string(400, 'x'));
      if (registry.flush(key) != Status::ok || put(registry, key, u"last", "x") != Status::ok) _exit(1);
      if (end == End::orderly) registry.note_orderly_end();
      kill(getpid(), SIGKILL);
    });
    EXPECT_EQ(child.signal, SIGKILL);
  }
  // What is of no use to who opens a missing key, and looks as old as it was.
  void damage() {
    whole_ = bytes_of(file);
    ASSERT_GT(whole_.size(), 8 * page);
    std::string bytes = whole_;
    for (std::size_t at = whole_.size() - 3 * page; at < whole_.size(); at += page) bytes.replace(at, 8, 8, '\x5A');
    struct stat before;
    ASSERT_EQ(stat(file.c_str(), &before), 0);
    write_bytes(file, bytes);
    const timespec times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  }
  // A first use by another process that ends as it should: its status, and how often it complained.
  std::string opened_elsewhere() {
    kvtest::Child_Result child = kvtest::run_child([&] {
      Registry& registry = *registry_on(folder.path()).release();
      int status = static_cast<int>(status_of_opening(registry));
      printf("%d %zu", status, complaints().size());
      registry.note_orderly_end();
    });
    return child.out;
  }
  static Status status_of_opening(Registry& registry) {
    Key key;
    return registry.open(root_of(registry), u"nothing", &key);
  }
  static std::string good() { return std::to_string(static_cast<int>(Status::not_found)) + " 0"; }
  static std::string found_damaged() { return std::to_string(static_cast<int>(Status::damaged)) + " 1"; }

  Temp_Folder folder;
  std::string file = folder / "machine.bin";
  std::string whole_;
};

TEST_F(Unclean_End, LetsTheNextOpenerLookTheHiveThroughAndNameWhatIsDamaged) {
  write_and_end(End::killed);
  damage();
  const std::string damaged = bytes_of(file);
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  EXPECT_EQ(status_of_opening(*registry), Status::damaged);
  Key key;
  EXPECT_EQ(create(*registry, root_of(*registry), u"new", &key), Status::damaged);
  ASSERT_EQ(complaints().size(), 1u);
  const std::string start = file + ": the hive is damaged (";
  EXPECT_EQ(complaints()[0].substr(0, start.size()), start);
  EXPECT_NE(complaints()[0].find("Page"), std::string::npos) << complaints()[0];
  EXPECT_EQ(complaints()[0].find('\n'), std::string::npos) << complaints()[0];
  EXPECT_EQ(bytes_of(file), damaged);
  write_bytes(file, whole_);
  EXPECT_EQ(status_of_opening(*registry), Status::not_found);
  EXPECT_EQ(create(*registry, root_of(*registry), u"new", &key), Status::ok);
  EXPECT_EQ(complaints().size(), 1u);
}

TEST_F(Unclean_End, IsNotTakenForDoneWhileTheHiveIsDamaged) {
  write_and_end(End::killed);
  damage();
  EXPECT_EQ(opened_elsewhere(), found_damaged());
  EXPECT_EQ(opened_elsewhere(), found_damaged());
  write_bytes(file, whole_);
  EXPECT_EQ(opened_elsewhere(), good());
}

TEST_F(Unclean_End, IsLookedIntoOnce) {
  write_and_end(End::killed);
  EXPECT_EQ(opened_elsewhere(), good());
  damage();
  EXPECT_EQ(opened_elsewhere(), good());
}

TEST_F(Unclean_End, IsNoOrderlyOne) {
  write_and_end(End::orderly);
  damage();
  EXPECT_EQ(opened_elsewhere(), good());
}

TEST_F(Unclean_End, AmongOthersThatGoOnIsTheirs) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  pid_t other = fork();
  if (other == 0) {
    Registry& registry = *registry_on(folder.path()).release();
    make_key(registry, root_of(registry), u"mine");
    if (write(ready[1], "+", 1) == 1) pause();
    _exit(0);
  }
  char byte = 0;
  EXPECT_EQ(read(ready[0], &byte, 1), 1);
  write_and_end(End::killed);
  damage();
  EXPECT_EQ(opened_elsewhere(), good());
  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
}

TEST_F(Unclean_End, IsNotAFork) {
  write_and_end(End::orderly);
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  make_key(*registry, root_of(*registry), u"mine");
  kvtest::run_child([] {});
  damage();
  EXPECT_EQ(status_of_opening(*registry), Status::not_found);
  EXPECT_TRUE(complaints().empty());
}

TEST_F(Unclean_End, WithoutAnyNoteOfAnotherIsLookedInto) {
  write_and_end(End::orderly);
  std::filesystem::remove(file + "-queue");
  damage();
  EXPECT_EQ(opened_elsewhere(), found_damaged());
}

}  // namespace
