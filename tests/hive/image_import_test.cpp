// One per-user file, carried between hosts: each test's hosts have a live hive of their own and share the file.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "hive/image/image.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

using Bytes = std::vector<unsigned char>;

Bytes bytes_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(stream), {});
}

// By another name and a rename, as who saves the image does it.
void write_file(const std::string& file, const Bytes& bytes) {
  const std::string fresh = file + "." + std::to_string(getpid());
  {
    std::ofstream stream(fresh, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  std::filesystem::rename(fresh, file);
}

class Host {
 public:
  Host(const std::string& folder, const std::string& image) : folder_(folder), image_(image) { start(); }

  void start() {
    registry = std::make_unique<Registry>(
        std::make_unique<Fixed_Locations>(folder_ + "/machine.bin", folder_ + "/user.bin", image_), &note_complaint);
  }
  Key user() { return root_of(*registry, Root::current_user); }
  void put_value(std::u16string_view name, std::string_view data) {
    EXPECT_EQ(put(*registry, user(), name, data), Status::ok);
  }
  Names values() { return value_names(*registry, user()); }
  Bytes closing_image() {
    Bytes bytes;
    EXPECT_EQ(registry->closing_user_image(&bytes), Status::ok);
    return bytes;
  }
  // The program ends without its image reaching the file.
  void end_unsaved() { registry.reset(); }
  // The program ends; whether there was an image to save. A process keeps the lock under which images are made
  // to its end, so each is made by one of its own.
  bool end() {
    constexpr int nothing_to_save = 3;
    const kvtest::Child_Result saved = kvtest::run_child([&] {
      const Bytes bytes = closing_image();
      if (!bytes.empty()) write_file(image_, bytes);
      _exit(testing::Test::HasFailure() ? 1 : bytes.empty() ? nothing_to_save : 0);
    });
    EXPECT_TRUE(saved.exit_status == 0 || saved.exit_status == nothing_to_save) << saved.err;
    registry.reset();
    return saved.exit_status == 0;
  }
  // A whole program's life that writes one value.
  void run(std::u16string_view name) {
    start();
    put_value(name, "data");
    end();
  }

  std::unique_ptr<Registry> registry;

 private:
  std::string folder_;
  std::string image_;
};

struct ImageImport : testing::Test {
  ImageImport() { complaints().clear(); }

  bool stands(const std::string& name) { return access((folder / name).c_str(), F_OK) == 0; }

  Temp_Folder folder;
  std::string file = folder / "hkcu";
  Host here{folder / "here", file};
  Host there{folder / "there", file};
};

TEST_F(ImageImport, WhatOnlyTheOtherHostChangedReplacesWhatIsHere) {
  here.put_value(u"removed there", "1");
  make_key(*here.registry, here.user(), u"Key");
  here.end();
  EXPECT_EQ(there.values(), Names{u"removed there"});
  EXPECT_EQ(there.registry->remove_value(there.user(), u"removed there"), Status::ok);
  EXPECT_EQ(put(*there.registry, make_key(*there.registry, there.user(), u"Large"), u"v", std::string(30000, 'L')),
            Status::ok);
  there.end();
  here.start();
  EXPECT_EQ(here.values(), Names{});
  EXPECT_EQ(key_names(*here.registry, here.user()), (Names{u"Key", u"Large"}));
  Key large;
  ASSERT_EQ(here.registry->open(here.user(), u"Large", &large), Status::ok);
  EXPECT_EQ(get(*here.registry, large, u"v"), std::string(30000, 'L'));
  EXPECT_EQ(counts_of(*here.registry, here.user()).sub_keys, 2u);
  EXPECT_TRUE(complaints().empty());
  EXPECT_FALSE(stands("hkcu.local.1"));
}

TEST_F(ImageImport, GoesOnAndOnBetweenHostsThatTakeTurns) {
  here.run(u"a");
  there.run(u"b");
  here.run(u"c");
  there.run(u"d");
  there.run(u"e");
  here.start();
  EXPECT_EQ(here.values(), (Names{u"a", u"b", u"c", u"d", u"e"}));
  EXPECT_TRUE(complaints().empty());
}

TEST_F(ImageImport, OfAHiveUnchangedSinceTheLastOneNeedsNothingKept) {
  here.run(u"a");
  there.run(u"b");
  here.start();
  EXPECT_EQ(here.values().size(), 2u);
  here.end();
  there.run(u"c");
  here.start();
  EXPECT_EQ(here.values(), (Names{u"a", u"b", u"c"}));
  EXPECT_TRUE(complaints().empty());
}

TEST_F(ImageImport, KeepsWhatWasChangedHereWhenBothSidesWereChanged) {
  here.run(u"shared");
  there.run(u"there");
  here.start();
  here.end_unsaved();
  const Bytes theirs = bytes_of(file);
  std::filesystem::remove(file);
  here.start();
  here.put_value(u"here", "1");
  here.end_unsaved();
  write_file(file, theirs);
  here.start();
  EXPECT_EQ(here.values(), (Names{u"shared", u"there"}));
  ASSERT_EQ(complaints().size(), 1u);
  EXPECT_EQ(complaints()[0], file +
                                 " and HKEY_CURRENT_USER were both changed; the file is taken, and what was here is "
                                 "kept as " +
                                 file + ".local.1");
  here.end_unsaved();
  Host third(folder / "third", file + ".local.1");
  EXPECT_EQ(third.values(), (Names{u"here", u"shared"}));
}

TEST_F(ImageImport, KeepingReplacesNoFile) {
  here.run(u"here");
  std::filesystem::remove(file);
  there.run(u"there");
  write_file(file + ".local.1", {'1'});
  here.start();
  EXPECT_EQ(here.values(), Names{u"there"});
  EXPECT_EQ(bytes_of(file + ".local.1"), Bytes{'1'});
  EXPECT_TRUE(stands("hkcu.local.2"));
}

TEST_F(ImageImport, IsNotDoneWhenWhatIsHereCannotBeKept) {
  if (geteuid() == 0) {
    // A name longer than the file system allows stops root too.
    const std::string longest = folder / std::string(250, 'n');
    Host first(folder / "first", longest);
    first.put_value(u"first", "1");
    first.end_unsaved();
    Host second(folder / "second", folder / "short");
    second.put_value(u"second", "1");
    second.end();
    std::filesystem::rename(folder / "short", longest);
    first.start();
    EXPECT_EQ(first.values(), Names{u"first"});
    ASSERT_EQ(complaints().size(), 1u);
    EXPECT_EQ(complaints()[0].find(longest + " was changed elsewhere and cannot be taken"), 0u);
    return;
  }
  here.run(u"here");
  std::filesystem::remove(file);
  there.run(u"there");
  ASSERT_EQ(chmod(folder.path().c_str(), 0500), 0);
  here.start();
  EXPECT_EQ(here.values(), Names{u"here"});
  EXPECT_EQ(complaints().size(), 1u);
  chmod(folder.path().c_str(), 0700);
}

TEST_F(ImageImport, NeverTakesAnOlderImageOfThisHost) {
  here.run(u"a");
  const Bytes older = bytes_of(file);
  here.run(u"b");
  write_file(file, older);
  here.start();
  EXPECT_EQ(here.values(), (Names{u"a", u"b"}));
  EXPECT_TRUE(complaints().empty());
  EXPECT_TRUE(here.end());
}

TEST_F(ImageImport, NeverTakesAnImageOfThisHostThatIsAheadOfIt) {
  here.run(u"a");
  here.start();
  here.end_unsaved();
  std::filesystem::create_directory(folder / "copy");
  std::filesystem::copy(folder / "here", folder / "copy", std::filesystem::copy_options::recursive);
  here.run(u"b");
  Host restored(folder / "copy", file);
  EXPECT_EQ(restored.values(), Names{u"a"});
  EXPECT_TRUE(complaints().empty());
}

TEST_F(ImageImport, HappensOnceForOneImage) {
  here.run(u"here");
  std::filesystem::remove(file);
  there.run(u"there");
  here.start();
  EXPECT_EQ(here.values(), Names{u"there"});
  here.put_value(u"again", "1");
  here.end_unsaved();
  here.start();
  EXPECT_EQ(here.values(), (Names{u"again", u"there"}));
  EXPECT_EQ(complaints().size(), 1u);
}

TEST_F(ImageImport, IsRememberedByTheNextImage) {
  here.run(u"a");
  there.run(u"b");
  hive::Image_Prologue theirs;
  ASSERT_EQ(hive::check_image(bytes_of(file), &theirs), Status::ok);
  here.run(u"c");
  hive::Image_Prologue ours;
  ASSERT_EQ(hive::check_image(bytes_of(file), &ours), Status::ok);
  EXPECT_EQ(ours.head.base, theirs.head.self);
}

TEST_F(ImageImport, AloneCallsForNoImage) {
  here.run(u"a");
  there.run(u"b");
  here.start();
  EXPECT_EQ(here.values().size(), 2u);
  EXPECT_FALSE(here.end());
  std::filesystem::remove(file);
  here.start();
  EXPECT_EQ(here.values().size(), 2u);
  EXPECT_TRUE(here.end());
}

TEST_F(ImageImport, OfAnEmptyFileIsNone) {
  here.run(u"a");
  write_file(file, {});
  here.start();
  EXPECT_EQ(here.values(), Names{u"a"});
  EXPECT_TRUE(complaints().empty());
  EXPECT_TRUE(stands("hkcu"));
}

TEST_F(ImageImport, OfADamagedFileSetsItAsideAndKeepsWhatIsHere) {
  here.run(u"a");
  there.run(u"b");
  Bytes image = bytes_of(file);
  image.back() ^= 1;
  write_file(file, image);
  here.start();
  EXPECT_EQ(here.values(), Names{u"a"});
  EXPECT_EQ(complaints().size(), 1u);
  EXPECT_EQ(bytes_of(file + ".damaged.1"), image);
  EXPECT_FALSE(stands("hkcu.local.1"));
}

// Runs what one process asks of another: it has the hive open until the returned descriptor is closed.
struct Open_Elsewhere {
  explicit Open_Elsewhere(Host& host) {
    int ready[2];
    int go[2];
    EXPECT_EQ(pipe(ready), 0);
    EXPECT_EQ(pipe(go), 0);
    fflush(nullptr);
    child = fork();
    char byte = 0;
    if (child == 0) {
      close(go[1]);
      host.start();
      byte = host.values().empty() ? 'n' : 'y';
      if (write(ready[1], &byte, 1) != 1 || read(go[0], &byte, 1) != 0) _exit(1);
      _exit(0);
    }
    close(go[0]);
    close(ready[1]);
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    end_of_wait = go[1];
  }
  ~Open_Elsewhere() {
    close(end_of_wait);
    int ended = -1;
    EXPECT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
  }

  pid_t child = -1;
  int end_of_wait = -1;
};

TEST_F(ImageImport, WaitsUntilNoOtherProcessHasTheHiveOpen) {
  here.run(u"a");
  {
    Open_Elsewhere other(here);
    there.run(u"b");
    here.start();
    EXPECT_EQ(here.values(), Names{u"a"});
    here.end_unsaved();
  }
  here.start();
  EXPECT_EQ(here.values(), (Names{u"a", u"b"}));
}

// The child shares the parent's lock, whichever of them lives longer.
TEST_F(ImageImport, WaitsForAForkedChildOfTheProcessThatOpenedTheHive) {
  here.run(u"a");
  here.start();
  ASSERT_EQ(here.values().size(), 1u);
  int go[2];
  ASSERT_EQ(pipe(go), 0);
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    close(go[1]);
    char byte = 0;
    const ssize_t got = read(go[0], &byte, 1);
    _exit(got == 0 && here.values().size() == 1 ? 0 : 1);
  }
  close(go[0]);
  here.end_unsaved();
  there.run(u"b");
  here.start();
  EXPECT_EQ(here.values(), Names{u"a"});
  here.end_unsaved();
  close(go[1]);
  int ended = -1;
  ASSERT_EQ(waitpid(child, &ended, 0), child);
  EXPECT_EQ(ended, 0);
  here.start();
  EXPECT_EQ(here.values(), (Names{u"a", u"b"}));
}

TEST_F(ImageImport, WaitsForAProcessWhoseDescriptorsWereClosed) {
  here.run(u"a");
  here.start();
  ASSERT_EQ(here.values().size(), 1u);
  for (int fd = 3; fd < 64; ++fd) close(fd);
  // The next operation on the file itself opens all anew.
  ASSERT_EQ(here.registry->flush(here.user()), Status::ok);
  there.run(u"b");
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    Host other(folder / "here", file);
    _exit(other.values() == Names{u"a"} ? 0 : 1);
  }
  int ended = -1;
  ASSERT_EQ(waitpid(child, &ended, 0), child);
  EXPECT_EQ(ended, 0);
  EXPECT_EQ(here.values(), Names{u"a"});
}

