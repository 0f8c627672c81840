// The folder of a host's core data. The tests of the machine's configuration put a folder of their own over
// /etc, in a child that nobody else sees.
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include "tests/bootstrap/in_child.h"
#include "tests/support/private_etc.h"

namespace kvtest {
namespace {

constexpr int no_private_etc = 88;

#define SKIP_WITHOUT_PRIVATE_ETC(child) \
  if ((child).exit_status == no_private_etc) GTEST_SKIP() << (child).out

std::string host() {
  char name[64] = {};
  gethostname(name, sizeof name - 1);
  return name;
}

using Question = int (*)(char*);

// What a question gives in a child: "result folder"; the folder is "untouched" when it gave none.
Child_Result core_data(Question question, const std::vector<std::string>& variables) {
  return run_child([&] {
    unsetenv("KVCORE_PRIVATE_DATA");
    detail::change_environment(variables);
    char folder[4096] = "untouched";
    const int result = question(folder);
    say("%d %s", result, folder);
  });
}

Child_Result professional(const std::vector<std::string>& variables) {
  return core_data(KvICalculateProfessionalModeCoreDataDirectory, variables);
}

TEST(ProfessionalCoreData, LiesInTheFolderThatIsSet) {
  const Child_Result child = professional({"KVCORE_PRIVATE_DATA=/private", "HOME=/home/u"});
  EXPECT_EQ(child.out, "1 /private/professional/" + host());
  EXPECT_EQ(child.err, "");
}

TEST(ProfessionalCoreData, LiesInTheUsersHomeOtherwise) {
  EXPECT_EQ(professional({"HOME=/home/u"}).out, "1 /home/u/.kv/core_data/professional/" + host());
}

TEST(ProfessionalCoreData, AnEmptyVariableCountsAsNone) {
  EXPECT_EQ(professional({"KVCORE_PRIVATE_DATA=", "HOME=/home/u"}).out,
            "1 /home/u/.kv/core_data/professional/" + host());
}

TEST(ProfessionalCoreData, AnEmptyHomeCountsAsSet) {
  EXPECT_EQ(professional({"HOME="}).out, "1 /.kv/core_data/professional/" + host());
}

TEST(ProfessionalCoreData, IsNothingWithoutHome) {
  const Child_Result child = professional({"HOME"});
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "0 untouched");
  EXPECT_EQ(child.err, "HOME is not set.\n");
}

TEST(ProfessionalCoreData, NeedsNoHomeWhenTheFolderIsSet) {
  const Child_Result child = professional({"KVCORE_PRIVATE_DATA=/p", "HOME"});
  EXPECT_EQ(child.out, "1 /p/professional/" + host());
  EXPECT_EQ(child.err, "");
}

TEST(ProfessionalCoreData, AHostNameOfSixtyFourCharactersEndsInTime) {
  const Child_Result child = run_child([] {
    if (unshare(CLONE_NEWUTS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWUTS) != 0) {
      say("no host name of our own: %s", strerror(errno));
      _exit(no_private_etc);
    }
    const std::string name(64, 'h');
    if (sethostname(name.c_str(), name.size()) != 0) {
      say("no host name of our own: %s", strerror(errno));
      _exit(no_private_etc);
    }
    setenv("KVCORE_PRIVATE_DATA", "/p", 1);
    char folder[4096] = "";
    KvICalculateProfessionalModeCoreDataDirectory(folder);
    const std::string text = folder;
    say("%s %s", text.substr(0, 16).c_str(), text.size() <= 16 + 63 ? "ended" : "too long");
  });
  SKIP_WITHOUT_PRIVATE_ETC(child);
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "/p/professional/ ended");
}

TEST(ProfessionalCoreData, EndsInASlashWithoutAHostName) {
  const Child_Result child = run_child([] {
    forget_host();
    setenv("KVCORE_PRIVATE_DATA", "/p", 1);
    char folder[4096] = "untouched";
    const int result = KvICalculateProfessionalModeCoreDataDirectory(folder);
    say("%d %s", result, folder);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "1 /p/professional/");
}

TEST(CoreData, IsTheProfessionalOneInEveryModeButZero) {
  for (const char* mode : {"1", "2", "3", "7"}) {
    const Child_Result child = core_data(KvICalculateCoreDataDirectory,
                                         {"KVREGISTRY_MODE=" + std::string(mode), "KVCORE_PRIVATE_DATA=/private"});
    EXPECT_EQ(child.out, "1 /private/professional/" + host()) << mode;
  }
}

TEST(CoreData, TheProfessionalOneIsNothingWithoutHome) {
  const Child_Result child = core_data(KvICalculateCoreDataDirectory, {"KVREGISTRY_MODE=1", "HOME"});
  EXPECT_EQ(child.out, "0 untouched");
  EXPECT_EQ(child.err, "HOME is not set.\n");
}

// What the configuration of a machine with this content gives in mode 0; without content there is no file.
Child_Result configured(const char* content) {
  Temp_Folder etc;
  if (content != nullptr) write_file(etc / "kelvane.conf", content);
  return run_child([&] {
    const std::string reason = put_folder_over_etc(etc.path());
    if (!reason.empty()) {
      say("%s", reason.c_str());
      _exit(no_private_etc);
    }
    setenv("KVREGISTRY_MODE", "0", 1);
    setenv("KVCORE_PRIVATE_DATA", "/not/this", 1);
    char folder[4096] = "untouched";
    const int result = KvICalculateCoreDataDirectory(folder);
    say("%d %s", result, folder);
  });
}

void expect_configured(const char* content, const std::string& expected) {
  const Child_Result child = configured(content);
  SKIP_WITHOUT_PRIVATE_ETC(child);
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, expected);
  EXPECT_EQ(child.err, "");
}

