/* assoc<V, K>: a map from pointers (or handles) to pointers. It owns neither. */
#ifndef KELVANE_POINTER_MAP_H
#define KELVANE_POINTER_MAP_H

#include <kelvane/descriptor.h>

inline namespace kelvane {

/* The map behind every assoc. */
class KV_EXPORT Pointer_Map {
 public:
  /* The key methods get the key itself, not a pointer to it. */
  Pointer_Map(const Set_Desc& descriptor, const Key_Methods& keys);
  ~Pointer_Map();
  Pointer_Map(const Pointer_Map&) = delete;
  Pointer_Map& operator=(const Pointer_Map&) = delete;

  static void* operator new(size_t size);
  static void operator delete(void* block);

  bool insert(const void* key, void* value); /* false, and nothing done, when the key is there */
  void* lookup(const void* key) const;
  void* remove(const void* key);
  size_t count() const { return set_->count(); }

 private:
  Keyed_Set* set_;
};

template <class V, class K>
class assoc : private Pointer_Map {
 public:
  using Pointer_Map::count;
  using Pointer_Map::operator new;
  using Pointer_Map::operator delete;

  assoc(const Set_Desc& descriptor, const Key_Methods& keys) : Pointer_Map(descriptor, keys) {}

  /* False, and nothing done, when the key is there already. */
  bool insert(K key, V value) { return Pointer_Map::insert(key, value); }

  V lookup(K key) const { return static_cast<V>(Pointer_Map::lookup(key)); } /* null when it is not there */
  V remove(K key) { return static_cast<V>(Pointer_Map::remove(key)); }       /* the value taken out, or null */
};

}  // namespace kelvane

#endif
