// The frame of the look behind text, where the region is left without a fault that is to be completed.
#include <kelvane/seh.h>

#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Probe_Frame : public Fronts {
 protected:
  ~Probe_Frame() override { on_guarded_begin(nullptr); }

  std::string stored() const { return call()["data"].bytes; }
};

TEST_F(Probe_Frame, ThatIsLeftWithoutAFaultIsNotCompletedAndTheSizeStays) {
  on_guarded_begin([](SehFrame* frame) {
    frame->must_complete = 0;
    siglongjmp(frame->context, 1);
  });
  EXPECT_EQ(RegSetValueExA(key, "n", 0, REG_SZ, reinterpret_cast<const BYTE*>("abc"), 3), 0);
  EXPECT_EQ(guarded_regions(), "begin ");
  EXPECT_EQ(stored(), "\0a\0b\0c"s);
}

TEST_F(Probe_Frame, OfWideTextThatIsLeftWithoutAFaultIsNotCompletedAndTheSizeStays) {
  on_guarded_begin([](SehFrame* frame) {
    frame->must_complete = 0;
    siglongjmp(frame->context, 1);
  });
  EXPECT_EQ(RegSetValueExW(key, L"n", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"abc"), 12), 0);
  EXPECT_EQ(guarded_regions(), "begin ");
  EXPECT_EQ(stored(), "\0a\0b\0c"s);
}

}  // namespace
}  // namespace kvtest
