#include "SimpleLog.h"

#include <gtest/gtest.h>

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

    // Splits "VEXOGENICAM.[<us>].<text>\n" into its difference and text; false
    // when the line has another shape.
    static bool ParseLine(const std::string& line, unsigned long long& us, std::string& text) {
        const std::string prefix = "VEXOGENICAM.[";
        const size_t close = line.find("].");
        if (line.rfind(prefix, 0) != 0 || close == std::string::npos || line.back() != '\n') {
            return false;
        }
        const std::string digits = line.substr(prefix.size(), close - prefix.size());
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
            return false;
        }
        us = std::stoull(digits);
        text = line.substr(close + 2, line.size() - close - 3);
        return true;
    }

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
    unsigned long long us = 0;
    std::string text;
    ASSERT_TRUE(ParseLine(second, us, text)) << second;
    EXPECT_EQ(text, "next");
    EXPECT_GE(us, 1532u);
    EXPECT_LT(us, 1532u + 5000000u);
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
    const std::string lines[] = {Capture([] { SimpleLog("a", 1, 2); }),
                                 Capture([] { SimpleLog("a", 1, 2, 3); }),
                                 Capture([] { SimpleLog("a", 1, 2, 3, 4); }),
                                 Capture([] { SimpleLog("a", 1, 2, 3, 4, 5); })};
    for (const std::string& line : lines) {
        unsigned long long us = 0;
        std::string text = "unset";
        EXPECT_TRUE(ParseLine(line, us, text)) << line;
        EXPECT_EQ(text, "") << line;
    }
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
