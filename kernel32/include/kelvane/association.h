/* Associations, a value under a name, and sets of them. */
#ifndef KELVANE_ASSOCIATION_H
#define KELVANE_ASSOCIATION_H

#include <kelvane/atom.h>
#include <kelvane/descriptor.h>

inline namespace kelvane {

/* An object around another one, which may be null. delete_tree destroys both, the destructor this one alone. */
class KV_EXPORT Blanket : public Bone {
 public:
  explicit Blanket(Bone* value) : value_(value) {}
  ~Blanket() override;

  void delete_tree() override;
  void write(kvostream& stream) const override;

  Bone* value() const { return value_; }

 protected:
  Bone* value_;
};

/* Written as "(name value)"; delete_tree destroys key and value, too. */
class KV_EXPORT Association : public Blanket {
 public:
  Association(clAtom* key, Bone* value) : Blanket(value), key_(key) {}
  ~Association() override;

  void delete_tree() override;
  void write(kvostream& stream) const override;

  clAtom* key() const { return key_; }

 protected:
  clAtom* key_;
};

/* A set of associations with different keys. It owns none of them (delete_tree destroys them all). */
class KV_EXPORT Assoc : public Container {
 public:
  Assoc();
  ~Assoc() override;
  Assoc(const Assoc&) = delete;
  Assoc& operator=(const Assoc&) = delete;

  /* Prepares the set, which is empty then; insert comes after it. The key methods get pointers to clAtom and
   * must outlive the set. */
  void initiate(const Set_Desc& descriptor, const Key_Methods& keys);

  /* The inserted element; or, when its key was there already, the old element, whose place it took (with
   * replace) or left alone (without). */
  Association* insert(Association* element, bool replace);

  Association* lookup(const clAtom& key) const; /* null when it is not there */
  Association* remove(const clAtom& key);       /* the element that was taken out, or null */

  bool is_empty() const override;
  size_t count() const override;
  void apply(const Proc_Context& procedure) const override;

  /* The elements, each as it writes itself, with a blank between two. */
  void write(kvostream& stream) const override;

  /* Each element behind the indent and followed by the separator; a null indent is none. */
  void print(kvostream& stream, const char* indent, const char* separator) const;

 private:
  friend class Assoc_Iterator;
  Keyed_Set* set_;
};

/* Goes through the associations of a set in its order. */
class KV_EXPORT Assoc_Iterator {
 public:
  explicit Assoc_Iterator(const Assoc& associations) : associations_(associations) {}

  /* The next association; null behind the last. */
  Association* next();

 private:
  const Assoc& associations_;
  size_t position_ = 0;
};

}  // namespace kelvane

#endif
