// The code of every status of the store.
#include "impl/inproc/status_code.h"

#include <gtest/gtest.h>

namespace {

using hive::Status;
using impl::code_of;

TEST(StatusCode, IsThePublishedCodeOfEachStatus) {
  EXPECT_EQ(code_of(Status::ok), 0u);
  EXPECT_EQ(code_of(Status::more_data), 234u);
  EXPECT_EQ(code_of(Status::no_more_items), 259u);
  EXPECT_EQ(code_of(Status::not_found), 2u);
  EXPECT_EQ(code_of(Status::denied), 5u);
  EXPECT_EQ(code_of(Status::invalid), 87u);
  EXPECT_EQ(code_of(Status::has_children), 5u);
  EXPECT_EQ(code_of(Status::key_deleted), 1018u);
  EXPECT_EQ(code_of(Status::must_be_volatile), 1021u);
  EXPECT_EQ(code_of(Status::too_large), 87u);
  EXPECT_EQ(code_of(Status::exists), 183u);
  EXPECT_EQ(code_of(Status::busy), 170u);
  EXPECT_EQ(code_of(Status::disk_full), 112u);
  EXPECT_EQ(code_of(Status::damaged), 1009u);
  EXPECT_EQ(code_of(Status::not_a_hive), 1017u);
  EXPECT_EQ(code_of(Status::newer_version), 1017u);
  EXPECT_EQ(code_of(Status::io_failed), 1016u);
  EXPECT_EQ(code_of(Status::no_memory), 8u);
  EXPECT_EQ(code_of(Status::unsupported), 120u);
  EXPECT_EQ(code_of(Status::no_batch), 6701u);
  EXPECT_EQ(code_of(Status::in_batch), 6702u);
  EXPECT_EQ(code_of(Status::batch_lost), 6704u);
  EXPECT_EQ(code_of(Status::not_tried), 995u);
}

}  // namespace
