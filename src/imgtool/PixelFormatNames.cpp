#include <array>
#include <string_view>
#include <utility>

#include "LumoExport.h"
#include "PixelFormats.h"

namespace VEXOGENICAM {

namespace {

// Every code the conversions know, by its PFNC name; kept beside the
// constants so a new format cannot be added without its name.
constexpr std::pair<std::uint64_t, const char*> kNames[] = {
    {PF_Mono8, "Mono8"},
    {PF_Mono8s, "Mono8s"},
    {PF_BayerGR8, "BayerGR8"},
    {PF_BayerRG8, "BayerRG8"},
    {PF_BayerGB8, "BayerGB8"},
    {PF_BayerBG8, "BayerBG8"},
    {PF_BayerGR4p, "BayerGR4p"},
    {PF_BayerRG4p, "BayerRG4p"},
    {PF_BayerGB4p, "BayerGB4p"},
    {PF_BayerBG4p, "BayerBG4p"},
    {PF_Mono10p, "Mono10p"},
    {PF_Mono12p, "Mono12p"},
    {PF_Mono14p, "Mono14p"},
    {PF_BayerBG10p, "BayerBG10p"},
    {PF_BayerGB10p, "BayerGB10p"},
    {PF_BayerGR10p, "BayerGR10p"},
    {PF_BayerRG10p, "BayerRG10p"},
    {PF_BayerBG12p, "BayerBG12p"},
    {PF_BayerGB12p, "BayerGB12p"},
    {PF_BayerGR12p, "BayerGR12p"},
    {PF_BayerRG12p, "BayerRG12p"},
    {PF_BayerGR14p, "BayerGR14p"},
    {PF_BayerRG14p, "BayerRG14p"},
    {PF_BayerGB14p, "BayerGB14p"},
    {PF_BayerBG14p, "BayerBG14p"},
    {PF_Mono10Packed, "Mono10Packed"},
    {PF_Mono12Packed, "Mono12Packed"},
    {PF_BayerGR10Packed, "BayerGR10Packed"},
    {PF_BayerRG10Packed, "BayerRG10Packed"},
    {PF_BayerGB10Packed, "BayerGB10Packed"},
    {PF_BayerBG10Packed, "BayerBG10Packed"},
    {PF_BayerGR12Packed, "BayerGR12Packed"},
    {PF_BayerRG12Packed, "BayerRG12Packed"},
    {PF_BayerGB12Packed, "BayerGB12Packed"},
    {PF_BayerBG12Packed, "BayerBG12Packed"},
    {PF_Mono10, "Mono10"},
    {PF_Mono12, "Mono12"},
    {PF_Mono16, "Mono16"},
    {PF_Mono14, "Mono14"},
    {PF_BayerGR10, "BayerGR10"},
    {PF_BayerRG10, "BayerRG10"},
    {PF_BayerGB10, "BayerGB10"},
    {PF_BayerBG10, "BayerBG10"},
    {PF_BayerGR12, "BayerGR12"},
    {PF_BayerRG12, "BayerRG12"},
    {PF_BayerGB12, "BayerGB12"},
    {PF_BayerBG12, "BayerBG12"},
    {PF_BayerGR16, "BayerGR16"},
    {PF_BayerRG16, "BayerRG16"},
    {PF_BayerGB16, "BayerGB16"},
    {PF_BayerBG16, "BayerBG16"},
    {PF_BayerGR14, "BayerGR14"},
    {PF_BayerRG14, "BayerRG14"},
    {PF_BayerGB14, "BayerGB14"},
    {PF_BayerBG14, "BayerBG14"},
    {PF_YUV411_8_UYYVYY, "YUV411_8_UYYVYY"},
    {PF_YUV422_8_UYVY, "YUV422_8_UYVY"},
    {PF_YUV422_8, "YUV422_8"},
    {PF_YCbCr422_8, "YCbCr422_8"},
    {PF_YCbCr709_422_8, "YCbCr709_422_8"},
    {PF_RGB565p, "RGB565p"},
    {PF_BGR565p, "BGR565p"},
    {PF_RGB8, "RGB8"},
    {PF_BGR8, "BGR8"},
    {PF_YUV8_UYV, "YUV8_UYV"},
    {PF_YCbCr709_8_CbYCr, "YCbCr709_8_CbYCr"},
};

}  // namespace

const char* PixelFormatName(std::uint64_t code) {
    for (const auto& [value, name] : kNames) {
        if (value == code) {
            return name;
        }
    }
    return nullptr;
}

std::uint64_t PixelFormatCode(const char* name) {
    if (name == nullptr) {
        return 0;
    }
    for (const auto& [value, known] : kNames) {
        if (std::string_view(known) == name) {
            return value;
        }
    }
    return 0;
}

}  // namespace VEXOGENICAM
