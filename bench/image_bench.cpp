// Reading the user's hive file of 10 MB, beside mapping it and copying it: through HKCUDataReader, as the store reads
// an image at a program's first use, and the check of its hash.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <kelvane/user_hive_file.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "hive/image/image.h"
#include "hive/image/image_file.h"

namespace {

constexpr std::size_t value_size = 100;
constexpr int value_count = 86000;

// An image of one key with many values, in a file of its own.
class Image_File {
 public:
  Image_File() : folder_((std::filesystem::temp_directory_path() / "kvbench.XXXXXX").string()) {
    if (mkdtemp(folder_.data()) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = folder_ + "/hkcu";
    const std::vector<unsigned char> bytes = made();
    std::ofstream(path_, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    size_ = bytes.size();
  }
  ~Image_File() { std::filesystem::remove_all(folder_); }
  Image_File(const Image_File&) = delete;
  Image_File& operator=(const Image_File&) = delete;

  char* path() { return path_.data(); }
  std::size_t size() const { return size_; }

 private:
  static std::vector<unsigned char> made() {
    hive::Image_Writer writer;
    const std::vector<unsigned char> data(value_size, 'v');
    writer.begin_key({});
    for (int i = 0; i < value_count; ++i) {
      const std::u16string name = u"n" + std::u16string(1, static_cast<char16_t>(0x4000 + i % 0x4000));
      hive::Value_Record value{};
      value.name = name;
      value.type = 3;
      value.size = value_size;
      value.data = data.data();
      writer.value(value);
    }
    writer.end_key();
    return writer.finish({});
  }

  std::string folder_;
  std::string path_;
  std::size_t size_;
};
Image_File file;

// Where copies go, there before the first one.
std::vector<unsigned char>& copy_room() {
  static std::vector<unsigned char> room(file.size(), 1);
  return room;
}

void note_size(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(file.size()));
}

void map_and_copy(benchmark::State& state) {
  std::vector<unsigned char>& room = copy_room();
  for (auto _ : state) {
    const int descriptor = open(file.path(), O_RDONLY | O_CLOEXEC);
    void* const mapped = mmap(nullptr, file.size(), PROT_READ, MAP_PRIVATE, descriptor, 0);
    std::memcpy(room.data(), mapped, file.size());
    munmap(mapped, file.size());
    close(descriptor);
    benchmark::ClobberMemory();
  }
  note_size(state);
}

void read_by_reader(benchmark::State& state) {
  std::vector<unsigned char>& room = copy_room();
  for (auto _ : state) {
    const HKCUDataReader reader(file.path());
    std::memcpy(room.data(), reader.data, reader.size);
    benchmark::ClobberMemory();
  }
  note_size(state);
}

void read_by_store(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<unsigned char> bytes;
    if (hive::read_image_file(file.path(), &bytes) != hive::Status::ok) state.SkipWithError("not read");
    benchmark::DoNotOptimize(bytes.data());
  }
  note_size(state);
}

void check_hash(benchmark::State& state) {
  std::vector<unsigned char> bytes;
  hive::read_image_file(file.path(), &bytes);
  hive::Image_Prologue prologue;
  for (auto _ : state) {
    if (hive::check_image(bytes, &prologue) != hive::Status::ok) state.SkipWithError("damaged");
  }
  note_size(state);
}

BENCHMARK(map_and_copy);
BENCHMARK(read_by_reader);
BENCHMARK(read_by_store);
BENCHMARK(check_hash);

}  // namespace
