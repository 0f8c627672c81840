// The user's hive saved to a file by hand.

#include <kelvane/advapi32.h>
#include <kelvane/registry_admin.h>
#include <kelvane/user_hive_file.h>

#include "registry/gate.h"

inline namespace kelvane {
namespace {

// The image of the user's hive, asked for with growing room until it fits.
class User_Image {
 public:
  User_Image() = default;
  ~User_Image() { delete[] bytes_; }
  User_Image(const User_Image&) = delete;
  User_Image& operator=(const User_Image&) = delete;

  // Whatever goes wrong is ERROR_INTERNAL_ERROR, also a size told that is below the one before.
  LSTATUS fetch() {
    unsigned previous = 0;
    for (;;) {
      const LSTATUS result = RegGetHKCU(bytes_, &size_);
      if (result == ERROR_SUCCESS && bytes_ != nullptr) return ERROR_SUCCESS;
      if (result != ERROR_SUCCESS && result != ERROR_MORE_DATA) return ERROR_INTERNAL_ERROR;
      if (previous > size_) return ERROR_INTERNAL_ERROR;
      previous = size_;
      make_room();
    }
  }
  DWORD write(const char* path) { return KvWriteHKCUFile(path, bytes_, static_cast<int>(size_)); }

 private:
  // For the size told and some slack, which lets the hive grow a little until it is asked for again.
  void make_room() {
    constexpr unsigned slack = 512;
    delete[] bytes_;
    bytes_ = nullptr;
    const unsigned with_slack = size_ + slack;
    if (with_slack > size_) size_ = with_slack;
    bytes_ = new unsigned char[size_];
  }

  unsigned char* bytes_ = nullptr;
  unsigned size_ = 0;
};

// The two hive files' names.
class File_Names {
 public:
  File_Names() { KvGetRegistryFileNames(&per_user_, &machine_); }
  ~File_Names() {
    delete[] per_user_;
    delete[] machine_;
  }
  File_Names(const File_Names&) = delete;
  File_Names& operator=(const File_Names&) = delete;

  const char* per_user() const { return per_user_; }

 private:
  char* per_user_ = nullptr;
  char* machine_ = nullptr;
};

DWORD write_to_its_file(User_Image& image) {
  const File_Names names;
  return image.write(names.per_user());
}

}  // namespace
}  // namespace kelvane

LSTATUS RegSaveHKCU(const char* path) {
  return gated(nullptr, [=]() KV_IN_FRONT -> LSTATUS {
    User_Image image;
    const LSTATUS fetched = image.fetch();
    if (fetched != ERROR_SUCCESS) return fetched;
    return static_cast<LSTATUS>(path != nullptr ? image.write(path) : write_to_its_file(image));
  });
}
