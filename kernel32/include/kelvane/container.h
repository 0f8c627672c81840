/* Containers of bones, and what is applied to all their elements. */
#ifndef KELVANE_CONTAINER_H
#define KELVANE_CONTAINER_H

#include <kelvane/bone.h>

inline namespace kelvane {

/* A procedure for each element of a container, with a context pointer where it takes one. */
class Proc_Context {
 public:
  using Procedure = void (*)(Bone* element);
  using Procedure_With_Context = void (*)(Bone* element, void* context);

  Proc_Context(Procedure procedure) : procedure_(procedure) {}
  Proc_Context(Procedure_With_Context procedure, void* context) : with_context_(procedure), context_(context) {}

  void operator()(Bone* element) const {
    if (with_context_ != nullptr) {
      with_context_(element, context_);
    } else {
      procedure_(element);
    }
  }

 private:
  Procedure procedure_ = nullptr;
  Procedure_With_Context with_context_ = nullptr;
  void* context_ = nullptr;
};

/* Deletes an element through its virtual destructor; null is passed over. */
KV_EXPORT void Delete_Bones(Bone* element);

/* Destroys an element with everything it owns (an association with its key and value); null is passed over. */
KV_EXPORT void Key_Val_Delete_Tree(Bone* element);

/*
 * The common base of sequences and sets. A container does not own its elements: its destructor leaves them,
 * delete_tree destroys them, each by its own delete_tree, and then the container.
 */
class KV_EXPORT Container : public Bone {
 public:
  ~Container() override;

  virtual bool is_empty() const = 0;
  virtual size_t count() const = 0;

  /* Hands every element to the procedure, in order. The procedure may delete the element that it is given
   * (the container then holds what no longer exists: delete it next), and may add elements, which have their
   * turn too. */
  virtual void apply(const Proc_Context& procedure) const = 0;

  void delete_tree() override;
};

/* Elements in the order in which they were inserted. Null elements are allowed. Written as "(first second)". */
class KV_EXPORT Sequence : public Container {
 public:
  ~Sequence() override;

  /* Appends. */
  virtual void insert(Bone* element) = 0;

  /* Takes the first element out; false, and null, when there is none. */
  virtual bool remove_first(Bone*& out_element) = 0;

  /* Takes the last occurrence of an element out; false when it is not there. */
  virtual bool remove(const Bone* element) = 0;

  /* The element at a position counted from 0; null behind the end. */
  virtual Bone* at(size_t position) const = 0;

  void write(kvostream& stream) const override;
};

}  // namespace kelvane

#endif