TEST_F(ImageImport, OfProcessesThatStartTogetherIsDoneByOne) {
  here.run(u"here");
  std::filesystem::remove(file);
  there.run(u"there");
  std::vector<pid_t> children;
  fflush(nullptr);
  for (int i = 0; i < 8; ++i) {
    pid_t child = fork();
    if (child == 0) {
      here.start();
      _exit(here.values() == Names{u"there"} ? 0 : 1);
    }
    children.push_back(child);
  }
  for (pid_t child : children) {
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
  }
  EXPECT_TRUE(stands("hkcu.local.1"));
  EXPECT_FALSE(stands("hkcu.local.2"));
}

// Whether the file is new; taken away again by who made it.
bool make_marker(const std::string& marker) {
  const int fd = open(marker.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd >= 0) close(fd);
  return fd >= 0;
}

// Saves as a process at its end does; false when another process is at it too.
bool end_alone(Host& host, const std::string& file, const std::string& marker) {
  const Bytes image = host.closing_image();
  if (image.empty()) return true;
  if (!make_marker(marker)) return false;
  write_file(file, image);
  return unlink(marker.c_str()) == 0;
}

TEST_F(ImageImport, TwentyProcessesThatEndTogetherLeaveOneWholeImageWithEveryValue) {
  int go[2];
  ASSERT_EQ(pipe(go), 0);
  std::vector<pid_t> children;
  fflush(nullptr);
  for (int i = 0; i < 20; ++i) {
    pid_t child = fork();
    if (child == 0) {
      close(go[1]);
      here.start();
      here.put_value(std::u16string(1, static_cast<char16_t>(u'a' + i)), std::string(200000, 'x'));
      char byte = 0;
      const bool all_end_now = read(go[0], &byte, 1) == 0;
      const bool was_alone = end_alone(here, file, folder / "marker");
      _exit(all_end_now && was_alone && !testing::Test::HasFailure() ? 0 : 1);
    }
    children.push_back(child);
  }
  close(go[0]);
  close(go[1]);
  for (pid_t child : children) {
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
  }
  hive::Image_Prologue prologue;
  ASSERT_EQ(hive::check_image(bytes_of(file), &prologue), Status::ok);
  EXPECT_EQ(prologue.values, 20u);
  EXPECT_EQ(there.values().size(), 20u);
}

}  // namespace
