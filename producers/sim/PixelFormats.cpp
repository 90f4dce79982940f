#include "PixelFormats.h"

#include <iterator>

namespace LumoSim {
namespace {

constexpr PixelFormatInfo kFormats[] = {
    {"Mono8", 0x01080001, Packing::Byte8, 8, Bayer::None, false},
    {"Mono8s", 0x01080002, Packing::Byte8, 8, Bayer::None, false},
    {"BayerGR8", 0x01080008, Packing::Byte8, 8, Bayer::GR, false},
    {"BayerRG8", 0x01080009, Packing::Byte8, 8, Bayer::RG, false},
    {"BayerGB8", 0x0108000A, Packing::Byte8, 8, Bayer::GB, false},
    {"BayerBG8", 0x0108000B, Packing::Byte8, 8, Bayer::BG, false},
    {"BayerGR4p", 0x0104010D, Packing::LsbStream, 4, Bayer::GR, false},
    {"BayerRG4p", 0x0104010E, Packing::LsbStream, 4, Bayer::RG, false},
    {"BayerGB4p", 0x0104010F, Packing::LsbStream, 4, Bayer::GB, false},
    {"BayerBG4p", 0x01040110, Packing::LsbStream, 4, Bayer::BG, false},
    {"Mono10p", 0x010A0046, Packing::LsbStream, 10, Bayer::None, false},
    {"Mono12p", 0x010C0047, Packing::LsbStream, 12, Bayer::None, false},
    {"Mono14p", 0x010E0104, Packing::LsbStream, 14, Bayer::None, false},
    {"BayerBG10p", 0x010A0052, Packing::LsbStream, 10, Bayer::BG, false},
    {"BayerGB10p", 0x010A0054, Packing::LsbStream, 10, Bayer::GB, false},
    {"BayerGR10p", 0x010A0056, Packing::LsbStream, 10, Bayer::GR, false},
    {"BayerRG10p", 0x010A0058, Packing::LsbStream, 10, Bayer::RG, false},
    {"BayerBG12p", 0x010C0053, Packing::LsbStream, 12, Bayer::BG, false},
    {"BayerGB12p", 0x010C0055, Packing::LsbStream, 12, Bayer::GB, false},
    {"BayerGR12p", 0x010C0057, Packing::LsbStream, 12, Bayer::GR, false},
    {"BayerRG12p", 0x010C0059, Packing::LsbStream, 12, Bayer::RG, false},
    {"BayerGR14p", 0x010E0105, Packing::LsbStream, 14, Bayer::GR, false},
    {"BayerRG14p", 0x010E0106, Packing::LsbStream, 14, Bayer::RG, false},
    {"BayerGB14p", 0x010E0107, Packing::LsbStream, 14, Bayer::GB, false},
    {"BayerBG14p", 0x010E0108, Packing::LsbStream, 14, Bayer::BG, false},
    {"Mono10Packed", 0x010C0004, Packing::GevPacked, 10, Bayer::None, false},
    {"Mono12Packed", 0x010C0006, Packing::GevPacked, 12, Bayer::None, false},
    {"BayerGR10Packed", 0x010C0026, Packing::GevPacked, 10, Bayer::GR, false},
    {"BayerRG10Packed", 0x010C0027, Packing::GevPacked, 10, Bayer::RG, false},
    {"BayerGB10Packed", 0x010C0028, Packing::GevPacked, 10, Bayer::GB, false},
    {"BayerBG10Packed", 0x010C0029, Packing::GevPacked, 10, Bayer::BG, false},
    {"BayerGR12Packed", 0x010C002A, Packing::GevPacked, 12, Bayer::GR, false},
    {"BayerRG12Packed", 0x010C002B, Packing::GevPacked, 12, Bayer::RG, false},
    {"BayerGB12Packed", 0x010C002C, Packing::GevPacked, 12, Bayer::GB, false},
    {"BayerBG12Packed", 0x010C002D, Packing::GevPacked, 12, Bayer::BG, false},
    {"Mono10", 0x01100003, Packing::Word16, 10, Bayer::None, false},
    {"Mono12", 0x01100005, Packing::Word16, 12, Bayer::None, false},
    {"Mono16", 0x01100007, Packing::Word16, 16, Bayer::None, false},
    {"Mono14", 0x01100025, Packing::Word16, 14, Bayer::None, false},
    {"BayerGR10", 0x0110000C, Packing::Word16, 10, Bayer::GR, false},
    {"BayerRG10", 0x0110000D, Packing::Word16, 10, Bayer::RG, false},
    {"BayerGB10", 0x0110000E, Packing::Word16, 10, Bayer::GB, false},
    {"BayerBG10", 0x0110000F, Packing::Word16, 10, Bayer::BG, false},
    {"BayerGR12", 0x01100010, Packing::Word16, 12, Bayer::GR, false},
    {"BayerRG12", 0x01100011, Packing::Word16, 12, Bayer::RG, false},
    {"BayerGB12", 0x01100012, Packing::Word16, 12, Bayer::GB, false},
    {"BayerBG12", 0x01100013, Packing::Word16, 12, Bayer::BG, false},
    {"BayerGR16", 0x0110002E, Packing::Word16, 16, Bayer::GR, false},
    {"BayerRG16", 0x0110002F, Packing::Word16, 16, Bayer::RG, false},
    {"BayerGB16", 0x01100030, Packing::Word16, 16, Bayer::GB, false},
    {"BayerBG16", 0x01100031, Packing::Word16, 16, Bayer::BG, false},
    {"BayerGR14", 0x01100109, Packing::Word16, 14, Bayer::GR, false},
    {"BayerRG14", 0x0110010A, Packing::Word16, 14, Bayer::RG, false},
    {"BayerGB14", 0x0110010B, Packing::Word16, 14, Bayer::GB, false},
    {"BayerBG14", 0x0110010C, Packing::Word16, 14, Bayer::BG, false},
    {"YUV411_8_UYYVYY", 0x020C001E, Packing::Uyyvyy, 8, Bayer::None, false},
    {"YUV422_8_UYVY", 0x0210001F, Packing::Uyvy, 8, Bayer::None, false},
    {"YUV422_8", 0x02100032, Packing::Yuyv, 8, Bayer::None, false},
    {"YCbCr422_8", 0x0210003B, Packing::Yuyv, 8, Bayer::None, false},
    {"YCbCr709_422_8", 0x02100041, Packing::Yuyv, 8, Bayer::None, true},
    {"RGB565p", 0x02100035, Packing::Rgb565, 8, Bayer::None, false},
    {"BGR565p", 0x02100036, Packing::Bgr565, 8, Bayer::None, false},
    {"RGB8", 0x02180014, Packing::Rgb8, 8, Bayer::None, false},
    {"BGR8", 0x02180015, Packing::Bgr8, 8, Bayer::None, false},
    {"YUV8_UYV", 0x02180020, Packing::Uyv, 8, Bayer::None, false},
    {"YCbCr709_8_CbYCr", 0x02180040, Packing::CbYCr, 8, Bayer::None, true},
};

}  // namespace

const PixelFormatInfo* PixelFormatTable(size_t& count) {
    count = std::size(kFormats);
    return kFormats;
}

const PixelFormatInfo* FindPixelFormat(uint32_t code) {
    for (const auto& f : kFormats) {
        if (f.code == code) {
            return &f;
        }
    }
    return nullptr;
}

const PixelFormatInfo* FindPixelFormat(const std::string& name) {
    for (const auto& f : kFormats) {
        if (name == f.name) {
            return &f;
        }
    }
    return nullptr;
}

uint64_t FrameBytes(const PixelFormatInfo& fmt, uint64_t pixels) {
    switch (fmt.packing) {
        case Packing::Byte8:
            return pixels;
        case Packing::Word16:
        case Packing::Rgb565:
        case Packing::Bgr565:
        case Packing::Uyvy:
        case Packing::Yuyv:
            return pixels * 2;
        case Packing::LsbStream:
            return (pixels * static_cast<uint64_t>(fmt.bits)) >> 3;
        case Packing::GevPacked:
        case Packing::Uyyvyy:
            return (pixels * 3) >> 1;
        case Packing::Rgb8:
        case Packing::Bgr8:
        case Packing::Uyv:
        case Packing::CbYCr:
            return pixels * 3;
    }
    return 0;
}

}  // namespace LumoSim
