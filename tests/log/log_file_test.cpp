// A registry log in a file, while there is no registry.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "log/registry_log_impl.h"
#include "tests/log/log_test.h"

namespace kvtest {
namespace {

constexpr wchar_t settings_path[] = L"Software\\Test\\log";

// A whole life of a log.
void log_to(const std::string& file, std::initializer_list<const char*> messages) {
  RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, file.c_str());
  log.Start();
  for (const char* message : messages) log.Output(0, "%s", message);
}

TEST(LogFile, HasABannerAtEitherEnd) {
  Temp_Folder folder;
  log_to(folder / "test.log", {"message"});
  EXPECT_EQ(content_of(folder / "test.log"), record(1, started) + record(2, "message") + record(3, ending));
}

TEST(LogFile, IsContinuedWithNumbersFromOne) {
  Temp_Folder folder;
  log_to(folder / "test.log", {});
  log_to(folder / "test.log", {});
  const std::string life = record(1, started) + record(2, ending);
  EXPECT_EQ(content_of(folder / "test.log"), life + life);
}

TEST(LogFile, HasMode0644WhateverTheMaskAndWhateverItHad) {
  Temp_Folder folder;
  write_file(folder / "old.log", "");
  chmod((folder / "old.log").c_str(), 0600);
  const mode_t former = umask(077);
  log_to(folder / "old.log", {});
  log_to(folder / "new.log", {});
  umask(former);
  for (const char* name : {"old.log", "new.log"}) {
    struct stat status;
    ASSERT_EQ(stat((folder / name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u) << name;
  }
}

TEST(LogFile, LiesInAFolderThatIsMade) {
  Temp_Folder folder;
  log_to(folder / "logs/test.log", {});
  EXPECT_EQ(content_of(folder / "logs/test.log"), record(1, started) + record(2, ending));
}

TEST(LogFile, IsNotInheritedByPrograms) {
  Temp_Folder folder;
  const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(next);
  RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, (folder / "test.log").c_str());
  EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(next)).string(), folder / "test.log");
  EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC);
}

TEST(LogFile, GivesTheLogItsName) {
  Temp_Folder folder;
  std::string name = folder / "test.log";
  RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, name.c_str());
  const std::string expected = name;
  name.assign(name.size(), 'x');
  EXPECT_EQ(log.Name(), expected);
}

TEST(LogFile, MayHaveAnyCharactersInItsName) {
  Temp_Folder folder;
  log_to(folder / "%s %n\n.log", {});
  EXPECT_EQ(content_of(folder / "%s %n\n.log"), record(1, started) + record(2, ending));
}

TEST(LogFile, DropsRecordsAboveLevelOne) {
  Temp_Folder folder;
  RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, (folder / "test.log").c_str());
  log.Output(2, "dropped");
  log.Output(1, "one");
  EXPECT_EQ(content_of(folder / "test.log"), record(1, "one"));
}

TEST(LogFile, KeepsItsSizesWithoutARegistry) {
  RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, nullptr);
  EXPECT_EQ(log.Level(), 1);
  EXPECT_EQ(log.MaxSize(), 10485760u);
  EXPECT_EQ(log.BaseSize(), 1048576u);
}

void expect_standard_output_instead_of(const std::string& name) {
  const Child_Result child = run_child([&] { log_to(name, {"message"}); });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, record(1, "message"));
  EXPECT_EQ(child.err, "Failed to create log file '" + name + "'!\n");
}

TEST(LogFileThatCannotBeMade, IsReportedAndStandardOutputIsUsedWithoutBanners) {
  Temp_Folder folder;
  expect_standard_output_instead_of(folder / "missing/logs/test.log");
  expect_standard_output_instead_of(folder.path());
  expect_standard_output_instead_of(folder / "%s\n%n/missing/x");
  expect_standard_output_instead_of(folder / std::string(4095, 'x'));
  expect_standard_output_instead_of(folder / std::string(10000, 'x'));
}

TEST(LogFileThatCannotBeMade, BecauseItsFolderIsAFileIsReportedToo) {
  Temp_Folder folder;
  write_file(folder / "logs", "text");
  expect_standard_output_instead_of(folder / "logs/test.log");
  EXPECT_EQ(content_of(folder / "logs"), "text");
}

TEST(LogFileThatCannotBeMade, GivesTheLogTheNameStdout) {
  const Child_Result child = run_child([] {
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, "/proc/missing/test.log");
    printf("%s\n", log.Name());
  });
  EXPECT_EQ(child.out, "stdout\n");
}

TEST(LogWithoutFile, HasNoBanners) {
  const Child_Result child = run_child([] { log_to("", {"message"}); });
  EXPECT_EQ(child.out, record(1, "message"));
  EXPECT_EQ(child.err, "");
}

TEST(EndedLog, WritesToStandardOutputWithNumbersFromOne) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, (folder / "test.log").c_str());
    log.Output(0, "in the file");
    log.End();
    log.Output(0, "behind the end");
    log.End();
    printf("%s\n", log.Name());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, record(1, "behind the end") + "stdout\n");
  EXPECT_EQ(content_of(folder / "test.log"), record(1, "in the file") + record(2, ending));
}

}  // namespace
}  // namespace kvtest
