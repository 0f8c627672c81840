// How an endpoint comes and goes: its files, their names and modes, and what is told when one cannot be had.
#include <fcntl.h>

#include <filesystem>

#include "tests/regserver/endpoint.h"

namespace kvtest {
namespace {

// In a child: makes an endpoint, prints the answer and the port's name.
void create_and_tell(int is_server) {
  printf("%d ", KvCreateRegConnectData(is_server));
  printf("%s", text(getPortName()).c_str());
}

class Endpoint_Files : public Endpoint {
 protected:
  // The descriptor of this process that leads to the pid file; -1 without one.
  static int descriptor_of(const std::string& file) {
    for (int descriptor = 3; descriptor < 256; ++descriptor) {
      std::error_code ignored;
      const auto target =
          std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), ignored).string();
      if (target == file) return descriptor;
    }
    return -1;
  }
};

TEST_F(Endpoint_Files, OfAClientAreTheFolderAloneWhateverTheMask) {
  const Child_Result child = run_child([] {
    umask(077);
    create_and_tell(0);
    printf(" %d", KvIsRegssAlive());
  });
  EXPECT_EQ(child.out, "0 none 0");
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(mode_of(folder / "kv"), 0755u);
  EXPECT_TRUE(std::filesystem::is_empty(folder / "kv"));
}

TEST_F(Endpoint_Files, OfAServerAreReadableByAllWhateverTheMask) {
  const Child_Result child = run_child([] {
    umask(077);
    create_and_tell(1);
  });
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(mode_of(folder / "kv"), 0755u);
  EXPECT_EQ(mode_of(pid_file), 0644u);
  EXPECT_EQ(mode_of(endpoint_file), 0644u);
  EXPECT_EQ(content_of(pid_file), "");
  const std::string port = content_of(endpoint_file);
  EXPECT_EQ(child.out, "0 " + port);
  EXPECT_EQ(port.find(folder / "kv/rgs"), 0u);
  EXPECT_FALSE(exists(port));
}

TEST_F(Endpoint_Files, OfAFolderThatStandsKeepItsMode) {
  mkdir((folder / "kv").c_str(), 0711);
  EXPECT_EQ(run_child([] { printf("%d", KvCreateRegConnectData(1)); }).out, "0");
  EXPECT_EQ(mode_of(folder / "kv"), 0711u);
}

TEST_F(Endpoint_Files, OfAProfessionalModeAreNamedAfterTheCoreDataDirectory) {
  use_mode("1");
  const Child_Result child = run_child([] {
    umask(022);
    create_and_tell(1);
  });
  EXPECT_EQ(child.err, "");
  char host[65];
  ASSERT_EQ(gethostname(host, sizeof host), 0);
  struct stat core;
  ASSERT_EQ(stat((folder / "core/professional/" + host).c_str(), &core), 0);
  EXPECT_EQ(core.st_mode & 07777, 0755u);
  char identity[64];
  snprintf(identity, sizeof identity, "%lx:%lu", core.st_dev, core.st_ino);
  EXPECT_EQ(mode_of(folder / "regss" + identity + ".pid"), 0644u);
  EXPECT_EQ(mode_of(folder / "regss" + identity), 0644u);
  const std::string port = content_of(folder / "regss" + identity);
  EXPECT_EQ(child.out, "0 " + port);
  EXPECT_EQ(port.find(folder / "rgs"), 0u);
  EXPECT_FALSE(exists(folder / "kv"));
}

TEST_F(Endpoint_Files, OfAProfessionalClientAreThePidFileAlone) {
  use_mode("3");
  const Child_Result child = run_child([] {
    umask(027);
    create_and_tell(0);
  });
  EXPECT_EQ(child.out, "0 none");
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    if (!entry.is_regular_file()) continue;
    ++files;
    EXPECT_EQ(entry.path().extension(), ".pid");
    EXPECT_EQ(mode_of(entry.path()), 0640u);
  }
  EXPECT_EQ(files, 1);
}

TEST_F(Endpoint_Files, OfTwoCoreDataDirectoriesAreApart) {
  use_mode("1");
  EXPECT_EQ(run_child([] { _exit(KvCreateRegConnectData(1)); }).exit_status, 0);
  setenv("KVCORE_PRIVATE_DATA", (folder / "other").c_str(), 1);
  EXPECT_EQ(run_child([] { _exit(KvCreateRegConnectData(1)); }).exit_status, 0);
  int pid_files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    pid_files += entry.path().extension() == ".pid";
  EXPECT_EQ(pid_files, 2);
}

