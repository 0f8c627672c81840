// The recording implementation library: the 42 entries of an implementation library, made from the list of
// slots. Each entry writes down its name and every argument and answers what the test has scripted.
//
// It lies as "advapi32impl.dll", "advapi32client.dll" and "advapi32server.dll" in one folder; each file keeps
// a log of its own. A test gets at it through the exported kv_recording_control:
//
//   kvrecording::Control* control = kvrecording::control_of(LoadLibraryA("advapi32impl.dll"));
//   control->script("KvIRegCloseKey", [](const kvrecording::Call&) { return 6; });
#ifndef KELVANE_TESTS_RECORDING_H
#define KELVANE_TESTS_RECORDING_H

#include <winbase.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvrecording {

// One argument as it came in. Which of the copies there are follows from the parameter's type and name in the
// list of slots; nothing is read through a null pointer.
struct Argument {
  std::string name;
  std::uint64_t raw = 0;  // zero-extended from the parameter's own width

  bool has_text = false;  // const WinChar*: the units before the first zero one
  std::u16string text;

  bool has_bytes = false;  // const BYTE*: data_size bytes, when there are at most 1 MiB of them
  std::string bytes;

  // DWORD* name_count, class_count, data_size, size, count, domain_length: the value on entry. Other DWORD
  // pointers are never read, so that a test may pass any number for them.
  bool has_count = false;
  std::uint32_t count = 0;
};

// A call of an entry, as a log line and as what a behaviour sees while the call runs: then its pointers are
// live and store and write reach the caller's outputs.
struct Call {
  std::string entry;
  std::vector<Argument> arguments;

  const Argument& operator[](const char* name) const {
    for (const Argument& argument : arguments) {
      if (argument.name == name) return argument;
    }
    throw std::out_of_range(entry + " has no argument " + name);
  }

  std::uint64_t raw(const char* name) const { return (*this)[name].raw; }

  template <class T>
  T* pointer(const char* name) const {
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(raw(name)));
  }

  // Stores through the output pointer of this name, unless it is null.
  template <class T>
  void store(const char* name, T value) const {
    if (pointer<T>(name) != nullptr) *pointer<T>(name) = value;
  }

  // Writes bytes to the buffer of this name, unless it is null.
  void write(const char* name, const std::string& bytes) const {
    if (raw(name) != 0) std::memcpy(pointer<char>(name), bytes.data(), bytes.size());
  }
};

// What an entry does and answers; may throw. The result is cut to the entry's own result type.
using Behaviour = std::function<std::uint64_t(const Call&)>;

class Control {
 public:
  // The file name of this library.
  virtual const char* library_name() const = 0;
  // The next call of the entry that finds no earlier behaviour waiting runs this one. Without one it answers
  // 0 and writes nothing.
  virtual void script(const char* entry, Behaviour behaviour) = 0;
  // All calls since the last reset, in order.
  virtual std::vector<Call> calls() const = 0;
  // The number of scripted behaviours that no call has taken yet.
  virtual std::size_t waiting() const = 0;
  // Forgets the log and every behaviour.
  virtual void reset() = 0;

 protected:
  ~Control() = default;
};

// The control of a loaded library; null when it is not a recording library.
inline Control* control_of(HMODULE library) {
  void* const getter = reinterpret_cast<void*>(GetProcAddress(library, "kv_recording_control"));
  return getter == nullptr ? nullptr : reinterpret_cast<Control* (*)()>(getter)();
}

}  // namespace kvrecording

extern "C" KV_EXPORT kvrecording::Control* kv_recording_control();

#endif
