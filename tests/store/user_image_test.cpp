// The per-user file as programs leave and find it: programs that end together, other hosts, older images, full
// disks, and files that are no image.
#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <map>

#include "tests/store/own_mounts.h"
#include "tests/store/shared_image.h"
#include "tests/support/ordinary_user.h"

namespace kvtest {
namespace {

using Files = std::vector<std::string>;

class Programs_That_End : public Shared_Image {
 protected:
  // Starts a program that sets a value, says so and waits until it may end; both ends of pipes are closed in it.
  pid_t start_waiting(int number, int say, int wait_for) const {
    const std::vector<std::string> words =
        act_arguments({{"set", "HKCU\\S", "n" + std::to_string(number), std::string(2000, 'x')},
                       {"await", std::to_string(wait_for)}});
    const pid_t child = fork();
    if (child != 0) return child;
    dup2(say, STDOUT_FILENO);
    fcntl(wait_for, F_SETFD, 0);
    detail::change_environment(on("here"));
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
};

TEST_F(Programs_That_End, TwentyTogetherLeaveOneWholeImageWithEveryValue) {
  constexpr int programs = 20;
  detail::Pipe said, go;
  std::vector<pid_t> children;
  fflush(nullptr);
  for (int i = 0; i < programs; ++i) children.push_back(start_waiting(i, said.write_end, go.read_end));
  close(said.write_end);
  std::string lines;
  while (lines.size() < 2 * programs && detail::drain(said.read_end, lines)) {
  }
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '0'), programs) << lines;
  close(go.write_end);
  for (pid_t child : children) {
    Child_Result ended;
    detail::reap(child, ended);
    EXPECT_EQ(ended.exit_status, 0);
  }
  close(go.read_end);
  close(said.read_end);
  EXPECT_EQ(files_beside_image(), Files{"hkcu"});
  // A host that has nothing but this file.
  EXPECT_TRUE(answered(run("there", {{"names", "HKCU\\S"}}), "0 20\n"));
}

// A record of the log, its time and number left out.
std::string without_head(const std::string& output) { return output.substr(output.find('\n') + 1); }

TEST_F(Shared_Image, OnAFullDiskStaysAsItWasAndTheLogSaysSoAndNothingIsLost) {
  const Child_Result result = run_child([&] {
    begin_own_mounts();
    if (mount("small", images().c_str(), "tmpfs", 0, "size=1m") != 0) give_up_on_mounts("no disk of our own");
    set("here", "n", "old");
    const std::string old_image = content_of(image());
    write_file(images() + "/filler", std::string(1 << 20, 'f'));
    const Child_Result ended = run("here", {{"large", "HKCU\\S", "big", "100000"}, {"set", "HKCU\\S", "n", "new"}});
    fputs(ended.out.substr(0, 4).c_str(), stdout);
    fputs(without_head(ended.out.substr(4)).c_str(), stdout);
    const bool is_intact = content_of(image()) == old_image;
    printf("status %d, %s, %s\n", ended.exit_status, ended.err.c_str(), is_intact ? "intact" : "changed");
    fs::remove(images() + "/filler");
    for (const std::string& name : files_beside_image()) printf("%s\n", name.c_str());
    fputs(run("here", {{"get", "HKCU\\S", "n"}}).out.c_str(), stdout);
    fputs(run("there", {{"get", "HKCU\\S", "n"}}).out.c_str(), stdout);
  });
  if (result.exit_status == no_own_mounts) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out,
            "0\n0\n"
            "Failed to write HKCU file to disc: the device is full.\n"
            "The changes made to the HKEY_CURRENT_USER in this session have been lost.\n"
            "status 0, , intact\n"
            "hkcu\n"
            "0 new\n0 new\n");
}

class Another_Host : public Shared_Image {};

TEST_F(Another_Host, ThatAloneChangedTheHiveIsImported) {
  set("here", "n", "from here");
  expect("there", "n", "0 from here");
  set("there", "n", "from there");
  expect("here", "n", "0 from there");
  EXPECT_EQ(files_beside_image(), Files{"hkcu"});
}

