// A value at any address. Entries of access-control lists and parts of descriptors are packed without gaps, so
// their fields need not lie at multiples of their sizes.
#pragma once

inline namespace kelvane {

template <class T>
struct __attribute__((packed, may_alias)) Unaligned {
  T value;
};

template <class T>
const Unaligned<T>* unaligned(const void* at) {
  return static_cast<const Unaligned<T>*>(at);
}

template <class T>
T load(const void* at) {
  return unaligned<T>(at)->value;
}

template <class T>
void store(void* at, T value) {
  static_cast<Unaligned<T>*>(at)->value = value;
}

}  // namespace kelvane