TEST(ConfiguredCoreData, IsTheTextBehindItsName) { expect_configured("CORE_DATA=/var/kelvane\n", "1 /var/kelvane"); }

TEST(ConfiguredCoreData, NeedsNoNewlineAtTheEnd) { expect_configured("CORE_DATA=/var/kelvane", "1 /var/kelvane"); }

TEST(ConfiguredCoreData, EndsAtTheFirstWhiteSpace) {
  expect_configured("CORE_DATA=/var/my data\n", "1 /var/my");
  expect_configured("CORE_DATA=/var/kelvane\t# comment\n", "1 /var/kelvane");
}

TEST(ConfiguredCoreData, MayHaveWhiteSpaceBeforeTheFolder) { expect_configured("CORE_DATA= \t/var\n", "1 /var"); }

TEST(ConfiguredCoreData, IsTheFirstLineThatNamesOne) {
  expect_configured("# CORE_DATA=/a\nOTHER=1\nCORE_DATA=\nCORE_DATA=/b\nCORE_DATA=/c\n", "1 /b");
}

TEST(ConfiguredCoreData, TheNameStartsItsLineAndHasCase) {
  expect_configured(" CORE_DATA=/a\nMY_CORE_DATA=/b\ncore_data=/c\nCORE_DATA =/d\n", "0 untouched");
}

TEST(ConfiguredCoreData, IsNothingInAFileWithoutTheLine) {
  expect_configured("", "0 untouched");
  expect_configured("CORE_DATA=\n", "0 untouched");
}

TEST(ConfiguredCoreData, ALineLongerThanAThousandBytesIsReadInPieces) {
  expect_configured((std::string(1023, '#') + "CORE_DATA=/second/piece\n").c_str(), "1 /second/piece");
  const std::string long_folder = std::string("/").append(1100, 'f');
  expect_configured(("CORE_DATA=" + long_folder + "\n").c_str(), "1 " + long_folder.substr(0, 1013));
}

TEST(ConfiguredCoreData, AMissingFileEndsTheProcess) {
  const Child_Result child = configured(nullptr);
  SKIP_WITHOUT_PRIVATE_ETC(child);
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "Can't open configuration file: No such file or directory.\n");
}

TEST(ConfiguredCoreData, IsNothingWhereAMissingFileDoesNotEndTheProcess) {
  Temp_Folder etc;
  const Child_Result child = run_child([&] {
    const std::string reason = put_folder_over_etc(etc.path());
    if (!reason.empty()) {
      say("%s", reason.c_str());
      _exit(no_private_etc);
    }
    setenv("KVREGISTRY_MODE", "0", 1);
    make_exit_return();
    char folder[4096] = "untouched";
    const int result = KvICalculateCoreDataDirectory(folder);
    say("%d %s", result, folder);
  });
  SKIP_WITHOUT_PRIVATE_ETC(child);
  EXPECT_EQ(child.out, "KvExit 1\n0 untouched");
}

TEST(ConfiguredCoreData, LeavesNoDescriptorOpen) {
  Temp_Folder etc;
  write_file(etc / "kelvane.conf", "CORE_DATA=/a\n");
  const Child_Result child = run_child([&] {
    const std::string reason = put_folder_over_etc(etc.path());
    if (!reason.empty()) {
      say("%s", reason.c_str());
      _exit(no_private_etc);
    }
    setenv("KVREGISTRY_MODE", "0", 1);
    const int next = dup(0);
    close(next);
    char folder[4096];
    KvICalculateCoreDataDirectory(folder);
    say("%d", dup(0) - next);
  });
  SKIP_WITHOUT_PRIVATE_ETC(child);
  EXPECT_EQ(child.out, "0");
}

}  // namespace
}  // namespace kvtest
