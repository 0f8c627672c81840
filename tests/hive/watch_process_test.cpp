// Watching keys across processes: writers and watchers that are killed, forked, or may only read.
#include <fcntl.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/syscall.h>

#include <atomic>

#include "hive/keys.h"
#include "hive/store/schema.h"
#include "hive/store/transaction.h"
#include "hive/values.h"
#include "tests/hive/watch_probe.h"

namespace {

using namespace hivetest;
using hive::all_ways;
using hive::way_last_set;
using hive::way_name;
using hive::way_security;

struct Watching : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"a");

  // In another process, with a registry of its own.
  int elsewhere(const std::function<bool(Registry&, const Key&)>& act) {
    let_watching_threads_rest();
    let_watching_threads_rest();
    kvtest::Child_Result child = kvtest::run_child([&] {
      std::unique_ptr<Registry> other = registry_on(folder.path());
      Key same;
      bool done = other->open(root_of(*other), u"a", &same) == Status::ok && act(*other, same);
      _exit(done ? 0 : 1);
    });
    return child.exit_status;
  }

  // The first column of a question's first row; in a child, since a second SQLite's descriptors would drop this
  // process's locks.
  long long in_hive(const char* question) {
    let_watching_threads_rest();
    let_watching_threads_rest();
    kvtest::Child_Result child = kvtest::run_child([&] {
      sqlite3* db = nullptr;
      sqlite3_stmt* statement = nullptr;
      sqlite3_open_v2((folder / "machine.bin").c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
      sqlite3_busy_timeout(db, 5000);
      sqlite3_prepare_v2(db, question, -1, &statement, nullptr);
      if (sqlite3_step(statement) == SQLITE_ROW) printf("%lld", sqlite3_column_int64(statement, 0));
    });
    return child.out.empty() ? -1 : std::stoll(child.out);
  }
};

TEST_F(Watching, SeesWhatAnotherProcessChanges) {
  Key same = opened(*registry, root_of(*registry), u"a");
  Probe_Ref values = watch(*registry, key, false, way_last_set);
  Probe_Ref names = watch(*registry, same, false, way_name);
  ASSERT_EQ(elsewhere([](Registry& other, const Key& at) { return put(other, at, u"v", "1") == Status::ok; }), 0);
  EXPECT_TRUE(values->wait());
  ASSERT_EQ(elsewhere([](Registry& other, const Key& at) { return make_key(other, at, u"sub") != nullptr; }), 0);
  EXPECT_TRUE(names->wait());
  EXPECT_EQ(names->count(), 1);
}

TEST_F(Watching, SeesThatAnotherProcessRemovesTheKey) {
  Probe_Ref probe = watch(*registry, key, false, way_security);
  ASSERT_EQ(elsewhere([](Registry& other, const Key&) { return other.remove(root_of(other), u"a") == Status::ok; }), 0);
  EXPECT_TRUE(probe->wait());
  EXPECT_EQ(registry->watch(key, false, all_ways, std::make_shared<Probe>()), Status::key_deleted);
}

// Each reads and waits in turn until it has read the last value: one notification that got lost would be a process
// that waits for ever.
TEST_F(Watching, ManyWatchersMissNothingOfManyWriters) {
  constexpr int watchers = 4;
  constexpr int writers = 2;
  constexpr int writes = 100;
  std::vector<pid_t> children;
  auto begin = [&](const std::function<bool(Registry&, const Key&)>& body) {
    fflush(nullptr);
    children.push_back(fork());
    if (children.back() != 0) return;
    std::unique_ptr<Registry> other = registry_on(folder.path());
    Key same;
    _exit(other->open(root_of(*other), u"a", &same) == Status::ok && body(*other, same) ? 0 : 1);
  };
  for (int i = 0; i < watchers; ++i) {
    begin([](Registry& other, const Key& at) {
      for (;;) {
        Probe_Ref probe = watch(other, at, false, way_last_set);
        if (probe == nullptr) return false;
        if (get(other, at, u"w0") == "99" && get(other, at, u"w1") == "99") return true;
        if (!probe->wait()) return false;
      }
    });
  }
  for (int i = 0; i < writers; ++i) {
    begin([i](Registry& other, const Key& at) {
      bool done = true;
      for (int n = 0; n < writes; ++n)
        done = done && put(other, at, i == 0 ? u"w0" : u"w1", std::to_string(n)) == Status::ok;
      return done;
    });
  }
  for (pid_t child : children) {
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
  }
}

