// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include "kernel/interface_address.h"

namespace {

// Every network name space has the loopback, whose address is six zeros.
TEST(InterfaceMac, IsTheKernels) {
    uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
    constexpr uint8_t kLoopback[6] = {};
    testing::internal::CaptureStderr();
    EXPECT_TRUE(find_interface_mac("lo", mac));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(std::equal(std::begin(mac), std::end(mac), kLoopback));
    mac[0] = 1;
    EXPECT_TRUE(read_interface_mac("lo", mac));
    EXPECT_TRUE(std::equal(std::begin(mac), std::end(mac), kLoopback));
}

TEST(InterfaceMac, IsNoneWithoutTheInterface) {
    uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
    constexpr uint8_t kUntouched[6] = {1, 2, 3, 4, 5, 6};
    testing::internal::CaptureStderr();
    EXPECT_FALSE(find_interface_mac("none", mac));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    EXPECT_FALSE(read_interface_mac("none", mac));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(std::equal(std::begin(mac), std::end(mac), kUntouched));
}

}  // namespace