// QUIRK failed-endpoint-stays
TEST_F(Endpoint_Files, ThatCannotBeHadLeaveAnEndpointThatCanBeReleased) {
  use_mode("1");
  write_file(folder / "core", "");
  char host[65];
  ASSERT_EQ(gethostname(host, sizeof host), 0);
  const Child_Result child = run_child([] {
    create_and_tell(1);
    printf(" %d", KvIsRegssAlive());
    KvDestroyRegConnectData();
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "1 none 0");
  EXPECT_EQ(child.err, "Can't stat data directory " + folder / "core" + "/professional/" + host + " errno =20.\n");
}

TEST_F(Endpoint_Files, WithoutAHomeThereIsNoCoreDataDirectory) {
  use_mode("1");
  const Child_Result child = run_child([] {
    unsetenv("KVCORE_PRIVATE_DATA");
    unsetenv("HOME");
    printf("%d", KvCreateRegConnectData(1));
  });
  EXPECT_EQ(child.out, "1");
  EXPECT_EQ(child.err, "HOME is not set.\n");
}

TEST_F(Endpoint_Files, ACoreDataDirectoryOfImpossibleLengthIsRefused) {
  use_mode("1");
  for (std::size_t length : {4070u, 4096u, 100000u}) {
    const Child_Result child = run_child([length] {
      setenv("KVCORE_PRIVATE_DATA", ("/" + std::string(length, 'x')).c_str(), 1);
      printf("%d", KvCreateRegConnectData(1));
      KvDestroyRegConnectData();
    });
    EXPECT_EQ(child.exit_status, 0);
    EXPECT_EQ(child.out, "1");
  }
}

TEST_F(Endpoint_Files, WithoutATemporaryDirectoryBothFailuresAreTold) {
  setenv("TMPDIR", (folder / "missing").c_str(), 1);
  const Child_Result server = run_child([] { printf("%d", KvCreateRegConnectData(1)); });
  EXPECT_EQ(server.out, "1");
  EXPECT_EQ(server.err, "Can't create directory " + folder / "missing/kv" + " for endpoint.\nCan't open " +
                            folder / "missing/kv/regss.pid" + ".\n");
  const Child_Result client = run_child([] { printf("%d", KvCreateRegConnectData(0)); });
  EXPECT_EQ(client.out, "0");
  EXPECT_EQ(client.err, "Can't create directory " + folder / "missing/kv" + " for endpoint.\n");
}

TEST_F(Endpoint_Files, ATemporaryDirectoryOfImpossibleLengthIsToldWithItsNamesCutTo4095Characters) {
  for (std::size_t length : {4095u, 4096u, 100000u}) {
    const std::string name = "/" + std::string(length - 1, 'x');
    setenv("TMPDIR", name.c_str(), 1);
    const Child_Result server = run_child([] {
      printf("%d", KvCreateRegConnectData(1));
      KvDestroyRegConnectData();
    });
    EXPECT_EQ(server.exit_status, 0);
    EXPECT_EQ(server.out, "1");
    const std::string cut = name.substr(0, 4095);
    EXPECT_EQ(server.err, "Can't create directory " + cut + " for endpoint.\nCan't open " + cut + ".\n") << length;
  }
}

TEST_F(Endpoint_Files, AFileInPlaceOfTheFolderIsToldByThePidFileAlone) {
  write_file(folder / "kv", "");
  const Child_Result server = run_child([] { printf("%d", KvCreateRegConnectData(1)); });
  EXPECT_EQ(server.out, "1");
  EXPECT_EQ(server.err, "Can't open " + pid_file + ".\n");
}

TEST_F(Endpoint_Files, APlantedLinkInPlaceOfThePidFileIsRefused) {
  mkdir((folder / "kv").c_str(), 0755);
  write_file(folder / "precious", "kept");
  ASSERT_EQ(symlink((folder / "precious").c_str(), pid_file.c_str()), 0);
  const Child_Result server = run_child([] { printf("%d", KvCreateRegConnectData(1)); });
  EXPECT_EQ(server.out, "1");
  EXPECT_EQ(server.err, "Can't open " + pid_file + ".\n");
  EXPECT_EQ(content_of(folder / "precious"), "kept");
}

TEST_F(Endpoint_Files, ANameWithPercentSignsAndNewlinesIsTaken) {
  mkdir((folder / "%s%n\n").c_str(), 0755);
  setenv("TMPDIR", (folder / "%s%n\n").c_str(), 1);
  EXPECT_EQ(run_child([] { printf("%d", KvCreateRegConnectData(1)); }).out, "0");
  EXPECT_TRUE(exists(folder / "%s%n\n/kv/regss.pid"));
}

// QUIRK endpoint-unchecked
TEST_F(Endpoint_Files, AnEndpointFileThatCannotBeWrittenIsNotNoticed) {
  mkdir((folder / "kv").c_str(), 0755);
  mkdir(endpoint_file.c_str(), 0700);
  const Child_Result child = run_child([] { create_and_tell(1); });
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(child.out.find("0 " + folder / "kv/rgs"), 0u);
}

TEST_F(Endpoint_Files, TheDescriptorIsNotLeftToPrograms) {
  for (int is_server : {0, 1}) {
    make_pid_file("");
    const Child_Result child = run_child([&] {
      KvCreateRegConnectData(is_server);
      const int descriptor = descriptor_of(pid_file);
      printf("%d %d", descriptor > 2, fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
    });
    EXPECT_EQ(child.out, "1 1");
  }
}

TEST_F(Endpoint_Files, GoWithTheServersEndpointAndItsDescriptorIsClosed) {
  const Child_Result child = run_child([this] {
    KvCreateRegConnectData(1);
    printf("%d ", exists(pid_file) && exists(endpoint_file));
    KvDestroyRegConnectData();
    printf("%d", descriptor_of(pid_file + " (deleted)"));
  });
  EXPECT_EQ(child.out, "1 -1");
  EXPECT_TRUE(std::filesystem::is_empty(folder / "kv"));
}

// QUIRK client-removes-endpoint
TEST_F(Endpoint_Files, GoWithAClientsEndpointToo) {
  Peer server;
  ASSERT_EQ(server.ask('s'), 0);
  ASSERT_EQ(server.ask('r'), 0);
  Peer client;
  ASSERT_EQ(client.ask('c'), 0);
  EXPECT_EQ(client.ask('a'), 1);
  EXPECT_EQ(client.ask('d'), 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder / "kv"));
}

TEST_F(Endpoint_Files, ReleasingWithoutAnEndpointDoesNothing) {
  const Child_Result child = run_child([] {
    KvDestroyRegConnectData();
    KvCreateRegConnectData(0);
    KvDestroyRegConnectData();
    KvDestroyRegConnectData();
    printf("done");
  });
  EXPECT_EQ(child.out, "done");
}

TEST_F(Endpoint_Files, ThePidFileCanBeRemovedAlone) {
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(1);
    printf("%d ", KvUnlinkRegServerFile());
    printf("%d", KvUnlinkRegServerFile());
  });
  EXPECT_EQ(child.out, "0 -1");
  EXPECT_FALSE(exists(pid_file));
  EXPECT_TRUE(exists(endpoint_file));
}

