// Telling beside other users and on a full disk, and four processes beside a model.
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "tests/hive/other_process.h"
#include "tests/hive/small_disk.h"
#include "tests/hive/trials.h"

namespace {

using namespace hivetest;

bool reads(World& world, int number) {
  return get(*world.registry, world.key(u"changed"), u"v") == std::to_string(number) &&
         get(*world.registry, world.key(u"quiet"), u"v") == "quiet" && is_held(world.key(u"quiet"), u"v");
}

bool reads_and_has_held_the_other(World& world, int number) {
  return get(*world.registry, world.key(u"changed"), u"v") == std::to_string(number) &&
         is_held(world.key(u"quiet"), u"v");
}

TEST(Told_To_Others, AReaderWithoutWritePermissionIsToldToo) {
  if (geteuid() != 0) GTEST_SKIP() << "needs two users";
  Open_Folder open;
  Other_Process reader(open.path(), nobody);
  World writer(open.path());
  make_key(*writer.registry, root_of(*writer.registry), u"changed");
  const Key quiet = make_key(*writer.registry, root_of(*writer.registry), u"quiet");
  ASSERT_TRUE(change(writer, 1) && put(*writer.registry, quiet, u"v", "quiet") == Status::ok);
  ASSERT_TRUE(reader.run(&reads, 1));
  for (int i = 2; i < 10; ++i) {
    ASSERT_TRUE(change(writer, i));
    EXPECT_TRUE(reader.run(&reads_and_has_held_the_other, i)) << i;
  }
  ASSERT_TRUE(change_quiet(writer, 5));
  EXPECT_FALSE(reader.run(&reads_and_has_held_the_other, 9));
}

TEST(Told_To_Others, AWriterThatMayMakeNoFileTellsNothing) {
  if (geteuid() != 0) GTEST_SKIP() << "needs two users";
  Open_Folder open;
  Other_Process writer(open.path(), nobody);
  World own(open.path());
  make_key(*own.registry, root_of(*own.registry), u"changed");
  const Key quiet = make_key(*own.registry, root_of(*own.registry), u"quiet");
  ASSERT_TRUE(change(own, 1) && put(*own.registry, quiet, u"v", "quiet") == Status::ok);
  std::filesystem::remove(open / "machine.bin-ring");
  for (const char* file : {"/machine.bin", "/machine.bin-wal", "/machine.bin-shm"}) {
    ASSERT_EQ(chmod((open.path() + file).c_str(), 0666), 0);
  }
  ASSERT_TRUE(reads(own, 1));
  for (int i = 2; i < 5; ++i) {
    ASSERT_TRUE(writer.run(&change, i));
    EXPECT_FALSE(reads_and_has_held_the_other(own, i));
    EXPECT_TRUE(reads(own, i));
  }
  EXPECT_FALSE(std::filesystem::exists(open / "machine.bin-ring"));
}

TEST(Told_To_Others, AFullDiskHasNoRoomForTheFileAndNothingIsLost) {
  on_small_disk([](const std::string& disk) {
    World world(disk);
    make_key(*world.registry, root_of(*world.registry), u"changed");
    bool right = report(change(world, 1), "first write");
    std::filesystem::remove(disk + "/machine.bin-ring");
    std::ofstream ballast(disk + "/ballast", std::ios::binary);
    const std::string block(4096, 'f');
    while (ballast.write(block.data(), 4096).flush()) continue;
    // Room for the log, but not for the ring.
    std::filesystem::resize_file(disk + "/ballast", std::filesystem::file_size(disk + "/ballast") - 65536);
    for (int i = 2; i < 6; ++i) {
      right = right && report(change(world, i), "write") &&
              report(get(*world.registry, world.key(u"changed"), u"v") == std::to_string(i), "read");
    }
    return right && report(complaints().empty(), "complaints");
  });
}

constexpr int keys_of_model = 24;

std::u16string model_key(int number) { return u"k" + std::u16string(1, static_cast<char16_t>(u'A' + number)); }

// number: which key, and what is written there.
bool put_in_model(World& world, int number) {
  const Key key = world.key(model_key(number % keys_of_model));
  return put(*world.registry, key, u"v", std::to_string(number)) == Status::ok;
}

bool has_in_model(World& world, int number) {
  const Key key = world.key(model_key(number % keys_of_model));
  return get(*world.registry, key, u"v") == std::to_string(number);
}

TEST(Told_Model, EachOfFourProcessesSeesWhatTheOthersHaveWritten) {
  Temp_Folder folder;
  Other_Process first(folder.path());
  Other_Process second(folder.path());
  Other_Process third(folder.path());
  World own(folder.path());
  std::map<int, int> model;
  const auto run = [&](unsigned who, Other_Process::Order order, int number) {
    if (who == 3) return order(own, number);
    return (who == 0 ? first : who == 1 ? second : third).run(order, number);
  };
  for (int i = 0; i < keys_of_model; ++i) {
    make_key(*own.registry, root_of(*own.registry), model_key(i));
    ASSERT_TRUE(put_in_model(own, model[i] = i));
  }
  std::mt19937 random(5);
  const int wanted = trials(300, 20000);
  for (int trial = 1; trial <= wanted; ++trial) {
    const int key = static_cast<int>(random() % keys_of_model);
    ASSERT_TRUE(run(random() % 4, &put_in_model, model[key] = trial * keys_of_model + key));
    if (random() % 64 == 0) {
      ASSERT_EQ(own.registry->flush(root_of(*own.registry)), Status::ok);
    }
    for (int look = 0; look < 4; ++look) {
      const int other = look == 0 ? key : static_cast<int>(random() % keys_of_model);
      ASSERT_TRUE(run(random() % 4, &has_in_model, model[other])) << "key " << other << " after " << trial;
    }
  }
}

}  // namespace