TEST_F(Another_Host, ThatChangedTheHiveTooIsImportedAndWhatWasHereIsKeptWithOneLine) {
  set("here", "n", "shared");
  expect("there", "n", "0 shared");
  EXPECT_TRUE(answered(run("here", {{"set", "HKCU\\S", "n", "from here"}, {"end", "_exit"}}), "0\n"));
  set("there", "n", "from there");
  const Child_Result result = run("here", {{"get", "HKCU\\S", "n"}});
  EXPECT_EQ(result.out, "0 from there\n");
  EXPECT_NE(result.err.find(image() +
                            " and HKEY_CURRENT_USER were both changed; the file is taken, and what was here "
                            "is kept as " +
                            image() + ".local.1"),
            std::string::npos)
      << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  // What was kept is an image like any other.
  fs::copy_file(image() + ".local.1", image(), fs::copy_options::overwrite_existing);
  expect("elsewhere", "n", "0 from here");
}

class Older_Image : public Shared_Image {
 protected:
  // The newer setting is still there, and the next image of this host has it.
  void expect_not_imported() const {
    expect("here", "n", "0 new");
    EXPECT_FALSE(fs::exists(image() + ".local.1"));
    expect("there", "n", "0 new");
  }
};

TEST_F(Older_Image, OfThisHostThatArrivesLateIsNotImported) {
  set("here", "n", "old");
  const std::string old_image = content_of(image());
  set("here", "n", "new");
  write_file(image(), old_image);
  expect_not_imported();
}

TEST_F(Older_Image, OfThisHostThatStayedBecauseTheNextCouldNotBeWrittenIsNotImported) {
  set("here", "n", "old");
  fs::rename(images(), images() + " away");
  EXPECT_TRUE(answered(run("here", {{"set", "HKCU\\S", "n", "new"}}), "0\n"));
  fs::rename(images() + " away", images());
  expect_not_imported();
}

TEST_F(Older_Image, OfThisHostThatStayedBecauseAProgramWasKilledBeforeTheRenameIsNotImported) {
  set("here", "n", "old");
  const std::string old_image = content_of(image());
  const Child_Result killed = run("here", {{"set", "HKCU\\S", "n", "new"}, {"killed-at-rename"}});
  EXPECT_EQ(killed.signal, SIGKILL);
  EXPECT_TRUE(content_of(image()) == old_image);
  EXPECT_EQ(files_beside_image().size(), 2u) << "no new image was on its way";
  expect_not_imported();
}

// What stands in the place of the image, what is said of it, and where it goes.
class No_Image : public Shared_Image {
 protected:
  void expect_set_aside(const std::string& reason) const {
    const Child_Result result = run("here", {{"get", "HKCU\\S", "n"}, {"set", "HKCU\\S", "n", "x"}});
    EXPECT_EQ(result.out, "2\n0\n");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_NE(result.err.find(image() + " " + reason + "; it is kept as " + image() +
                              ".damaged.1, and HKEY_CURRENT_USER starts without it\n"),
              std::string::npos)
        << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_EQ(files_beside_image(), (Files{"hkcu", "hkcu.damaged.1"}));
    expect("there", "n", "0 x");
  }
  std::string good_image() {
    set("maker", "other", "y");
    const std::string content = content_of(image());
    fs::remove(image());
    return content;
  }
};

TEST_F(No_Image, IsACutFile) {
  const std::string good = good_image();
  write_file(image(), good.substr(0, good.size() - 1));
  expect_set_aside("is damaged");
  EXPECT_TRUE(content_of(image() + ".damaged.1") == good.substr(0, good.size() - 1));
}

TEST_F(No_Image, IsAFileWhoseHeadIsCut) {
  write_file(image(), good_image().substr(0, 20));
  expect_set_aside("is damaged");
}

TEST_F(No_Image, IsAForeignFile) {
  write_file(image(), "[settings]\nn=x\n");
  expect_set_aside("is not an image of a user hive");
  EXPECT_EQ(content_of(image() + ".damaged.1"), "[settings]\nn=x\n");
}

TEST_F(No_Image, IsAFolder) {
  fs::create_directory(image());
  expect_set_aside("is not an image of a user hive");
}

TEST_F(No_Image, IsASparseFileOf4GiB) {
  write_file(image(), "");
  fs::resize_file(image(), std::uintmax_t{1} << 32);
  expect_set_aside("is not an image of a user hive");
}

