#include "SimpleLog.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

using namespace VEXOGENICAM;

namespace {

class SimpleLogTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_nSimpleLogType = 3;
        g_SimpleLogLastTick = 0;
    }
    void TearDown() override { g_nSimpleLogType = 3; }

    template <typename F>
    static std::string Capture(F&& f) {
        ::testing::internal::CaptureStdout();
        f();
        return ::testing::internal::GetCapturedStdout();
    }
};

}  // namespace

TEST_F(SimpleLogTest, FirstLineHasZeroDifferenceThenElapsedMicroseconds) {
    const std::string first = Capture([] { SimpleLog("CCLCamera::OpenAction start"); });
    EXPECT_EQ(first, "VEXOGENICAM.[0].CCLCamera::OpenAction start\n");
    const unsigned long long tick = g_SimpleLogLastTick;
    EXPECT_NE(tick, 0u);

    g_SimpleLogLastTick = tick - 1532;  // pretend the previous line was 1532 us ago
    const std::string second = Capture([] { SimpleLog("next"); });
    std::smatch m;
    ASSERT_TRUE(std::regex_match(second, m, std::regex(R"(VEXOGENICAM\.\[(\d+)\]\.next\n)")));
    EXPECT_GE(std::stoull(m[1]), 1532u);
    EXPECT_LT(std::stoull(m[1]), 1532u + 5000000u);
}

TEST_F(SimpleLogTest, DisabledOrNullPrintsNothingAndKeepsTheTick) {
    g_nSimpleLogType = 0;
    EXPECT_EQ(Capture([] { SimpleLog("x"); }), "");
    EXPECT_EQ(g_SimpleLogLastTick, 0u);
    EXPECT_EQ(Capture([] { _log("raw"); }), "");

    g_nSimpleLogType = 1;
    EXPECT_EQ(Capture([] { SimpleLog(nullptr); }), "");
    EXPECT_EQ(g_SimpleLogLastTick, 0u);
    EXPECT_EQ(Capture([] { _log("raw"); }), "raw\n");
}

TEST_F(SimpleLogTest, NumberVariantsPrintTheNumberOrNothing) {
    EXPECT_EQ(Capture([] { SimpleLog("a", 7); }), "VEXOGENICAM.[0].VEXOGENICAM:7\n");
    const std::regex emptyText(R"(VEXOGENICAM\.\[\d+\]\.\n)");
    EXPECT_TRUE(std::regex_match(Capture([] { SimpleLog("a", 1, 2); }), emptyText));
    EXPECT_TRUE(std::regex_match(Capture([] { SimpleLog("a", 1, 2, 3); }), emptyText));
    EXPECT_TRUE(std::regex_match(Capture([] { SimpleLog("a", 1, 2, 3, 4); }), emptyText));
    EXPECT_TRUE(std::regex_match(Capture([] { SimpleLog("a", 1, 2, 3, 4, 5); }), emptyText));
}

TEST_F(SimpleLogTest, LongTextIsCutToTheLineBuffer) {
    const std::string longText(2000, 'y');
    const std::string out = Capture([&] { SimpleLog(longText.c_str()); });
    EXPECT_EQ(out.size(), 1023u + 1u);  // 1023 characters, the zero, then the newline
    EXPECT_EQ(out.rfind("VEXOGENICAM.[0].", 0), 0u);
}

TEST_F(SimpleLogTest, TickFunctionsAgree) {
    const unsigned long long us = _get_tick();
    const unsigned long long ms = GetTickCount64();
    EXPECT_NEAR(static_cast<double>(ms), static_cast<double>(us / 1000), 1000.0);
}
