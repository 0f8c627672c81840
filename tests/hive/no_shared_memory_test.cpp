// Hives where no memory can be shared through a file: the system refuses to map any in these processes, as it does
// on some file systems of other machines. Changes go through a rollback journal, and nothing else is different.
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <csignal>
#include <cstddef>

#include "hive/store/shared_memory.h"
#include "tests/hive/database.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

constexpr int cannot_refuse = 77;

// From now on this process maps no file that it would share: the call fails as where that is not possible.
void refuse_shared_maps() {
  constexpr std::uint32_t fourth_argument = offsetof(seccomp_data, args[3]);
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_mmap, 0, 4),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, fourth_argument),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, MAP_ANONYMOUS, 2, 0),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, MAP_SHARED, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENODEV),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  sock_fprog program = {std::size(rules), rules};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    _exit(cannot_refuse);
  }
}

struct No_Shared_Memory : testing::Test {
  // Runs a check in a child that can share no memory; the test fails when it does not hold.
  void without(const std::function<bool(Registry&)>& check) {
    kvtest::Child_Result child = kvtest::run_child([&] {
      refuse_shared_maps();
      bool holds = check(*registry_on(folder.path()).release());
      for (const std::string& line : complaints()) fprintf(stderr, "%s\n", line.c_str());
      fflush(stderr);
      _exit(holds ? 0 : 1);
    });
    if (child.exit_status == cannot_refuse) GTEST_SKIP() << "calls of the system cannot be refused here";
    EXPECT_EQ(child.exit_status, 0) << child.err << " signal " << child.signal;
    EXPECT_EQ(child.err, "");
  }
  bool has_log() { return std::filesystem::exists(file + "-wal") || std::filesystem::exists(file + "-shm"); }
  // The way of writing that the file's head tells: 1 a rollback journal, 2 a log.
  int way_of_writing() { return bytes_of(file)[18]; }
  static Status set(Registry& registry, std::u16string_view name, const std::string& data) {
    return put(registry, make_key(registry, root_of(registry), u"a"), name, data);
  }
  static std::string value(Registry& registry, std::u16string_view name) {
    Key key;
    return registry.open(root_of(registry), u"a", &key) == Status::ok ? get(registry, key, name) : "no key";
  }

  Temp_Folder folder;
  std::string file = folder / "machine.bin";
};

TEST_F(No_Shared_Memory, HivesAreMadeAndKeptWithoutALog) {
  without([](Registry& registry) { return set(registry, u"v", "x") == Status::ok && value(registry, u"v") == "x"; });
  EXPECT_FALSE(has_log());
  EXPECT_EQ(way_of_writing(), 1);
  without([](Registry& registry) {
    return value(registry, u"v") == "x" && registry.flush(root_of(registry)) == Status::ok;
  });
}

TEST_F(No_Shared_Memory, WhatIsInTheLogOfAHiveIsKept) {
  kvtest::Child_Result writer = kvtest::run_child([&] {
    Registry& registry = *registry_on(folder.path()).release();
    _exit(set(registry, u"v", "x") == Status::ok ? 0 : 1);
  });
  ASSERT_EQ(writer.exit_status, 0);
  ASSERT_TRUE(has_log());
  ASSERT_EQ(way_of_writing(), 2);
  without([](Registry& registry) { return value(registry, u"v") == "x" && set(registry, u"w", "y") == Status::ok; });
  EXPECT_EQ(way_of_writing(), 1);
  EXPECT_FALSE(std::filesystem::exists(file + "-wal"));
}

TEST_F(No_Shared_Memory, AHiveGetsALogAgainWhereThatIsPossible) {
  without([](Registry& registry) { return set(registry, u"v", "x") == Status::ok; });
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  EXPECT_EQ(value(*registry, u"v"), "x");
  EXPECT_EQ(set(*registry, u"w", "y"), Status::ok);
  EXPECT_EQ(way_of_writing(), 2);
  EXPECT_TRUE(has_log());
}