// Behind a good head: its size alone tells, no memory is taken for it.
TEST_F(No_Image, IsAnImageMadeASparseFileOfATebibyte) {
  write_file(image(), good_image());
  fs::resize_file(image(), std::uintmax_t{1} << 40);
  expect_set_aside("is damaged");
}

TEST_F(No_Image, IsAnEmptyFileAndNothingIsSaidOfIt) {
  write_file(image(), "");
  EXPECT_TRUE(answered(run("here", {{"get", "HKCU\\S", "n"}, {"set", "HKCU\\S", "n", "x"}}), "2\n0\n"));
  EXPECT_EQ(files_beside_image(), Files{"hkcu"});
  expect("there", "n", "0 x");
}

TEST_F(Shared_Image, InAFolderThatMayNotBeWrittenIsNotMadeAndNothingIsLost) {
  const Child_Result result = run_child([&] {
    fs::permissions(images(), fs::perms(0555));
    // The way there is open to all, as far as it is the test's own.
    for (fs::path folder = folder_.path(); folder.string().find("/kvtest.") != std::string::npos;
         folder = folder.parent_path()) {
      fs::permissions(folder, folder == folder_.path() ? fs::perms(0777) : fs::perms(0755));
    }
    if (!become_ordinary_user()) _exit(78);
    for (const char* text : {"x", "y"}) {
      const Child_Result ended = run("here", {{"set", "HKCU\\S", "n", text}, {"get", "HKCU\\S", "n"}});
      printf("%d %s%s", ended.exit_status, ended.out.c_str(), ended.err.c_str());
    }
  });
  fs::permissions(images(), fs::perms(0755));
  if (result.out.find("127") == 0) GTEST_SKIP() << "another user may not run the tests' programs: " << result.out;
  EXPECT_EQ(result.out, "0 0\n0 x\n0 0\n0 y\n");
  EXPECT_EQ(files_beside_image(), Files{});
}

TEST_F(Shared_Image, AndHivesMayHavePercentSignsAndNewlinesInTheirNames) {
  const std::string odd = folder_ / "100%s%n\nof it";
  fs::create_directory(odd);
  const std::vector<std::string> environment = {"KVREGISTRY=" + odd + "/m%d\n:" + odd + "/u%s%s\n",
                                                "KVCORE_PRIVATE_DATA=" + odd + "/c%x\n"};
  EXPECT_TRUE(answered(
      act({{"set", "HKCU\\S%s\n", "n%n\n", "%s%s\n"}, {"set", "HKLM\\S%s\n", "n%n\n", "m"}}, environment), "0\n0\n"));
  EXPECT_TRUE(answered(act({{"get", "HKCU\\S%s\n", "n%n\n"}, {"get", "HKLM\\S%s\n", "n%n\n"}}, environment),
                       "0 %s%s\n\n0 m\n"));
  EXPECT_TRUE(fs::is_regular_file(odd + "/u%s%s\n"));
}

// Of 4,095 characters, which no file system takes for one file.
const std::string long_name = "/" + std::string(4094, 'l');

void expect_unusable(const Child_Result& result) {
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, "1016\n1016\n0\n");
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_NE(result.err.find(long_name), std::string::npos) << result.err;
}

TEST_F(Shared_Image, WithTheLongestNameIsAnErrorOfTheUsersHiveAloneAndToldInOneLine) {
  expect_unusable(
      act({{"set", "HKCU\\S", "n", "x"}, {"get", "HKCU\\S", "n"}, {"set", "HKLM\\S", "n", "x"}},
          {"KVREGISTRY=" + machine_hive("here") + ":" + long_name, "KVCORE_PRIVATE_DATA=" + core_data("here")}));
}

TEST_F(Shared_Image, BesideAMachineHiveWithTheLongestNameIsMadeAndTheOtherIsAnErrorToldInOneLine) {
  expect_unusable(act({{"set", "HKLM\\S", "n", "x"}, {"get", "HKLM\\S", "n"}, {"set", "HKCU\\S", "n", "x"}},
                      {"KVREGISTRY=" + long_name + ":" + image(), "KVCORE_PRIVATE_DATA=" + core_data("here")}));
  EXPECT_EQ(files_beside_image(), Files{"hkcu"});
}

}  // namespace
}  // namespace kvtest
