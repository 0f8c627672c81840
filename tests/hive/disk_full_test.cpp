// A full disk: a small file system of the test's own in a mount namespace of its own.
#include <sys/statvfs.h>

#include <filesystem>
#include <fstream>

#include "tests/hive/small_disk.h"

namespace {

using namespace hivetest;

// Leaves no room at all.
void fill(const std::string& file) {
  std::ofstream out(file, std::ios::binary);
  std::string block(4096, 'f');
  while (out.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
  }
}

TEST(DiskFull, AWriteIsRefusedAndNothingIsLostAndItGoesOnWithRoom) {
  on_small_disk([](const std::string& disk) {
    std::unique_ptr<Registry> registry = registry_on(disk);
    Key key = make_key(*registry, root_of(*registry), u"a");
    if (!report(put(*registry, key, u"v", "before") == Status::ok, "first write")) return false;
    fill(disk + "/ballast");
    Status status = Status::ok;
    for (int i = 0; i < 100 && status == Status::ok; ++i) {
      status = put(*registry, key, u"w" + std::u16string(1, char16_t(u'a' + i)), std::string(30000, 'x'));
    }
    bool right = report(status == Status::disk_full, "refused") &&
                 report(get(*registry, key, u"v") == "before", "kept") && report(complaints().size() == 1, "one line");
    status = put(*registry, key, u"w", std::string(30000, 'x'));
    right = right && report(status == Status::disk_full && complaints().size() == 1, "again, without a line");
    std::filesystem::remove(disk + "/ballast");
    return right && report(put(*registry, key, u"w", std::string(30000, 'x')) == Status::ok, "goes on") &&
           report(get(*registry, key, u"w") == std::string(30000, 'x'), "reads it");
  });
}

TEST(DiskFull, ANewHiveThatFindsNoRoomIsMadeLater) {
  on_small_disk([](const std::string& disk) {
    fill(disk + "/ballast");
    std::unique_ptr<Registry> registry = registry_on(disk);
    Key key;
    Status status = create(*registry, root_of(*registry), u"a", &key);
    bool right = report(status == Status::disk_full, "refused");
    if (!right)
      fprintf(stderr, "status %d %s\n", static_cast<int>(status), complaints().empty() ? "" : complaints()[0].c_str());
    std::filesystem::remove(disk + "/ballast");
    return right && report(create(*registry, root_of(*registry), u"a", &key) == Status::ok, "made later");
  });
}

TEST(DiskFull, SavingLeavesNoHalfFile) {
  on_small_disk([](const std::string& disk) {
    Temp_Folder elsewhere;
    std::unique_ptr<Registry> registry = registry_on(elsewhere.path());
    Key key = make_key(*registry, root_of(*registry), u"a");
    put(*registry, key, u"v", std::string(3000000, 'x'));
    return report(registry->save(key, disk + "/saved") == Status::disk_full, "save refused") &&
           report(registry->backup(disk) == Status::disk_full, "backup refused") &&
           report(std::filesystem::is_empty(disk), "nothing left");
  });
}

// Leaves this many pages.
void fill_but(const std::string& file, unsigned long pages) {
  struct statvfs disk;
  std::ofstream out(file, std::ios::binary);
  const std::string block(4096, 'f');
  while (statvfs(file.c_str(), &disk) == 0 && disk.f_bavail > pages) {
    if (!out.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) return;
  }
}

struct Written {
  int done = 0;
  int refused = 0;
  int wrong = 0;
};

// Changes of all kinds, each of which is done or refused.
Written change_everything(Registry& registry) {
  Written written;
  auto count = [&](Status status) {
    written.done += status == Status::ok;
    written.refused += status == Status::disk_full;
    written.wrong += status != Status::ok && status != Status::disk_full;
    if (status != Status::ok && status != Status::disk_full) fprintf(stderr, "status %d\n", static_cast<int>(status));
    return status;
  };
  Key key;
  if (count(registry.open(root_of(registry), u"a", &key)) != Status::ok) return written;
  count(put(registry, key, u"small", "x"));
  count(put(registry, key, u"large", std::string(9000, 'x')));
  Key made;
  count(create(registry, key, u"b\\c", &made));
  count(put(registry, key, u"large", std::string(20000, 'y')));
  if (registry.open(key, u"b\\c", &made) == Status::ok) count(registry.remove(key, u"b\\c"));
  if (status_of_get(registry, key, u"small") == Status::ok) count(registry.remove_value(key, u"small"));
  count(registry.flush(key));
  return written;
}

TEST(DiskFull, AtEveryWriteIsRefusedAndNothingIsLostOrTorn) {
  on_small_disk([](const std::string& disk) {
    int refused = 0;
    int tried = 0;
    bool right = true;
    for (unsigned long pages = 0; right; ++pages, ++tried) {
      for (const auto& entry : std::filesystem::directory_iterator(disk)) std::filesystem::remove_all(entry);
      complaints().clear();
      std::unique_ptr<Registry> registry = registry_on(disk);
      right = report(put(*registry, make_key(*registry, root_of(*registry), u"a"), u"before", "kept") == Status::ok,
                     "made");
      if (pages % 2 == 1) registry = registry_on(disk);  // opened with the disk full, or before
      fill_but(disk + "/ballast", pages);
      const Written written = change_everything(*registry);
      const std::size_t lines = complaints().size();
      right = right && report(written.wrong == 0, "another answer") && report(lines <= 1 || written.done > 0, "lines");
      right = right && report((lines > 0) == (written.refused > 0), "a line when refused");
      Key key;
      std::vector<hive::Found_Fault> faults;
      std::filesystem::remove(disk + "/ballast");
      right = right && report(registry->open(root_of(*registry), u"a", &key) == Status::ok, "opens") &&
              report(get(*registry, key, u"before") == "kept", "kept") &&
              report(put(*registry, key, u"after", "x") == Status::ok, "goes on") &&
              report(registry->check(key, &faults) == Status::ok && faults.empty(), "holds together");
      refused += written.refused;
      if (written.refused == 0) break;
    }
    printf("a disk full after each of %d pages, %d changes refused\n", tried, refused);
    fflush(stdout);
    return right && report(tried > 8 && refused > tried, "it never was full");
  });
}

}  // namespace
