/* Numbers of frames and lists. Both are written as decimal text that reads back as the same number. */
#ifndef KELVANE_NUMBER_H
#define KELVANE_NUMBER_H

#include <kelvane/bone.h>

inline namespace kelvane {

class KV_EXPORT Number : public Bone {
 public:
  ~Number() override;
  virtual double value() const = 0;
};

class KV_EXPORT Integer final : public Number {
 public:
  explicit Integer(int number) : number_(number) {}
  ~Integer() override;

  double value() const override;
  void write(kvostream& stream) const override;

 private:
  int number_;
};

class KV_EXPORT Real final : public Number {
 public:
  explicit Real(double number) : number_(number) {}
  ~Real() override;

  double value() const override;
  void write(kvostream& stream) const override;

 private:
  double number_;
};

}  // namespace kelvane

#endif