class Port_Name : public Endpoint {};

TEST_F(Port_Name, IsTheSamePointerAtEveryCallOnceItIsKnown) {
  make_pid_file("");
  write_file(endpoint_file, "/the/port");
  const Child_Result child = run_child([this] {
    KvCreateRegConnectData(0);
    const char* const first = getPortName();
    write_file(endpoint_file, "/another");
    printf("%s %d", text(first).c_str(), first == getPortName());
  });
  EXPECT_EQ(child.out, "/the/port 1");
}

TEST_F(Port_Name, OfAnEmptyFileIsNoneAndIsAskedForAgain) {
  make_pid_file("");
  write_file(endpoint_file, "");
  const Child_Result child = run_child([this] {
    KvCreateRegConnectData(0);
    printf("%s ", text(getPortName()).c_str());
    write_file(endpoint_file, "/late");
    printf("%s", text(getPortName()).c_str());
  });
  EXPECT_EQ(child.out, "none /late");
}

TEST_F(Port_Name, IsOneLineWithItsNewline) {
  make_pid_file("");
  write_file(endpoint_file, "/the port\nmore");
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(0);
    printf("[%s]", text(getPortName()).c_str());
  });
  EXPECT_EQ(child.out, "[/the port\n]");
}

TEST_F(Port_Name, IsCutTo4095Bytes) {
  make_pid_file("");
  write_file(endpoint_file, std::string(5000, 'p'));
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(0);
    printf("%s", text(getPortName()).c_str());
  });
  EXPECT_EQ(child.out, std::string(4095, 'p'));
}

TEST_F(Port_Name, OfALivingServerIsLeftToIt) {
  make_pid_file(std::to_string(getpid()));
  write_file(endpoint_file, "/its/port");
  const Child_Result child = run_child([] { create_and_tell(1); });
  EXPECT_EQ(child.out, "0 /its/port");
  EXPECT_EQ(content_of(endpoint_file), "/its/port");
}

}  // namespace
}  // namespace kvtest
