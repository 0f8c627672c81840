/*
 * Bone, the base of every object that start-up, profiles and frames are built of, and the global state of the
 * object model.
 *
 * Objects made with new come zeroed from the base library's own heap and go back to it, whichever library
 * makes or deletes them. The object model has no locks: an object belongs to one thread at a time.
 */
#ifndef KELVANE_BONE_H
#define KELVANE_BONE_H

#include <windef.h>

inline namespace kelvane {

class kvostream;
class Sequence;

/* A derived class has Bone as its first base. */
class KV_EXPORT Bone {
 public:
  Bone() = default;
  Bone(const Bone&) = default;
  Bone& operator=(const Bone&) = default;
  virtual ~Bone();

  /* Destroys this object with everything it owns; by default the object alone. */
  virtual void delete_tree();

  virtual bool is_atom() const;

  /* Writes the object as text that the readers understand; by default nothing. */
  virtual void write(kvostream& stream) const;

  static void* operator new(size_t size);
  static void operator delete(void* block);

  /* With an owner the object is also appended to that sequence (null: to none), which is to delete it. When
   * the constructor throws, the owner forgets it again. */
  static void* operator new(size_t size, Sequence* owner);
  static void operator delete(void* block, Sequence* owner);
};

/* No object. */
extern KV_EXPORT Bone* const Nil;

/* 1 before the first and 0 after the last use of the object model; may be called repeatedly. */
KV_EXPORT void global_init(int on);

/* What a library that uses the object model holds from its start to its end. The memory is the holder's. */
class KV_EXPORT Clb_Globals {
 public:
  Clb_Globals();
  ~Clb_Globals();
  Clb_Globals(const Clb_Globals&) = delete;
  Clb_Globals& operator=(const Clb_Globals&) = delete;
};

}  // namespace kelvane

#endif
