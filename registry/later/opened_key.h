// A key that a function of this room opened, closed at its end whatever the close answers.
#pragma once

#include <winreg.h>

inline namespace kelvane {

class Opened_Key {
 public:
  Opened_Key() = default;
  ~Opened_Key() noexcept(false) {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  Opened_Key(const Opened_Key&) = delete;
  Opened_Key& operator=(const Opened_Key&) = delete;

  HKEY get() const { return key_; }
  HKEY* out() { return &key_; }

 private:
  HKEY key_ = nullptr;
};

}  // namespace kelvane
