// Streams on files, descriptors and texts.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <kelvane/stream.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <sstream>

#include "tests/kernel32/object/written_text.h"
#include "tests/support/child.h"

namespace {

using kvtest::Child_Result;
using kvtest::Temp_Folder;
using kvtest::Text_Stream;

std::string content(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// The number that the next opened file gets.
int next_descriptor() {
  int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(fd);
  return fd;
}

TEST(OutputStream, WritesTextsCharactersAndNumbers) {
  Text_Stream stream;
  stream << "a" << ' ' << -5 << ' ' << 4294967295u << ' ' << 2.5 << ' ' << 5.0 << static_cast<const char*>(nullptr);
  EXPECT_EQ(stream.text(), "a -5 4294967295 2.5 5.0");
}

TEST(OutputStream, WritesBonesAndTheNullMarker) {
  Text_Stream stream;
  const Bone bone;
  stream << &bone << static_cast<const Bone*>(nullptr);
  EXPECT_EQ(stream.text(), "/\\/ | \\__");
}

TEST(OutputStream, KeepsTextUntilItIsFlushed) {
  Temp_Folder folder;
  kvofstream stream((folder / "out").c_str());
  stream << "first";
  EXPECT_EQ(content(folder / "out"), "");
  stream << kvflush;
  EXPECT_EQ(content(folder / "out"), "first");
  stream << " second" << kvendl;
  EXPECT_EQ(content(folder / "out"), "first second\n");
}

TEST(OutputStream, WritesTheBufferWhenItIsFull) {
  Temp_Folder folder;
  kvofstream stream((folder / "out").c_str());
  stream << std::string(4095, 'x').c_str();
  EXPECT_EQ(content(folder / "out"), "");
  stream << 'y';
  EXPECT_EQ(content(folder / "out"), std::string(4095, 'x') + "y");
}

TEST(OutputStream, CarriesTextLongerThanTheBuffer) {
  Temp_Folder folder;
  std::string text(10000, 'x');
  { kvofstream((folder / "out").c_str()) << "<" << text.c_str() << ">"; }
  EXPECT_EQ(content(folder / "out"), "<" + text + ">");
}

TEST(FileOutput, EmptiesAFileThatIsThere) {
  Temp_Folder folder;
  std::ofstream(folder / "out") << "something longer";
  { kvofstream((folder / "out").c_str()) << "new"; }
  EXPECT_EQ(content(folder / "out"), "new");
}

TEST(FileOutput, ThatCannotBeOpenedTakesEverythingInSilence) {
  kvofstream stream("/nowhere/out");
  EXPECT_TRUE(stream.failed());
  stream << "text" << 5 << std::string(10000, 'x').c_str() << kvendl;
  EXPECT_TRUE(stream.failed());
}

TEST(FileOutput, OnAFullDiskFails) {
  kvofstream stream("/dev/full");
  stream << "text";
  EXPECT_FALSE(stream.failed());
  stream << kvflush;
  EXPECT_TRUE(stream.failed());
  stream << "more" << kvendl;
  EXPECT_TRUE(stream.failed());
}

TEST(FileOutput, IsDestroyedThroughItsBase) {
  Temp_Folder folder;
  kvostream* stream = new kvofstream((folder / "out").c_str());
  *stream << "text";
  delete stream;
  EXPECT_EQ(content(folder / "out"), "text");
}

TEST(FileOutput, ClosesItsDescriptorAndHidesItFromPrograms) {
  Temp_Folder folder;
  int number = next_descriptor();
  {
    kvofstream stream((folder / "out").c_str());
    EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC);
  }
  EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

TEST(FileOutput, OnStandardOutputLeavesItOpen) {
  Child_Result result = kvtest::run_child([] {
    { kvofstream(STDOUT_FILENO) << "from the stream\n"; }
    printf("from the program\n");
  });
  EXPECT_EQ(result.out, "from the stream\nfrom the program\n");
}

TEST(FileOutput, TakesADescriptorOver) {
  Temp_Folder folder;
  int fd = open((folder / "out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  { kvofstream(fd) << "text"; }
  EXPECT_EQ(content(folder / "out"), "text");
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST(FileOutput, ABadDescriptorIsAFailedStream) {
  kvofstream stream(-1);
  EXPECT_TRUE(stream.failed());
  kvofstream closed(next_descriptor());
  EXPECT_TRUE(closed.failed());
}

TEST(FileOutput, LeavesAForeignFileUnderItsNumberAlone) {
  Temp_Folder folder;
  int number = next_descriptor();
  auto stream = std::make_unique<kvofstream>((folder / "out").c_str());
  *stream << "ours" << kvflush << " and more";
  close(number);
  ASSERT_EQ(open((folder / "foreign").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), number);
  *stream << kvflush;
  EXPECT_TRUE(stream->failed());
  stream.reset();
  EXPECT_EQ(content(folder / "foreign"), "");
  EXPECT_EQ(content(folder / "out"), "ours");
  EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC);
  close(number);
}

TEST(FileOutput, OfADaemonThatHasClosedEverythingFails) {
  Temp_Folder folder;
  Child_Result result = kvtest::run_child([&] {
    kvofstream stream((folder / "out").c_str());
    stream << "lost";
    for (int fd = 3; fd < 256; ++fd) close(fd);
    stream << kvflush;
    printf("%d", stream.failed());
  });
  EXPECT_EQ(result.out, "1");
}

// What a stream over a text of a length says after reads of these sizes.
struct Read_Case {
  size_t length;
  std::vector<size_t> asked;
  std::vector<size_t> came;
  bool at_end;
};

TEST(InputStream, IsAtItsEndExactlyAfterAReadThatGaveLessThanAsked) {
  const Read_Case cases[] = {{8191, {8192}, {8191}, true},
                             {8192, {8192}, {8192}, false},
                             {8192, {8192, 1}, {8192, 0}, true},
                             {0, {0}, {0}, false},
                             {0, {1}, {0}, true},
                             {10, {4, 4}, {4, 4}, false},
                             {10, {4, 4, 4}, {4, 4, 2}, true}};
  std::vector<char> block(8192);
  for (const Read_Case& tried : cases) {
    std::string text(tried.length, 'x');
    kvistrstream stream(text.data(), text.size());
    std::vector<size_t> came;
    for (size_t asked : tried.asked) came.push_back(stream.read(block.data(), asked));
    EXPECT_EQ(came, tried.came) << tried.length;
    EXPECT_EQ(stream.at_end(), tried.at_end) << tried.length;
    EXPECT_FALSE(stream.failed());
  }
}

TEST(TextInput, GivesItsTextOnce) {
  char block[16] = {};
  kvistrstream stream("[empty]");
  EXPECT_EQ(stream.read(block, sizeof block), 7u);
  EXPECT_STREQ(block, "[empty]");
  EXPECT_EQ(stream.read(block, sizeof block), 0u);
}

TEST(FileInput, GivesTheFilesBytes) {
  Temp_Folder folder;
  std::ofstream(folder / "in") << std::string("a\0b", 3);
  char block[8];
  std::unique_ptr<kvistream> stream = std::make_unique<kvifstream>((folder / "in").c_str());
  EXPECT_EQ(stream->read(block, 2), 2u);
  EXPECT_FALSE(stream->at_end());
  EXPECT_EQ(stream->read(block + 2, 6), 1u);
  EXPECT_EQ(std::string(block, 3), std::string("a\0b", 3));
  EXPECT_TRUE(stream->at_end());
  EXPECT_FALSE(stream->failed());
}

TEST(FileInput, PutsTogetherWhatAPipeGivesInPieces) {
  Temp_Folder folder;
  std::string path = folder / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  Child_Result result = kvtest::run_child([&] {
    if (fork() == 0) {
      int fd = open(path.c_str(), O_WRONLY);
      for (int piece = 0; piece < 3; ++piece) {
        if (write(fd, "abc", 3) != 3) _exit(1);
        sched_yield();
      }
      _exit(0);
    }
    kvifstream stream(path.c_str());
    char block[9];
    printf("%zu %d", stream.read(block, sizeof block), stream.at_end());
  });
  EXPECT_EQ(result.out, "9 0");
}

TEST(FileInput, ThatCannotBeOpenedOrReadFails) {
  char block[8];
  kvifstream missing("/nowhere/in");
  EXPECT_TRUE(missing.failed());
  EXPECT_EQ(missing.read(block, sizeof block), 0u);
  kvifstream folder("/");
  EXPECT_FALSE(folder.failed());
  EXPECT_EQ(folder.read(block, sizeof block), 0u);
  EXPECT_TRUE(folder.failed());
}

TEST(FileInput, ReadsNothingFromAForeignFileUnderItsNumber) {
  Temp_Folder folder;
  std::ofstream(folder / "in") << "ours";
  std::ofstream(folder / "foreign") << "theirs";
  int number = next_descriptor();
  kvifstream stream((folder / "in").c_str());
  close(number);
  ASSERT_EQ(open((folder / "foreign").c_str(), O_RDONLY | O_CLOEXEC), number);
  char block[8];
  EXPECT_EQ(stream.read(block, sizeof block), 0u);
  EXPECT_TRUE(stream.failed());
  EXPECT_EQ(lseek(number, 0, SEEK_CUR), 0);
  close(number);
}

}  // namespace
