// Saving the user's hive by hand: how its image is asked for, and where it goes.
#include <kelvane/registry_admin.h>

#include <new>

#include "tests/registry/fronts.h"
#include "tests/registry/user_file.h"

namespace kvtest {
namespace {

class Save_Hkcu : public Fronts {
 protected:
  // One answer of the entry: the size that it tells, and the image when there is room for it.
  void expect_image(std::uint64_t code, DWORD size, const std::string& image = "") {
    recording.script("KvIRegGetHKCU", [=](const Call& call) {
      call.store("size", size);
      call.write("image", image);
      return code;
    });
  }
  // The room that each call of the entry offered, "-" for one without a buffer.
  std::string rooms() const {
    std::string line;
    for (const Call& call : recording.calls())
      line += (call.raw("image") == 0 ? "-" : "") + std::to_string(call["size"].count) + " ";
    return line;
  }
  std::string content() const { return content_of(path); }

  Temp_Folder folder;
  const std::string path = folder / "saved";
};

TEST_F(Save_Hkcu, AsksForTheSizeAndThenOffers512BytesMore) {
  expect_image(0, 5);
  expect_image(0, 5, "image");
  EXPECT_EQ(RegSaveHKCU(path.c_str()), 0);
  EXPECT_EQ(rooms(), "-0 517 ");
  EXPECT_EQ(content(), "image");
}

TEST_F(Save_Hkcu, GrowsAsLongAsTheHiveDoes) {
  expect_image(234, 1000);
  expect_image(234, 2000);
  expect_image(234, 2600);
  expect_image(0, 5, "image");
  EXPECT_EQ(RegSaveHKCU(path.c_str()), 0);
  EXPECT_EQ(rooms(), "-0 1512 2512 3112 ");
  EXPECT_EQ(content(), "image");
}

TEST_F(Save_Hkcu, AnImageThatShrankIntoItsRoomIsWrittenWithItsOwnSize) {
  expect_image(0, 900);
  expect_image(0, 3, "new");
  EXPECT_EQ(RegSaveHKCU(path.c_str()), 0);
  EXPECT_EQ(content(), "new");
}

TEST_F(Save_Hkcu, AnEmptyImageMakesAnEmptyFile) {
  expect_image(0, 0);
  expect_image(0, 0);
  EXPECT_EQ(RegSaveHKCU(path.c_str()), 0);
  EXPECT_EQ(rooms(), "-0 512 ");
  EXPECT_EQ(names_in(folder.path()), "saved ");
  EXPECT_EQ(content(), "");
}

TEST_F(Save_Hkcu, TheSameSizeToldTwiceIsAskedForAgain) {
  expect_image(234, 1000);
  expect_image(234, 1000);
  expect_image(0, 5, "image");
  EXPECT_EQ(RegSaveHKCU(path.c_str()), 0);
  EXPECT_EQ(rooms(), "-0 1512 1512 ");
}

TEST_F(Save_Hkcu, ASizeThatHasNoRoomForTheSlackGetsNone) {
  // Four gibibytes may not be had: then nothing is asked for again.
  expect_image(234, 0xFFFFFF00);
  expect_image(5, 0);
  LSTATUS result = 1359;
  try {
    result = RegSaveHKCU(path.c_str());
  } catch (const std::bad_alloc&) {
    recording.reset();
  }
  EXPECT_EQ(result, 1359);
  EXPECT_TRUE(rooms() == "-0 4294967040 " || rooms().empty()) << rooms();
}

TEST_F(Save_Hkcu, ASizeThatShrinksBetweenTwoAttemptsIs1359) {
  expect_image(234, 1000);
  expect_image(234, 999);
  EXPECT_EQ(RegSaveHKCU(path.c_str()), 1359);
  EXPECT_EQ(names_in(folder.path()), "");
}

TEST_F(Save_Hkcu, AnyOtherCodeIs1359) {
  for (std::uint64_t code : {5, 6, 120, 1009}) {
    expect_image(code, 0);
    EXPECT_EQ(RegSaveHKCU(path.c_str()), 1359);
  }
  expect_image(234, 10);
  expect_image(14, 10);
  EXPECT_EQ(RegSaveHKCU(path.c_str()), 1359);
  EXPECT_EQ(names_in(folder.path()), "");
}

TEST_F(Save_Hkcu, AFailureLeavesTheFileThatStood) {
  write_user_file(path, "old");
  expect_image(5, 0);
  EXPECT_EQ(RegSaveHKCU(path.c_str()), 1359);
  EXPECT_EQ(content(), "old");
}

TEST_F(Save_Hkcu, PassesTheCodeOfTheWriterOn) {
  expect_image(0, 5);
  expect_image(0, 5, "image");
  EXPECT_EQ(RegSaveHKCU((folder / "missing/saved").c_str()), 5);
}

TEST_F(Save_Hkcu, ANameWithPercentSignsAndNewlinesIsTaken) {
  const std::string odd = folder / "%s%n\nname";
  expect_image(0, 5);
  expect_image(0, 5, "image");
  EXPECT_EQ(RegSaveHKCU(odd.c_str()), 0);
  EXPECT_EQ(content_of(odd), "image");
}

TEST_F(Save_Hkcu, WithoutAPathWritesToTheFileThatIsConfigured) {
  setenv("KVREGISTRY", ("/nowhere/hklm:" + folder / "hkcu.bin").c_str(), 1);
  expect_image(0, 5);
  expect_image(0, 5, "image");
  EXPECT_EQ(RegSaveHKCU(nullptr), 0);
  unsetenv("KVREGISTRY");
  EXPECT_EQ(names_in(folder.path()), "hkcu.bin ");
  EXPECT_EQ(content_of(folder / "hkcu.bin"), "image");
}

TEST_F(Save_Hkcu, WithoutAPathAndConfigurationWritesToTheUsersDefault) {
  const Child_Result child = run_child([this] {
    setenv("HOME", folder.path().c_str(), 1);
    setenv("KVREGISTRY", "/nowhere/hklm", 1);
    expect_image(0, 5);
    expect_image(0, 5, "image");
    printf("%d", RegSaveHKCU(nullptr));
  });
  EXPECT_EQ(child.out, "0");
  EXPECT_EQ(content_of(folder / ".kv/windows/hkcu.bin"), "image");
}

}  // namespace
}  // namespace kvtest
