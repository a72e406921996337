#include <gtest/gtest.h>

#include <thread>

#include "Engine/Clock.h"

TEST(ClockTest, MonotonicMicroseconds) {
    const auto a = ArdentisEngine::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    const auto b = ArdentisEngine::now();
    EXPECT_GE(b - a, 2000);
    EXPECT_LT(b - a, 2000000);
}