// A change that is in the hive and of which nobody was told: its writer was killed in between.
TEST_F(Watching, FindsTheChangeOfAWriterThatWasKilledBeforeItCouldTell) {
  Probe_Ref probe = watch(*registry, key, true, way_last_set);
  let_watching_threads_rest();
  kvtest::Child_Result child = kvtest::run_child([&] {
    std::unique_ptr<hive::Connection> connection;
    std::string reason;
    hive::Connection::open(folder / "machine.bin", hive::Connection::Mode::shared, &connection, &reason);
    hive::Connection::Use use(*connection);
    Status status = hive::in_transaction(*connection, hive::Access::write, [](hive::Connection& open) {
      std::int64_t number = 0;
      const Status found = hive::find_key(open, hive::root_key, u"a", &number);
      return found == Status::ok ? hive::write_value(open, number, u"v", 3, nullptr, 0) : found;
    });
    printf("%d", static_cast<int>(status));
    fflush(stdout);
    kill(getpid(), SIGKILL);
  });
  ASSERT_EQ(child.out, "0");
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watching, WhatAKilledWatcherLeftInTheHiveIsRemoved) {
  let_watching_threads_rest();
  kvtest::Child_Result child = kvtest::run_child([&] {
    std::unique_ptr<Registry> other = registry_on(folder.path());
    Key same;
    other->open(root_of(*other), u"a", &same);
    if (watch(*other, same, true, way_security) == nullptr) _exit(1);
    kill(getpid(), SIGKILL);
  });
  ASSERT_EQ(child.signal, SIGKILL);
  ASSERT_EQ(in_hive("SELECT count(*) FROM watcher"), 1);
  for (int i = 0; i < 70; ++i) ASSERT_EQ(put(*registry, key, u"v", std::to_string(i)), Status::ok);
  EXPECT_EQ(in_hive("SELECT count(*) FROM watcher"), 0);
  EXPECT_EQ(in_hive("SELECT value FROM meta WHERE name = 'watchers'"), 0);
  EXPECT_EQ(in_hive("SELECT count(*) FROM change"), 1);
}

TEST_F(Watching, AKilledWatcherIsRemovedByTheNextOne) {
  let_watching_threads_rest();
  kvtest::Child_Result child = kvtest::run_child([&] {
    std::unique_ptr<Registry> other = registry_on(folder.path());
    Key same;
    other->open(root_of(*other), u"a", &same);
    if (watch(*other, same, true, way_security) == nullptr) _exit(1);
    kill(getpid(), SIGKILL);
  });
  ASSERT_EQ(child.signal, SIGKILL);
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  EXPECT_EQ(in_hive("SELECT count(*) FROM watcher"), 1);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watching, OneThatWasTakenForDeadIsToldAndGoesOn) {
  Probe_Ref probe = watch(*registry, key, false, way_security);
  let_watching_threads_rest();
  kvtest::Child_Result child = kvtest::run_child([&] {
    sqlite3* db = nullptr;
    sqlite3_open((folder / "machine.bin").c_str(), &db);
    sqlite3_busy_timeout(db, 5000);
    int keep_log = 1;
    sqlite3_file_control(db, "main", SQLITE_FCNTL_PERSIST_WAL, &keep_log);
    printf("%d", sqlite3_exec(db, "DELETE FROM watcher; UPDATE meta SET value = 0 WHERE name = 'watchers'", nullptr,
                              nullptr, nullptr));
    sqlite3_close(db);
  });
  ASSERT_EQ(child.out, "0");
  EXPECT_TRUE(probe->wait());  // it may have missed anything
  // What may have changed meanwhile is told once more at most.
  probe = watch(*registry, key, false, way_last_set);
  EXPECT_EQ(in_hive("SELECT count(*) FROM watcher"), 1);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watching, GoesOnWhenTheFileBesideTheHiveIsRemoved) {
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  ASSERT_TRUE(std::filesystem::remove(folder / "machine.bin-watch"));
  ASSERT_EQ(elsewhere([](Registry& other, const Key& at) { return put(other, at, u"v", "1") == Status::ok; }), 0);
  EXPECT_TRUE(probe->wait());
}

