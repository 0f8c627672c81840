/*
 * Descriptors choose how a container is built. A keyed set is described by a Set_Desc, a sequence by a
 * Seq_Desc.
 */
#ifndef KELVANE_DESCRIPTOR_H
#define KELVANE_DESCRIPTOR_H

#include <kelvane/container.h>

inline namespace kelvane {

/* How keys are compared and hashed. Objects of this kind must outlive every set, also while the process ends:
 * make them constants, or never destroy them. */
class KV_EXPORT Key_Methods {
 public:
  virtual int compare(const void* first, const void* second) const = 0; /* -1, 0 or 1 */
  virtual unsigned hash(const void* key) const = 0;                     /* equal keys, equal hashes */

 protected:
  ~Key_Methods() = default;
};

/* Where the key of an element is. The same lifetime rule. */
class KV_EXPORT Elem_Methods {
 public:
  virtual const void* key(const void* element) const = 0;

 protected:
  ~Elem_Methods() = default;
};

/* A set of elements with different keys. It owns none of them. */
class KV_EXPORT Keyed_Set {
 public:
  Keyed_Set() = default;
  virtual ~Keyed_Set();
  Keyed_Set(const Keyed_Set&) = delete;
  Keyed_Set& operator=(const Keyed_Set&) = delete;

  static void* operator new(size_t size);
  static void operator delete(void* block);

  /* Inserts an element and returns it. When the key is there already, the element takes the old one's place
   * (with replace) or stays outside (without); the old element is returned. */
  virtual void* insert(void* element, bool replace) = 0;

  virtual void* lookup(const void* key) const = 0; /* null when it is not there */
  virtual void* remove(const void* key) = 0;       /* the element that was taken out, or null */
  virtual size_t count() const = 0;

  /* Positions for going through the set in its order; a position may be empty (null). */
  virtual size_t positions() const = 0;
  virtual void* at(size_t position) const = 0;
};

class KV_EXPORT Set_Desc : public Bone {
 public:
  ~Set_Desc() override;

  /* A new, empty set, owned by the caller. */
  virtual Keyed_Set* operator()(const Elem_Methods& elements, const Key_Methods& keys) const = 0;

  /* A new copy of the descriptor. */
  virtual Set_Desc* spawn() const = 0;
};

/* Describes sets that are in the order of their keys. */
class KV_EXPORT Ord_Set_Desc : public Set_Desc {
 public:
  ~Ord_Set_Desc() override;
};

class KV_EXPORT Seq_Desc : public Bone {
 public:
  ~Seq_Desc() override;

  /* A new, empty sequence, owned by the caller; the methods do not matter. */
  virtual Sequence* operator()(const Elem_Methods& elements, const Key_Methods& keys) const;
  virtual Sequence* make() const;

  virtual Seq_Desc* spawn() const = 0;
};

/* Both lists append and give their elements out from the first. */
class KV_EXPORT Use_Stack_List final : public Seq_Desc {
 public:
  ~Use_Stack_List() override;
  Use_Stack_List* spawn() const override;
};

class KV_EXPORT Use_Queue_List final : public Seq_Desc {
 public:
  ~Use_Queue_List() override;
  Use_Queue_List* spawn() const override;
};

class KV_EXPORT Use_Ord_List final : public Ord_Set_Desc {
 public:
  ~Use_Ord_List() override;
  Keyed_Set* operator()(const Elem_Methods& elements, const Key_Methods& keys) const override;
  Use_Ord_List* spawn() const override;

  /* Without keys there is no order but that of insertion. */
  Sequence* make() const;
};

/* Both hashes are in the order of insertion and grow beyond the size that is expected. */
class KV_EXPORT Use_Close_Hash final : public Set_Desc {
 public:
  explicit Use_Close_Hash(int size) : size_(size) {}
  ~Use_Close_Hash() override;
  Keyed_Set* operator()(const Elem_Methods& elements, const Key_Methods& keys) const override;
  Use_Close_Hash* spawn() const override;

  int size() const { return size_; }

 private:
  int size_;
};

class KV_EXPORT Use_Open_Hash final : public Set_Desc {
 public:
  explicit Use_Open_Hash(int size) : size_(size) {}
  ~Use_Open_Hash() override;
  Keyed_Set* operator()(const Elem_Methods& elements, const Key_Methods& keys) const override;
  Use_Open_Hash* spawn() const override;

  int size() const { return size_; }

 private:
  int size_;
};

}  // namespace kelvane

#endif
