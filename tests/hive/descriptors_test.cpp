// Programs that close descriptors they did not open: what gets the numbers is never written into.
#include <fstream>
#include <sstream>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

std::string bytes_of(const std::string& file) {
  std::ostringstream bytes;
  bytes << std::ifstream(file, std::ios::binary).rdbuf();
  return bytes.str();
}

struct Descriptors : testing::Test {
  Temp_Folder folder;

  // In a child: uses a hive, closes every descriptor but the standard ones, opens files of its own in their
  // place, and then runs the rest. What the child prints is told.
  kvtest::Child_Result after_closing_all(const std::function<void(Registry&, const Key&)>& rest) {
    return kvtest::run_child([&] {
      std::unique_ptr<Registry> registry = registry_on(folder.path());
      Key key = make_key(*registry, root_of(*registry), u"a");
      put(*registry, key, u"v", "before");
      for (int fd = 3; fd < 64; ++fd) close(fd);
      for (int i = 0; i < 10; ++i) {
        std::string file = folder / ("own" + std::to_string(i));
        int fd = open(file.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        if (write(fd, "my own log\n", 11) != 11) printf("cannot write ");
      }
      rest(*registry, key);
      fflush(nullptr);
      _exit(0);
    });
  }

  void expect_own_files_untouched() {
    for (int i = 0; i < 10; ++i) EXPECT_EQ(bytes_of(folder / ("own" + std::to_string(i))), "my own log\n") << i;
  }

  std::string stored() {
    std::unique_ptr<Registry> registry = registry_on(folder.path());
    Key key;
    EXPECT_EQ(registry->open(root_of(*registry), u"a", &key), Status::ok);
    return get(*registry, key, u"v");
  }
};

TEST_F(Descriptors, AWriteAfterThemIsKeptAndTheProgramsFilesAreUntouched) {
  kvtest::Child_Result child = after_closing_all([](Registry& registry, const Key& key) {
    bool right = put(registry, key, u"v", "after") == Status::ok && get(registry, key, u"v") == "after";
    printf("%s", right ? "right" : "wrong");
  });
  EXPECT_EQ(child.out, "right");
  expect_own_files_untouched();
  EXPECT_EQ(stored(), "after");
}

TEST_F(Descriptors, AReadAfterThemIsRight) {
  kvtest::Child_Result child =
      after_closing_all([](Registry& registry, const Key& key) { printf("%s", get(registry, key, u"v").c_str()); });
  EXPECT_EQ(child.out, "before");
  expect_own_files_untouched();
}

TEST_F(Descriptors, AForkAfterThemTouchesNothing) {
  kvtest::Child_Result child = after_closing_all([](Registry& registry, const Key& key) {
    pid_t grandchild = fork();
    if (grandchild == 0) _exit(put(registry, key, u"v", "grandchild") == Status::ok ? 0 : 1);
    int ended = -1;
    waitpid(grandchild, &ended, 0);
    char byte;
    bool own_open = pread(5, &byte, 1, 0) == 1 && byte == 'm';
    printf("%d %d %s", ended, own_open, get(registry, key, u"v").c_str());
  });
  EXPECT_EQ(child.out, "0 1 grandchild");
  expect_own_files_untouched();
}

TEST_F(Descriptors, EndingTheRegistryAfterThemClosesNoneOfTheProgramsFiles) {
  kvtest::Child_Result child = kvtest::run_child([&] {
    std::unique_ptr<Registry> registry = registry_on(folder.path());
    make_key(*registry, root_of(*registry), u"a");
    for (int fd = 3; fd < 64; ++fd) close(fd);
    int own[20];
    for (int& fd : own) fd = open("/dev/null", O_RDWR);
    registry.reset();
    int still = 0;
    for (int fd : own) still += fcntl(fd, F_GETFD) >= 0;
    printf("%d", still);
  });
  EXPECT_EQ(child.out, "20");
}

// Descriptors above the standard ones that a program started by this one would get.
int inherited_by_exec() {
  int inherited = 0;
  for (int fd = 3; fd < 1024; ++fd) {
    int flags = fcntl(fd, F_GETFD);
    inherited += flags >= 0 && (flags & FD_CLOEXEC) == 0;
  }
  return inherited;
}

TEST_F(Descriptors, NoneOfTheHivesIsAStandardOneAndNoneSurvivesAnExec) {
  kvtest::Child_Result child = kvtest::run_child([&] {
    int told = fcntl(STDOUT_FILENO, F_DUPFD, 10);
    for (int fd = 0; fd < 10; ++fd) close(fd);
    int before = inherited_by_exec();  // what whoever started the tests left open
    std::unique_ptr<Registry> registry = registry_on(folder.path());
    make_key(*registry, root_of(*registry), u"a");
    int more = inherited_by_exec() - before;
    int first_free = open("/dev/null", O_RDONLY);
    dprintf(told, "%d %d", first_free, more);
    _exit(0);
  });
  EXPECT_EQ(child.out, "0 0");
}

}  // namespace
