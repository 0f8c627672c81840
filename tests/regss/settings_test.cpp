// Settings in a file, and read again by SIGHUP.
#include "tests/regss/running.h"

namespace kvtest {
namespace {

class In_A_File : public Regss {
 protected:
  std::string settings() const { return folder / "settings"; }
  Words with_settings(Words more = {}) const {
    Words all = {KVTEST_REGSS, "--machine", "--settings", settings()};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }
  void expect_refused(const std::string& reason) {
    const auto server = begin(with_settings());
    EXPECT_EQ(server->status(), 1);
    EXPECT_EQ(server->said(), "regss: " + reason + "\n");
    EXPECT_FALSE(exists(folder / "tmp/kv"));
  }
  // Sends SIGHUP and gives what the service manager is told when the settings were read.
  std::string read_again(const Running& server) {
    server.send(SIGHUP);
    const std::string first = manager().next();
    EXPECT_EQ(first.find("RELOADING=1\nMONOTONIC_USEC="), 0u) << first;
    return manager().next();
  }
};

TEST_F(In_A_File, SayWhereHowLoudAndHowLong) {
  write_file(settings(), "# a host\nCORE_DATA=" + folder / "core" +
                             " the folder\nIDLE_SECONDS= 17\nLOG_LEVEL=2\nLOG_LEVEL=0\nCORE_DATA=/elsewhere\n");
  const auto server = serve(with_settings());
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  EXPECT_EQ(server->said().find("regss: machine data " + folder / "core" + " idle 17\n"), 0u) << server->said();
}

TEST_F(In_A_File, GiveWayToTheCommandLine) {
  write_file(settings(), "CORE_DATA=/nowhere/at/all\nIDLE_SECONDS=17\nLOG_LEVEL=0\n");
  const auto server = serve(with_settings({"--core-data", folder / "core", "--idle", "18", "--log-level", "1"}));
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  EXPECT_EQ(server->said().find("regss: machine data " + folder / "core" + " idle 18\n"), 0u) << server->said();
}

TEST_F(In_A_File, OfAUserLieBelowHisHome) {
  mkdir((folder / "home/.kv").c_str(), 0700);
  write_file(folder / "home/.kv/regss.conf", "IDLE_SECONDS=19\n");
  const auto server = serve(user());
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  EXPECT_NE(server->said().find(" idle 19\n"), std::string::npos) << server->said();
}

TEST_F(In_A_File, AreRefusedWhenAValueIsNone) {
  const std::string core = "CORE_DATA=" + folder / "core" + "\n";
  for (const char* level : {"3", "-1", "loud", "1x", "4294967296"}) {
    write_file(settings(), core + "LOG_LEVEL=" + level + "\n");
    expect_refused(settings() + ": LOG_LEVEL=" + level + " is no level from 0 to 2");
  }
  for (const char* idle : {"-1", "soon", "31536001"}) {
    write_file(settings(), core + "IDLE_SECONDS=" + idle + "\n");
    expect_refused(settings() + ": IDLE_SECONDS=" + idle + " is no number of seconds");
  }
}

TEST_F(In_A_File, MustNameTheCoreDataFolder) {
  const std::string reason = settings() + " has no line CORE_DATA=<folder>; say --core-data";
  expect_refused(reason);
  write_file(settings(), "CORE_DATA=\nCORE_DATA =/x\n");
  expect_refused(reason);
}

TEST_F(In_A_File, MustNameAFolderThatCanBeUsed) {
  write_file(settings(), "CORE_DATA=" + folder / "none" + "\n");
  expect_refused(folder / "none/registry" + " cannot be made: No such file or directory");
  write_file(settings(), "CORE_DATA=" + folder / "a:b" + "\n");
  expect_refused(folder / "a:b/registry" + " has a colon, which KVREGISTRY cannot carry");
}

TEST_F(In_A_File, AreReadAgainBySighup) {
  write_file(settings(), "CORE_DATA=" + folder / "core" + "\nLOG_LEVEL=0\n");
  const auto server = serve(with_settings());
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(server->said(), "");
  write_file(settings(), "CORE_DATA=" + folder / "core" + "\nLOG_LEVEL=1\n");
  EXPECT_EQ(read_again(*server), "READY=1\nSTATUS=Serves at " + content_of(endpoint_file));
  EXPECT_EQ(server->said(), "regss: The settings were read again; the log level is 1\n");
  server->send(SIGTERM);
  EXPECT_EQ(server->status(), 0);
  EXPECT_EQ(server->said(), "regss: The settings were read again; the log level is 1\nregss: Ended\n");
}

TEST_F(In_A_File, ThatCannotChangeNowAreToldSo) {
  write_file(settings(), "CORE_DATA=" + folder / "core" + "\n");
  const auto server = serve(with_settings());
  ASSERT_NE(server, nullptr);
  write_file(settings(), "CORE_DATA=" + folder / "core" + "\nIDLE_SECONDS=20\n");
  read_again(*server);
  EXPECT_NE(server->said().find("\nregss: CORE_DATA and IDLE_SECONDS count from the next start on\n"),
            std::string::npos);
}

TEST_F(In_A_File, StayWhenTheFileHasBecomeBad) {
  write_file(settings(), "CORE_DATA=" + folder / "core" + "\nLOG_LEVEL=1\n");
  const auto server = serve(with_settings());
  ASSERT_NE(server, nullptr);
  write_file(settings(), "LOG_LEVEL=loud\n");
  read_again(*server);
  EXPECT_NE(server->said().find("\nregss: The settings stay as they are: " + settings() +
                                ": LOG_LEVEL=loud is no level from 0 to 2\n"),
            std::string::npos);
  EXPECT_EQ(server_of(endpoint_file), server->number());
}

class Hives_Of_A_User : public Regss {};

TEST_F(Hives_Of_A_User, LieWhereAProgramWithoutSettingsHasThem) {
  const auto server = serve(user(), {"KVREGISTRY"});
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(mode_of(folder / "home/.kv/registry"), 0700u);
  EXPECT_NE(server->said().find("regss: Serves " + folder / "home/.kv/registry/hklm.bin at "), std::string::npos);
}

TEST_F(Hives_Of_A_User, MustLieSomewhere) {
  const Child_Result result = run(user(), {"KVREGISTRY", "HOME"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.err, "regss: neither KVREGISTRY nor HOME is set\n");
}

TEST_F(Hives_Of_A_User, NeedACoreDataFolder) {
  const Child_Result result = run(user(), {"HOME"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_NE(result.err.find("regss: neither HOME nor KVCORE_PRIVATE_DATA is set\n"), std::string::npos) << result.err;
}

TEST_F(Hives_Of_A_User, AreServedWhateverTheStartersModeIs) {
  const auto server = serve(user(), {"KVREGISTRY_MODE=3", "KVADM_UTILITY=1"});
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(server_of(user_endpoint_file()), server->number());
}

}  // namespace
}  // namespace kvtest
