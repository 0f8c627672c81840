// The mapping that a reader of the user's hive file holds, as the system shows it.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "tests/registry/heap_use.h"
#include "tests/registry/user_file.h"

namespace kvtest {
namespace {

class Hkcu_Mapping : public testing::Test {
 protected:
  // Access and offset of each mapping of the file in this process, one behind the other.
  std::string mappings() const {
    struct stat file;
    if (stat(path.c_str(), &file) != 0) return "no file";
    std::ifstream maps("/proc/self/maps");
    std::string found;
    for (std::string line; std::getline(maps, line);) {
      std::istringstream words(line);
      std::string range, access, offset, device;
      unsigned long inode = 0;
      words >> range >> access >> offset >> device >> inode;
      if (inode == file.st_ino && line.find(folder.path()) != std::string::npos) found += access + " " + offset + " ";
    }
    return found;
  }

  Temp_Folder folder;
  std::string path = folder / "hkcu";
};

TEST_F(Hkcu_Mapping, IsReadOnlyPrivateAndFromTheStart) {
  write_user_file(path, std::string(10000, 'i'));
  const HKCUDataReader reader(path.data());
  EXPECT_EQ(mappings(), "r--p 00000000 ");
}

TEST_F(Hkcu_Mapping, EndsWithItsReader) {
  write_user_file(path, std::string(10000, 'i'));
  {
    const HKCUDataReader reader(path.data());
    ASSERT_NE(mappings(), "");
  }
  EXPECT_EQ(mappings(), "");
}

TEST_F(Hkcu_Mapping, ThatCannotBeMadeLeavesTheSizeAndNoLink) {
#ifdef KVTEST_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer cannot run in a bounded address space";
#endif
  write_user_file(path, "image");
  ASSERT_EQ(truncate(path.c_str(), 0xC0000000), 0);
  const Child_Result child = run_child([this] {
    const rlimit bound = {std::size_t{2} << 30, std::size_t{2} << 30};
    setrlimit(RLIMIT_AS, &bound);
    const HKCUDataReader reader(path.data());
    printf("%u %x %s", reader.error, reader.size, reader.data == nullptr ? "null" : "data");
  });
  EXPECT_EQ(child.out, "14 c0000000 null");
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
}

}  // namespace
}  // namespace kvtest
