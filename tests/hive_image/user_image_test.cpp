// The user's image and its file: made at the end of a process, taken into a fresh hive, set aside when bad.
#include "hive/image/user_image.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>

#include "hive/image/image_file.h"
#include "tests/hive_image/trees.h"
#include "tests/support/child.h"

namespace {

using hive::Status;
using kvtest::mark;
using kvtest::Recorder;
using kvtest::Small_Source;
using kvtest::Temp_Folder;
using Bytes = std::vector<unsigned char>;

std::vector<std::string> complaints;

void complain(const std::string& line) { complaints.push_back(line); }

void write_file(const std::string& file, const Bytes& bytes) {
  std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
}

Bytes file_bytes(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(stream), {});
}

bool stands(const std::string& file) { return access(file.c_str(), F_OK) == 0; }

class UserImage : public testing::Test {
 protected:
  UserImage() { complaints.clear(); }

  Status restore() { return hive::restore_user_image(file, sink, complain, &restored); }

  Temp_Folder folder;
  std::string file = folder / "hkcu.bin";
  std::string live = folder / "hkcu.hive";
  Recorder sink;
  bool restored = true;
};

TEST_F(UserImage, OfAFileIsTakenIntoTheSinkAndFinished) {
  write_file(file, kvtest::small_image());
  EXPECT_EQ(restore(), Status::ok);
  EXPECT_TRUE(restored);
  EXPECT_EQ(sink.lines, kvtest::small_tree_lines);
  ASSERT_EQ(sink.finished_with.size(), 1u);
  EXPECT_EQ(sink.finished_with[0].self, mark(1, 2));
  EXPECT_TRUE(stands(file));
  EXPECT_TRUE(complaints.empty());
}

TEST_F(UserImage, MissingFileRestoresNothing) {
  EXPECT_EQ(restore(), Status::ok);
  EXPECT_FALSE(restored);
  EXPECT_TRUE(sink.lines.empty());
  EXPECT_TRUE(complaints.empty());
}

TEST_F(UserImage, EmptyFileIsNoImageAndStays) {
  write_file(file, {});
  EXPECT_EQ(restore(), Status::ok);
  EXPECT_FALSE(restored);
  EXPECT_TRUE(stands(file));
  EXPECT_TRUE(complaints.empty());
}

TEST_F(UserImage, DamagedFileIsSetAsideWithOneComplaint) {
  Bytes image = kvtest::small_image();
  image.back() ^= 1;
  write_file(file, image);
  EXPECT_EQ(restore(), Status::ok);
  EXPECT_FALSE(restored);
  EXPECT_TRUE(sink.finished_with.empty());
  EXPECT_FALSE(stands(file));
  EXPECT_EQ(file_bytes(file + ".damaged.1"), image);
  ASSERT_EQ(complaints.size(), 1u);
  EXPECT_EQ(complaints[0],
            file + " is damaged; it is kept as " + file + ".damaged.1, and HKEY_CURRENT_USER starts without it");
}

TEST_F(UserImage, SettingAsideReplacesNoFile) {
  write_file(file, {'K', 'V'});
  write_file(file + ".damaged.1", {'1'});
  write_file(file + ".damaged.2", {'2'});
  EXPECT_EQ(restore(), Status::ok);
  EXPECT_EQ(file_bytes(file + ".damaged.1"), Bytes{'1'});
  EXPECT_EQ(file_bytes(file + ".damaged.2"), Bytes{'2'});
  EXPECT_EQ(file_bytes(file + ".damaged.3"), (Bytes{'K', 'V'}));
}

TEST_F(UserImage, FileThatIsSomethingElseIsSetAside) {
  write_file(file, {'h', 'e', 'l', 'l', 'o'});
  EXPECT_EQ(restore(), Status::ok);
  EXPECT_EQ(file_bytes(file + ".damaged.1"), (Bytes{'h', 'e', 'l', 'l', 'o'}));
  ASSERT_EQ(complaints.size(), 1u);
  EXPECT_NE(complaints[0].find("is not an image of a user hive"), std::string::npos);
}

TEST_F(UserImage, FileOfALaterVersionIsSetAsideUnderAnotherWord) {
  Bytes image = kvtest::small_image();
  image[11] = 2;
  write_file(file, image);
  EXPECT_EQ(restore(), Status::ok);
  EXPECT_EQ(file_bytes(file + ".newer.1"), image);
  ASSERT_EQ(complaints.size(), 1u);
  EXPECT_NE(complaints[0].find("was written by a later version"), std::string::npos);
}

TEST_F(UserImage, DirectoryInItsPlaceIsSetAside) {
  ASSERT_EQ(mkdir(file.c_str(), 0700), 0);
  EXPECT_EQ(restore(), Status::ok);
  EXPECT_TRUE(stands(file + ".damaged.1"));
}

TEST_F(UserImage, FullDiskWhileRestoringLeavesTheFileInPlace) {
  write_file(file, kvtest::small_image());
  sink.answer = Status::disk_full;
  EXPECT_EQ(restore(), Status::disk_full);
  EXPECT_FALSE(restored);
  EXPECT_TRUE(stands(file));
  EXPECT_TRUE(complaints.empty());
}

