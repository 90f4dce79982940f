#include "CImgTool.h"
#include "ImageTool.h"

namespace VEXOGENICAM {

namespace {
bool InRange(std::uint64_t v, std::uint64_t lo, std::uint64_t hi) {
    return v >= lo && v <= hi;
}
}  // namespace

void PayloadCalc(std::uint64_t width, std::uint64_t height, std::uint64_t pf,
                 std::uint64_t& bitsPerChannel, std::uint64_t& channelCount,
                 std::uint64_t& payloadSize) {
    const std::uint64_t p = width * height;
    bitsPerChannel = 8;
    channelCount = 1;
    payloadSize = 0;
    if (InRange(pf, 0x0104010D, 0x01040110)) {
        channelCount = 3;
        payloadSize = p >> 1;
    } else if (InRange(pf, 0x01080001, 0x01080002)) {
        payloadSize = p;
    } else if (InRange(pf, 0x01080008, 0x0108000B)) {
        channelCount = 3;
        payloadSize = p;
    } else if (pf == 0x010A0046) {
        payloadSize = (p * 10) >> 3;
    } else if (pf == 0x010A0052 || pf == 0x010A0054 || pf == 0x010A0056 || pf == 0x010A0058) {
        channelCount = 3;
        payloadSize = (p * 10) >> 3;
    } else if (pf == 0x010C0004 || pf == 0x010C0006) {
        payloadSize = (p * 3) >> 1;
    } else if (InRange(pf, 0x010C0026, 0x010C002D)) {
        channelCount = 3;
        payloadSize = (p * 3) >> 1;
    } else if (pf == 0x010C0047) {
        payloadSize = (p * 12) >> 3;
    } else if (pf == 0x010C0053 || pf == 0x010C0055 || pf == 0x010C0057 || pf == 0x010C0059) {
        channelCount = 3;
        payloadSize = (p * 12) >> 3;
    } else if (pf == 0x010E0104) {
        payloadSize = (p * 14) >> 3;
    } else if (InRange(pf, 0x010E0105, 0x010E0108)) {
        channelCount = 3;
        payloadSize = (p * 14) >> 3;
    } else if (pf == 0x01100003 || pf == 0x01100005 || pf == 0x01100007 || pf == 0x01100025) {
        payloadSize = p * 2;
    } else if (InRange(pf, 0x0110000C, 0x01100013) || InRange(pf, 0x0110002E, 0x01100031) ||
               InRange(pf, 0x01100109, 0x0110010C)) {
        channelCount = 3;
        payloadSize = p * 2;
    } else if (pf == 0x020C001E) {
        channelCount = 3;
        payloadSize = (p * 3) >> 1;
    } else if (pf == 0x0210001F || pf == 0x02100032 || pf == 0x02100035 || pf == 0x02100036 ||
               pf == 0x0210003B || pf == 0x02100041) {
        channelCount = 3;
        payloadSize = p * 2;
    } else if (pf == 0x02180014 || pf == 0x02180015 || pf == 0x02180020 || pf == 0x02180040) {
        channelCount = 3;
        payloadSize = p * 3;
    }
}

}  // namespace VEXOGENICAM

void CImgTool::PayloadCalc(std::uint64_t width, std::uint64_t height, std::uint64_t pixelFormat,
                           std::uint64_t& bitsPerChannel, std::uint64_t& channelCount,
                           std::uint64_t& payloadSize) {
    VEXOGENICAM::PayloadCalc(width, height, pixelFormat, bitsPerChannel, channelCount, payloadSize);
}
