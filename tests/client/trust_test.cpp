// Whom a client believes: the folder, the endpoint file and the peer must be root's, its own or the core data owner's.
#include <fcntl.h>
#include <grp.h>
#include <sys/un.h>

#include <fstream>

#include "impl/wire/unique_fd.h"
#include "tests/client/scripted_peer.h"
#include "tests/client/served.h"
#include "tests/support/ordinary_user.h"
#include "tests/support/side_process.h"

namespace {

using namespace kvtest;
using impl::client::meet_server;
using impl::client::Meeting;

class Trusting : public testing::Test {
 protected:
  Trusting() : peer(folder.path(), [](sd_bus_message*) { return say_nothing; }) {}
  static std::string trouble_of(const std::string& endpoint) {
    const Meeting meeting = meet_server(endpoint);
    EXPECT_EQ(meeting.socket.is_open(), meeting.trouble.empty());
    return meeting.trouble;
  }
  Temp_Folder folder;
  Scripted_Peer peer;
};

TEST_F(Trusting, OwnFoldersAndServersAreMet) { EXPECT_EQ(trouble_of(peer.endpoint()), ""); }

TEST_F(Trusting, AFolderThatOthersMayWriteToIsRefused) {
  for (const mode_t mode : {0770u, 0702u}) {
    ASSERT_EQ(chmod(folder.path().c_str(), mode), 0);
    EXPECT_EQ(trouble_of(peer.endpoint()), peer.endpoint() + " lies in a folder that others may write to");
  }
}

TEST_F(Trusting, AFolderThatKeepsFilesFromOthersIsMet) {
  ASSERT_EQ(chmod(folder.path().c_str(), 01777), 0);
  EXPECT_EQ(trouble_of(peer.endpoint()), "");
  ASSERT_EQ(chmod(peer.endpoint().c_str(), 0666), 0);
  EXPECT_EQ(trouble_of(peer.endpoint()), peer.endpoint() + " may be another user's");
}

TEST_F(Trusting, ALinkInPlaceOfTheEndpointFileIsNotFollowed) {
  ASSERT_EQ(rename(peer.endpoint().c_str(), (folder / "real").c_str()), 0);
  ASSERT_EQ(symlink("real", peer.endpoint().c_str()), 0);
  EXPECT_NE(trouble_of(peer.endpoint()), "");
}

TEST_F(Trusting, WhatIsNoFileIsRefusedWithoutWaiting) {
  ASSERT_EQ(unlink(peer.endpoint().c_str()), 0);
  ASSERT_EQ(mkfifo(peer.endpoint().c_str(), 0600), 0);
  EXPECT_EQ(trouble_of(peer.endpoint()), peer.endpoint() + " is no file");
}

TEST_F(Trusting, AStaleOrEmptyEndpointMayStillCome) {
  std::ofstream(peer.endpoint()) << folder / "gone";
  Meeting meeting = meet_server(peer.endpoint());
  EXPECT_TRUE(meeting.may_come);
  EXPECT_EQ(meeting.trouble, (folder / "gone") + ": No such file or directory");
  std::ofstream(peer.endpoint()) << "";
  meeting = meet_server(peer.endpoint());
  EXPECT_TRUE(meeting.may_come);
  EXPECT_FALSE(meeting.socket.is_open());
}

// Many may wait to be let in at a moment.
TEST_F(Trusting, APortWithTooManyCallersMayStillCome) {
  const std::string port = folder / "busy";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  port.copy(address.sun_path, sizeof address.sun_path - 1);
  const impl::wire::Unique_Fd busy(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(bind(busy.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(busy.get(), 1), 0);
  std::ofstream(peer.endpoint()) << port;
  std::vector<Meeting> callers;
  do {
    callers.push_back(meet_server(peer.endpoint()));
  } while (callers.back().socket.is_open() && callers.size() < 100);
  EXPECT_EQ(callers.back().trouble, port + ": Resource temporarily unavailable");
  EXPECT_TRUE(callers.back().may_come);
  const impl::wire::Unique_Fd let_in(accept4(busy.get(), nullptr, nullptr, SOCK_CLOEXEC));
  EXPECT_EQ(trouble_of(peer.endpoint()), "");
}

TEST_F(Trusting, APortInALongFolderIsReached) {
  const std::string deep = folder / std::string(120, 'd');
  ASSERT_EQ(mkdir(deep.c_str(), 0700), 0);
  ASSERT_EQ(rename((folder / "port").c_str(), (deep + "/port").c_str()), 0);
  std::ofstream(peer.endpoint()) << deep + "/port";
  EXPECT_EQ(trouble_of(peer.endpoint()), "");
}

TEST_F(Trusting, NoEndpointAtAllIsRefused) {
  EXPECT_EQ(trouble_of(""), "there is no folder of core data");
  EXPECT_FALSE(meet_server("").may_come);
}

TEST(Trusting_Others, AnotherUsersServerAndFolderAreRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root makes processes of another user";
  const Temp_Folder folder;
  const std::string place = folder / "theirs";
  ASSERT_EQ(mkdir(place.c_str(), 0755), 0);
  ASSERT_EQ(chown(place.c_str(), ordinary_id, ordinary_id), 0);
  Side_Process server([&](const Talk& talk) {
    if (chdir(place.c_str()) != 0 || !become_ordinary_user()) return 1;
    const Scripted_Peer peer(".", [](sd_bus_message*) { return say_nothing; });
    talk.say('r');
    return talk.hear() == 'e' ? 0 : 1;
  });
  ASSERT_EQ(server.hear(), 'r');
  EXPECT_EQ(meet_server(place + "/regss").trouble, place + "/regss lies in a folder of another user");
  // In a folder of root's, with a port that somebody else listens at.
  std::ofstream(folder / "regss") << place + "/port";
  const Meeting meeting = meet_server(folder / "regss");
  EXPECT_EQ(meeting.trouble, "user 65534 answers at " + place + "/port");
  EXPECT_FALSE(meeting.socket.is_open());
  EXPECT_FALSE(meeting.may_come);
  server.say('e');
  EXPECT_EQ(server.status(), 0);
}

}  // namespace
