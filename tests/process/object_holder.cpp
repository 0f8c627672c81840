// Holds a key from the first constructor of its module to the destructor of a global object.
#include <windows.h>

namespace {

class Key_Holder {
 public:
  Key_Holder() { RegCreateKeyA(HKEY_CURRENT_USER, KVTEST_HOLDER "-object", &key_); }
  ~Key_Holder() { RegCloseKey(key_); }
  Key_Holder(const Key_Holder&) = delete;
  Key_Holder& operator=(const Key_Holder&) = delete;

 private:
  HKEY key_ = nullptr;
};

// Before every other object of a program's own.
__attribute__((init_priority(101))) Key_Holder holder;

}  // namespace
