// What a handle stands for: something that can be waited for.
#ifndef KELVANE_KERNEL32_SYNC_KERNEL_OBJECT_H
#define KELVANE_KERNEL32_SYNC_KERNEL_OBJECT_H

inline namespace kelvane {

enum class Object_Kind { event, process };

// An object lives as long as its handle is open or somebody uses it, see Handle_Table. Its operations may be called
// from any thread.
class Kernel_Object {
 public:
  explicit Kernel_Object(Object_Kind kind) : kind_(kind) {}
  virtual ~Kernel_Object() = default;
  Kernel_Object(const Kernel_Object&) = delete;
  Kernel_Object& operator=(const Kernel_Object&) = delete;

  Object_Kind kind() const { return kind_; }

  // The descriptor that is readable while the object is signalled; -1 for an object that never is.
  virtual int descriptor() const = 0;

  // Whether that descriptor still leads to the object.
  virtual bool is_intact() const = 0;

  // A waiter takes the signal that it has seen. False when somebody else was faster, or the descriptor is gone.
  virtual bool take() = 0;

  // Undoes a take.
  virtual void give_back() = 0;

 private:
  friend class Handle_Table;

  Object_Kind kind_;
  int users_ = 0; /* the table, and each pin; under the table's lock */
};

}  // namespace kelvane

#endif
