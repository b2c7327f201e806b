// The arithmetic of waits over a network link: line times, the round-trip estimate, how much a
// wait grows and how long a late reply is awaited.

#include "core/link/LinkTiming.h"

#include <gtest/gtest.h>

using namespace telvo::core;

TEST(LineTime, TenBitsAByteRoundedUp) {
    EXPECT_EQ(LineTimeMs(0, 19200), 0);
    EXPECT_EQ(LineTimeMs(8, 0), 0);
    EXPECT_EQ(LineTimeMs(1, 19200), 1); // 0.52 ms
    EXPECT_EQ(LineTimeMs(192, 19200), 100);
    EXPECT_EQ(LineTimeMs(193, 19200), 101);
    EXPECT_EQ(LineTimeMs(16, 9600), 17); // 16.7 ms
}

TEST(SlowestRecentAnswer, UnmeasuredUntilTheFirstSample) {
    SlowestRecentAnswer e;
    EXPECT_FALSE(e.measured());
    EXPECT_EQ(e.value(), 0);
    e.add(0);
    EXPECT_TRUE(e.measured());
    EXPECT_EQ(e.value(), 0);
}

TEST(SlowestRecentAnswer, TheSlowestRecentAnswerCountsAndIsForgottenAfterEightMore) {
    SlowestRecentAnswer e;
    e.add(200);
    EXPECT_EQ(e.value(), 200);
    e.add(390);
    e.add(250);
    EXPECT_EQ(e.value(), 390);
    for (int i = 0; i < SlowestRecentAnswer::kKept - 2; ++i)
        e.add(300);
    EXPECT_EQ(e.value(), 390); // the spike is still among the last eight
    e.add(300);
    EXPECT_EQ(e.value(), 300);
    EXPECT_EQ(e.samples(), SlowestRecentAnswer::kKept);
}

TEST(SlowestRecentAnswer, NegativeSamplesCountAsZeroAndClearForgetsAll) {
    SlowestRecentAnswer e;
    e.add(-5);
    EXPECT_EQ(e.value(), 0);
    e.add(120);
    e.clear();
    EXPECT_FALSE(e.measured());
    EXPECT_EQ(e.value(), 0);
}

TEST(WaitGrowth, LocalPortsKeepTheirWaitsExactly) {
    EXPECT_EQ(WaitGrowthMs(false, false, 0), 0);
    EXPECT_EQ(WaitGrowthMs(false, true, 300), 0);
}

TEST(WaitGrowth, NetworkPortsGrowByTheRoundTripAndHalfAgainUpToTheLimit) {
    EXPECT_EQ(WaitGrowthMs(true, false, 0), kWorkableRoundTripMs); // not yet measured
    EXPECT_EQ(WaitGrowthMs(true, true, 0), 0);
    EXPECT_EQ(WaitGrowthMs(true, true, 300), 450);
    EXPECT_EQ(WaitGrowthMs(true, true, 401), 601);
    EXPECT_EQ(WaitGrowthMs(true, true, 666), 999);
    EXPECT_EQ(WaitGrowthMs(true, true, 667), 1000);
    EXPECT_EQ(WaitGrowthMs(true, true, 5000), 1000);
}

TEST(LateWindow, AFrameGrownByTheLimitWaitsTheLimitAgain) {
    EXPECT_EQ(LateWindowMs(0), 100);
    EXPECT_EQ(LateWindowMs(450), 550);
    EXPECT_EQ(LateWindowMs(900), 1000);
    EXPECT_EQ(LateWindowMs(kWorkableRoundTripMs), 1000);
}
