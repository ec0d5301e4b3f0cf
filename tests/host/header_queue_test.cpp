#include "host/cgi/header_queue.h"

#include <gtest/gtest.h>

namespace kest {
namespace {

TEST(HeaderQueueTest, ANulInANameOrAValueIsRefused) {
  HeaderQueue queue;
  EXPECT_FALSE(queue.Add(std::string_view("X\0Y", 3), "1"));
  EXPECT_FALSE(queue.Add(std::string_view("\0", 1), "1"));
  EXPECT_FALSE(queue.Add("X", std::string_view("1\0", 2)));
  EXPECT_EQ("\r\n", queue.TakeBlock());
}

}  // namespace
}  // namespace kest