TEST_F(UserImage, UnreadableFileIsAnErrorAndStays) {
  write_file(file, kvtest::small_image());
  ASSERT_EQ(chmod(file.c_str(), 0), 0);
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
  const auto child = kvtest::run_child([&] {
    if (geteuid() == 0 && setuid(65534) != 0) _exit(100);
    _exit(restore() == Status::denied && !restored ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_TRUE(stands(file));
}

TEST_F(UserImage, AtTheEndIsMadeWhenTheFileIsOlder) {
  write_file(file, kvtest::small_image({mark(1, 2), {}}));
  Small_Source source({mark(1, 3), {}});
  Bytes image;
  EXPECT_EQ(hive::make_closing_user_image(source, mark(1, 3), live, file, hive::Look::at_whole, &image), Status::ok);
  EXPECT_EQ(image, kvtest::small_image({mark(1, 3), {}}));
}

TEST_F(UserImage, AtTheEndIsEmptyWhenTheFileCarriesTheState) {
  write_file(file, kvtest::small_image({mark(1, 3), {}}));
  Small_Source source({mark(1, 3), {}});
  Bytes image{1};
  EXPECT_EQ(hive::make_closing_user_image(source, mark(1, 3), live, file, hive::Look::at_whole, &image), Status::ok);
  EXPECT_TRUE(image.empty());
  EXPECT_EQ(source.walks, 0);
  EXPECT_FALSE(stands(live + ".image-lock"));
}

TEST_F(UserImage, AtTheEndIsMadeOverADamagedFileOfTheSameState) {
  Bytes damaged = kvtest::small_image({mark(1, 3), {}});
  damaged.back() ^= 1;
  write_file(file, damaged);
  Small_Source source({mark(1, 3), {}});
  Bytes image;
  EXPECT_EQ(hive::make_closing_user_image(source, mark(1, 3), live, file, hive::Look::at_whole, &image), Status::ok);
  EXPECT_FALSE(image.empty());
}

TEST_F(UserImage, AtTheEndIsBelievedByItsHeadWhereNothingWasChanged) {
  Bytes damaged = kvtest::small_image({mark(1, 3), {}});
  damaged.back() ^= 1;
  write_file(file, damaged);
  Small_Source source({mark(1, 3), {}});
  Bytes image{1};
  EXPECT_EQ(hive::make_closing_user_image(source, mark(1, 3), live, file, hive::Look::at_head, &image), Status::ok);
  EXPECT_TRUE(image.empty());
  EXPECT_EQ(hive::make_closing_user_image(source, mark(1, 4), live, file, hive::Look::at_head, &image), Status::ok);
  EXPECT_FALSE(image.empty());
}

TEST_F(UserImage, AtTheEndIsEmptyWhenTheFileCaughtUpMeanwhile) {
  write_file(file, kvtest::small_image({mark(1, 4), {}}));
  Small_Source source({mark(1, 4), {}});
  Bytes image;
  EXPECT_EQ(hive::make_closing_user_image(source, mark(1, 3), live, file, hive::Look::at_whole, &image), Status::ok);
  EXPECT_TRUE(image.empty());
}

TEST_F(UserImage, OfAPrivateHiveIsNeverMadeAtTheEnd) {
  Small_Source source({mark(1, 3), {}});
  Bytes image;
  EXPECT_EQ(hive::make_closing_user_image(source, mark(1, 3), "", file, hive::Look::at_whole, &image), Status::ok);
  EXPECT_TRUE(image.empty());
}

TEST_F(UserImage, AtTheEndKeepsTheLockToTheEndOfTheProcess) {
  const auto child = kvtest::run_child([&] {
    Small_Source source({mark(1, 3), {}});
    Bytes image;
    const Status first = hive::make_closing_user_image(source, mark(1, 3), live, file, hive::Look::at_whole, &image);
    const int lock = open((live + ".image-lock").c_str(), O_RDWR);
    const bool held = flock(lock, LOCK_EX | LOCK_NB) != 0;
    const Status again = hive::make_closing_user_image(source, mark(1, 3), live, file, hive::Look::at_whole, &image);
    _exit(first == Status::ok && held && again == Status::ok && !image.empty() ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0);
  const int lock = open((live + ".image-lock").c_str(), O_RDWR);
  EXPECT_EQ(flock(lock, LOCK_EX | LOCK_NB), 0);
  close(lock);
}

TEST_F(UserImage, LockThatAnotherProcessHoldsIsGivenUpAfterTheWait) {
  const int lock = open((folder / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(flock(lock, LOCK_EX), 0);
  const auto child = kvtest::run_child([&] { _exit(hive::lock_for_ever(folder / "lock", 50) ? 1 : 0); });
  EXPECT_EQ(child.exit_status, 0);
  close(lock);
}

TEST_F(UserImage, StatusOfTheWalkIsPassedOn) {
  Small_Source source({mark(1, 3), {}});
  source.answer = Status::damaged;
  Bytes image;
  EXPECT_EQ(hive::make_user_image(source, &image), Status::damaged);
  EXPECT_TRUE(image.empty());
}

}  // namespace
