// From its start on, somebody looks at the fronts of this program, as a tracer does it.
#include <gtest/gtest.h>

#include "registry/front_trace.h"

namespace {

struct Looking {
  Looking() { ++kelvane_front__entry_semaphore; }
};

const Looking looking;

TEST(Watched, AreTheFrontsOfThisProgram) { EXPECT_TRUE(is_front_watched()); }

}  // namespace
