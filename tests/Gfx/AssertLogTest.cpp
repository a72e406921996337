#include <gtest/gtest.h>

#include "Gfx/Assert.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

TEST(AssertDeathTest, MessageNamesExpressionAndShortPath) {
    const int camera = 2, Camera = 1;
    EXPECT_DEATH(AE_ASSERT(camera == Camera),
        "^Assertion camera == Camera failed at Gfx/AssertLogTest:[0-9]+\n");
    EXPECT_DEATH(AE_UNREACHABLE(), "^Reached unreachable code at Gfx/AssertLogTest:[0-9]+\n");
}

TEST(LogTest, CaptureCollectsLinesPerChannelAndNests) {
    Log::Capture errors{Log::Channel::Error};
    {
        Log::Capture infos{Log::Channel::Info};
        Log::info("[baker] {} done!", "Reloading");
        Log::error("could not open {}", "a.png");
        EXPECT_EQ(infos.text(), "[baker] Reloading done!\n");
        {
            Log::Silence quiet;
            Log::info("hidden");
            Log::error("hidden");
        }
        EXPECT_FALSE(infos.contains("hidden"));
    }
    EXPECT_EQ(errors.text(), "could not open a.png\n");
}