TEST_F(No_Shared_Memory, ProcessesLoseAndDoubleNothingAndSeeNoTornValue) {
  without([&](Registry&) {
    std::vector<pid_t> children;
    for (int who = 0; who < 6; ++who) {
      pid_t child = fork();
      if (child != 0) {
        children.push_back(child);
        continue;
      }
      Registry& registry = *registry_on(folder.path()).release();
      bool right = true;
      for (int i = 0; i < 25; ++i) {
        const char16_t name[] = {static_cast<char16_t>(u'A' + who), static_cast<char16_t>(0x4E00 + i), 0};
        right = right && set(registry, name, std::string(300, static_cast<char>('a' + who))) == Status::ok;
        right = right && set(registry, u"shared", std::string(900, static_cast<char>('a' + who))) == Status::ok;
        const std::string shared = value(registry, u"shared");
        right = right && shared.size() == 900 && shared.find_first_not_of(shared[0]) == shared.npos;
      }
      _exit(right ? 0 : 1);
    }
    bool right = true;
    for (pid_t child : children) {
      int ended = -1;
      right = waitpid(child, &ended, 0) == child && ended == 0 && right;
    }
    Registry& registry = *registry_on(folder.path()).release();
    Key key = make_key(registry, root_of(registry), u"a");
    std::vector<hive::Found_Fault> faults;
    return right && value_names(registry, key).size() == 151 && counts_of(registry, key).values == 151 &&
           registry.check(key, &faults) == Status::ok && faults.empty();
  });
}

TEST_F(No_Shared_Memory, AKilledWriterLosesNothingThatWasReportedDone) {
  for (int round = 0; round < 10; ++round) {
    int told[2];
    ASSERT_EQ(pipe(told), 0);
    pid_t writer = fork();
    if (writer == 0) {
      refuse_shared_maps();
      Registry& registry = *registry_on(folder.path()).release();
      for (int i = 0; set(registry, u"v", std::to_string(i)) == Status::ok; ++i) {
        if (write(told[1], &i, sizeof i) != sizeof i) break;
      }
      _exit(1);
    }
    close(told[1]);
    int last = -1;
    for (int i = 0; i <= round && read(told[0], &last, sizeof last) == sizeof last; ++i) {
    }
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    while (read(told[0], &last, sizeof last) == sizeof last) {
    }
    close(told[0]);
    if (last < 0) GTEST_SKIP() << "calls of the system cannot be refused here";
    without([&](Registry& registry) {
      const int found = std::stoi(value(registry, u"v"));
      return found == last || found == last + 1;
    });
  }
}

TEST_F(No_Shared_Memory, SavingLoadingAndBackupsWork) {
  without([&](Registry& registry) {
    Key key = make_key(registry, root_of(registry), u"a");
    std::vector<hive::Found_Fault> faults;
    return set(registry, u"v", std::string(5000, 'x')) == Status::ok &&
           registry.save(key, folder / "saved") == Status::ok &&
           registry.load(root_of(registry), u"b", folder / "saved") == Status::ok &&
           registry.backup(folder / "backup") == Status::ok &&
           registry.check_file(folder / "backup/machine.hive", &faults) == Status::ok && faults.empty() &&
           key_names(registry, root_of(registry)) == Names{u"a", u"b"};
  });
}

TEST_F(No_Shared_Memory, AForkChangesNothing) {
  without([&](Registry& registry) {
    Key key = make_key(registry, root_of(registry), u"a");
    bool right = put(registry, key, u"before", "x") == Status::ok;
    pid_t child = fork();
    if (child == 0) _exit(put(registry, key, u"child", "y") == Status::ok ? 0 : 1);
    int ended = -1;
    right = right && put(registry, key, u"parent", "z") == Status::ok;
    right = waitpid(child, &ended, 0) == child && ended == 0 && right;
    return right && value_names(registry, key) == Names{u"before", u"child", u"parent"};
  });
}

TEST(File_Systems, OfOtherMachinesShareNoMemory) {
  EXPECT_FALSE(hive::is_of_one_machine(0x6969));
  EXPECT_FALSE(hive::is_of_one_machine(0xFF534D42));
  EXPECT_FALSE(hive::is_of_one_machine(0xFFFFFFFFFF534D42));  // the number may come sign-extended
  EXPECT_FALSE(hive::is_of_one_machine(0x01021997));
  EXPECT_TRUE(hive::is_of_one_machine(0xEF53));
  EXPECT_TRUE(hive::is_of_one_machine(0x01021994));
  EXPECT_TRUE(hive::is_of_one_machine(0x9123683E));
}

}  // namespace
