#include <gtest/gtest.h>

#include "CImgTool.h"
#include "ImageTool.h"
#include "PixelFormats.h"

namespace {

using namespace VEXOGENICAM;

struct Sized {
    std::uint64_t bits, channels, payload;
};

Sized Free(std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    Sized s{};
    PayloadCalc(w, h, pf, s.bits, s.channels, s.payload);
    return s;
}

Sized Member(std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    Sized s{};
    CImgTool(false).PayloadCalc(w, h, pf, s.bits, s.channels, s.payload);
    return s;
}

TEST(PayloadCalc, TruncatesAndGroupsAsTheFormatsDo) {
    struct Case {
        std::uint64_t w, h, pf, channels, payload;
    };
    const Case cases[] = {
        {3, 1, PF_Mono12p, 1, 4},
        {3, 1, PF_Mono10Packed, 1, 4},
        {5, 1, PF_BayerRG4p, 3, 2},
        {4, 4, 0x01080003, 1, 0},
        {7, 3, PF_BGR8, 3, 63},
        {7, 3, PF_RGB8, 3, 63},
        {7, 3, PF_Mono8s, 1, 21},
        {3, 1, PF_Mono10p, 1, 3},
        {3, 1, PF_Mono14p, 1, 5},
        {3, 3, PF_BayerGB14p, 3, 15},
        {5, 1, PF_BayerBG12Packed, 3, 7},
        {2, 2, PF_BayerBG14, 3, 8},
        {2, 2, PF_BayerGR16, 3, 8},
        {5, 1, PF_YUV411_8_UYYVYY, 3, 7},
        {2, 1, PF_YCbCr709_422_8, 3, 4},
        {2, 1, PF_BGR565p, 3, 4},
        {1, 1, PF_YCbCr709_8_CbYCr, 3, 3},
        {0, 9, PF_Mono8, 1, 0},
        {2, 2, PF_Mono14, 1, 8},
        {2, 2, PF_BayerBG8, 3, 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.pf);
        for (const Sized s : {Free(c.w, c.h, c.pf), Member(c.w, c.h, c.pf)}) {
            EXPECT_EQ(s.bits, 8u);
            EXPECT_EQ(s.channels, c.channels);
            EXPECT_EQ(s.payload, c.payload);
        }
    }
}

}  // namespace