// The one who sees first that the file is gone may be the writer in the same process.
TEST_F(Watching, IsNotTakenForDeadAfterTheFileBesideTheHiveWasReplaced) {
  Probe_Ref probe = watch(*registry, key, false, way_security);
  std::ofstream(folder / "other") << "something";
  std::filesystem::rename(folder / "other", folder / "machine.bin-watch");
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  ASSERT_EQ(elsewhere([](Registry& other, const Key& at) {
              for (int i = 0; i < 70; ++i) {
                if (put(other, at, u"v", "1") != Status::ok) return false;
              }
              return true;
            }),
            0);
  EXPECT_EQ(in_hive("SELECT count(*) FROM watcher"), 1);
  EXPECT_EQ(probe->count(), 0);
}

TEST_F(Watching, FollowsNoLinkInPlaceOfTheFileBesideTheHive) {
  std::ofstream(folder / "victim") << "mine";
  std::filesystem::create_symlink(folder / "victim", folder / "machine.bin-watch");
  Probe_Ref probe = watch(*registry, key, true, way_last_set);  // by comparing
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  EXPECT_TRUE(probe->wait());
  std::string content;
  std::getline(std::ifstream(folder / "victim"), content);
  EXPECT_EQ(content, "mine");
}

TEST_F(Watching, TheFileBesideTheHiveHasTheHivesMode) {
  ASSERT_EQ(chmod((folder / "machine.bin").c_str(), 0664), 0);
  ASSERT_NE(watch(*registry, key, false, way_last_set), nullptr);
  struct stat file;
  ASSERT_EQ(stat((folder / "machine.bin-watch").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 07777, 0664u);
}

TEST_F(Watching, SeesThatAnotherHiveTookThePlace) {
  Key root = root_of(*registry);
  Probe_Ref of_key = watch(*registry, key, false, way_security);
  Probe_Ref of_root = watch(*registry, root, false, way_security);
  for (const char* end : {"", "-wal", "-shm"}) std::filesystem::remove(folder / ("machine.bin" + std::string(end)));
  EXPECT_TRUE(of_key->wait());
  EXPECT_TRUE(of_root->wait());
  EXPECT_EQ(registry->watch(key, false, all_ways, std::make_shared<Probe>()), Status::key_deleted);
  Probe_Ref again = watch(*registry, root, true, way_name);
  make_key(*registry, root, u"new");
  EXPECT_TRUE(again->wait());
}

// ---- forks

TEST_F(Watching, AChildHasNoWatchOfItsParentAndBothGoOn) {
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  let_watching_threads_rest();
  kvtest::Child_Result child = kvtest::run_child([&] {
    bool right = watching_threads() == 0;
    // A call of its own on the inherited key, told of its own change; the parent's is not told here.
    Probe_Ref own = watch(*registry, key, false, way_last_set);
    right = right && own != nullptr && put(*registry, key, u"v", "child") == Status::ok && own->wait();
    right = right && probe->count() == 0;
    own = watch(*registry, key, false, way_last_set);
    key.reset();
    printf("%d %d %d", right, own->count(), probe->count());
  });
  EXPECT_EQ(child.out, "1 1 0");
  EXPECT_TRUE(probe->wait());
  probe = watch(*registry, key, false, way_last_set);
  ASSERT_EQ(put(*registry, key, u"v", "parent"), Status::ok);
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watching, AChildThatNeverWatchesClosesTheKeyAndTellsNobody) {
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  let_watching_threads_rest();
  kvtest::Child_Result child = kvtest::run_child([&] {
    key.reset();
    registry.reset();
    printf("%d", probe->count());
  });
  EXPECT_EQ(child.out, "0");
  EXPECT_EQ(probe->count(), 0);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  EXPECT_TRUE(probe->wait());
}

// The child keeps no lock of its parent's alive.
TEST_F(Watching, AChildThatOutlivesItsParentLeavesNoWatcherOfIt) {
  int lives[2];
  ASSERT_EQ(pipe2(lives, O_CLOEXEC), 0);
  pid_t grandchild = -1;
  let_watching_threads_rest();
  kvtest::Child_Result child = kvtest::run_child([&] {
    std::unique_ptr<Registry> other = registry_on(folder.path());
    Key same;
    other->open(root_of(*other), u"a", &same);
    if (watch(*other, same, true, way_security) == nullptr) _exit(1);
    grandchild = fork();
    if (grandchild == 0) {
      close(lives[1]);
      for (int fd : {0, 1, 2}) close(fd);
      char byte;
      _exit(read(lives[0], &byte, 1) == 0 ? 0 : 1);
    }
    kill(getpid(), SIGKILL);
  });
  ASSERT_EQ(child.signal, SIGKILL);
  for (int i = 0; i < 70; ++i) ASSERT_EQ(put(*registry, key, u"v", std::to_string(i)), Status::ok);
  EXPECT_EQ(in_hive("SELECT count(*) FROM watcher"), 0);
  close(lives[0]);
  close(lives[1]);
}

TEST_F(Watching, AForkBesideAThreadThatWatchesLeavesTheChildAWorkingRegistry) {
  if (const char* reason = kvtest::why_not_fork_beside_threads()) GTEST_SKIP() << reason;
  std::atomic<bool> stop = false;
  std::thread busy([&] {
    for (int i = 0; !stop; ++i) {
      Probe_Ref probe = watch(*registry, key, true, way_last_set);
      EXPECT_EQ(put(*registry, key, u"busy", std::to_string(i)), Status::ok);
      EXPECT_TRUE(probe->wait());
    }
  });
  for (int i = 0; i < 30; ++i) {
    fflush(nullptr);
    pid_t child = fork();
    if (child == 0) {
      Probe_Ref own = watch(*registry, key, false, way_last_set);
      bool right = own != nullptr && put(*registry, key, u"child", std::to_string(i)) == Status::ok && own->wait();
      _exit(right ? 0 : 1);
    }
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
  }
  stop = true;
  busy.join();
}

// ---- descriptors

TEST_F(Watching, GoesOnAfterTheProgramHasClosedEveryDescriptor) {
  let_watching_threads_rest();
  kvtest::Child_Result child = kvtest::run_child([&] {
    std::unique_ptr<Registry> other = registry_on(folder.path());
    Key same;
    other->open(root_of(*other), u"a", &same);
    Probe_Ref probe = watch(*other, same, false, way_last_set);
    syscall(SYS_close_range, 3u, ~0u, 0u);
    for (int i = 0; i < 10; ++i) {
      const std::string file = folder / ("own" + std::to_string(i));
      int fd = open(file.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
      if (write(fd, "my own log\n", 11) != 11) printf("cannot write ");
    }
    pid_t writer = fork();
    if (writer == 0) _exit(put(*other, same, u"v", "1") == Status::ok ? 0 : 1);
    int ended = -1;
    waitpid(writer, &ended, 0);
    bool right = ended == 0 && probe->wait();
    probe = watch(*other, same, false, way_last_set);
    right = right && probe != nullptr && put(*other, same, u"v", "2") == Status::ok && probe->wait();
    printf("%d", right);
  });
  EXPECT_EQ(child.out, "1");
  for (int i = 0; i < 10; ++i) {
    std::ifstream file(folder / ("own" + std::to_string(i)));
    std::string content{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(content, "my own log\n") << i;
  }
}

// ---- who may only read

struct Watching_Reader : testing::Test {
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs to act as two users, which root alone can";
    registry = registry_on(folder.path());
    key = make_key(*registry, root_of(*registry), u"a");
    make_key(*registry, key, u"b\\c");
  }

  // Runs a check as a user who may not write, and beside it what root does each time the check asks for it by writing a
  // byte.
  void beside(const std::function<bool(Registry&, const Key&, const std::function<void()>&)>& check,
              const std::vector<std::function<void()>>& acts) {
    int turn[2];
    int done[2];
    ASSERT_EQ(pipe2(turn, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(done, O_CLOEXEC), 0);
    std::atomic<bool> is_ready = false;
    std::thread root([&] {
      char byte = 0;
      is_ready = true;
      for (const std::function<void()>& act : acts) {
        if (read(turn[0], &byte, 1) != 1) return;
        act();
        EXPECT_EQ(write(done[1], "+", 1), 1);
      }
    });
    while (!is_ready) std::this_thread::yield();  // a thread that begins takes memory, beside which none may fork
    as_nobody([&] {
      std::unique_ptr<Registry> mine = registry_on(folder.path());
      Key same;
      auto let_root_act = [&] {
        char byte = 0;
        if (write(turn[1], "+", 1) != 1 || read(done[0], &byte, 1) != 1) _exit(3);
      };
      return mine->open(root_of(*mine), u"a", &same) == Status::ok && check(*mine, same, let_root_act);
    });
    close(turn[1]);
    root.join();
    for (int fd : {turn[0], done[0], done[1]}) close(fd);
  }

  Open_Folder folder;
  std::unique_ptr<Registry> registry;
  Key key;
};

TEST_F(Watching_Reader, IsToldOfEachWayThatItAskedFor) {
  const std::uint32_t mode = 0711;
  beside(
      [](Registry& mine, const Key& same, const std::function<void()>& let_root_act) {
        Probe_Ref value = watch(mine, same, false, way_last_set);
        Probe_Ref name = watch(mine, same, false, way_name);
        Probe_Ref rights = watch(mine, same, false, way_security);
        let_root_act();
        bool right = value->wait() && name->count() == 0 && rights->count() == 0;
        let_root_act();
        right = right && name->wait() && rights->count() == 0;
        let_root_act();
        return right && rights->wait();
      },
      {[&] { EXPECT_EQ(put(*registry, key, u"v", "1"), Status::ok); }, [&] { make_key(*registry, key, u"sub"); },
       [&] { EXPECT_EQ(registry->set_rights(key, &mode, nullptr, nullptr), Status::ok); }});
}

TEST_F(Watching_Reader, SeesKeysBelowWithSubtreeOnly) {
  Key deep = opened(*registry, key, u"b\\c");
  beside(
      [](Registry& mine, const Key& same, const std::function<void()>& let_root_act) {
        Key other = opened(mine, root_of(mine), u"a");
        Probe_Ref alone = watch(mine, other, false, all_ways);
        Probe_Ref tree = watch(mine, same, true, way_last_set);
        let_root_act();
        bool right = tree->wait();
        tree = watch(mine, same, true, way_name);
        right = right && tree->count() == 0;
        let_root_act();
        right = right && tree->wait();
        tree = watch(mine, same, true, way_name);
        right = right && tree->count() == 0;
        let_root_act();
        return right && tree->wait() && alone->count() == 0;
      },
      {[&] { EXPECT_EQ(put(*registry, deep, u"v", "1"), Status::ok); }, [&] { make_key(*registry, deep, u"d"); },
       [&] { EXPECT_EQ(registry->remove(deep, u"d"), Status::ok); }});
}

TEST_F(Watching_Reader, MissesNothingBetweenTwoCalls) {
  beside(
      [](Registry& mine, const Key& same, const std::function<void()>& let_root_act) {
        Probe_Ref probe = watch(mine, same, false, way_last_set);
        let_root_act();
        bool right = probe->wait();
        let_root_act();
        return right && watch(mine, same, false, way_last_set)->count() == 1 &&
               watch(mine, same, false, way_last_set)->count() == 0;
      },
      {[&] { EXPECT_EQ(put(*registry, key, u"v", "1"), Status::ok); },
       [&] { EXPECT_EQ(put(*registry, key, u"v", "1"), Status::ok); }});
}

TEST_F(Watching_Reader, IsToldThatTheKeyIsRemoved) {
  beside(
      [](Registry& mine, const Key& same, const std::function<void()>& let_root_act) {
        Key deep = opened(mine, same, u"b\\c");
        Probe_Ref probe = watch(mine, deep, false, way_security);
        let_root_act();
        return probe->wait() && mine.watch(deep, false, all_ways, std::make_shared<Probe>()) == Status::key_deleted;
      },
      {[&] { EXPECT_EQ(registry->remove(key, u"b\\c"), Status::ok); }});
}

TEST_F(Watching_Reader, LeavesNothingBesideTheHiveAndNoLine) {
  as_nobody([&] {
    std::unique_ptr<Registry> mine = registry_on(folder.path());
    return watch(*mine, root_of(*mine), true, all_ways) != nullptr && complaints().empty();
  });
  EXPECT_FALSE(std::filesystem::exists(folder / "machine.bin-watch"));
}

TEST_F(Watching_Reader, IsToldAlsoOfAHiveThatNobodyHasOpen) {
  key.reset();
  registry.reset();
  std::filesystem::remove(folder / "machine.bin-wal");
  std::filesystem::remove(folder / "machine.bin-shm");
  beside(
      [](Registry& mine, const Key& same, const std::function<void()>& let_root_act) {
        Probe_Ref probe = watch(mine, same, false, way_last_set);
        let_root_act();
        return probe->wait();
      },
      {[&] {
        std::unique_ptr<Registry> again = registry_on(folder.path());
        EXPECT_EQ(put(*again, opened(*again, root_of(*again), u"a"), u"v", "1"), Status::ok);
      }});
}

}  // namespace
