#pragma once

#include <cstdint>

#include "LumoExport.h"

// PFNC codes of the pixel formats the conversion subsystem recognises. Formats
// travel as plain 64-bit integers, exactly as the camera reports them.
namespace VEXOGENICAM {

inline constexpr std::uint64_t PF_Mono8 = 0x01080001;
inline constexpr std::uint64_t PF_Mono8s = 0x01080002;
inline constexpr std::uint64_t PF_BayerGR8 = 0x01080008;
inline constexpr std::uint64_t PF_BayerRG8 = 0x01080009;
inline constexpr std::uint64_t PF_BayerGB8 = 0x0108000A;
inline constexpr std::uint64_t PF_BayerBG8 = 0x0108000B;

inline constexpr std::uint64_t PF_BayerGR4p = 0x0104010D;
inline constexpr std::uint64_t PF_BayerRG4p = 0x0104010E;
inline constexpr std::uint64_t PF_BayerGB4p = 0x0104010F;
inline constexpr std::uint64_t PF_BayerBG4p = 0x01040110;

inline constexpr std::uint64_t PF_Mono10p = 0x010A0046;
inline constexpr std::uint64_t PF_Mono12p = 0x010C0047;
inline constexpr std::uint64_t PF_Mono14p = 0x010E0104;
inline constexpr std::uint64_t PF_BayerBG10p = 0x010A0052;
inline constexpr std::uint64_t PF_BayerGB10p = 0x010A0054;
inline constexpr std::uint64_t PF_BayerGR10p = 0x010A0056;
inline constexpr std::uint64_t PF_BayerRG10p = 0x010A0058;
inline constexpr std::uint64_t PF_BayerBG12p = 0x010C0053;
inline constexpr std::uint64_t PF_BayerGB12p = 0x010C0055;
inline constexpr std::uint64_t PF_BayerGR12p = 0x010C0057;
inline constexpr std::uint64_t PF_BayerRG12p = 0x010C0059;
inline constexpr std::uint64_t PF_BayerGR14p = 0x010E0105;
inline constexpr std::uint64_t PF_BayerRG14p = 0x010E0106;
inline constexpr std::uint64_t PF_BayerGB14p = 0x010E0107;
inline constexpr std::uint64_t PF_BayerBG14p = 0x010E0108;

inline constexpr std::uint64_t PF_Mono10Packed = 0x010C0004;
inline constexpr std::uint64_t PF_Mono12Packed = 0x010C0006;
inline constexpr std::uint64_t PF_BayerGR10Packed = 0x010C0026;
inline constexpr std::uint64_t PF_BayerRG10Packed = 0x010C0027;
inline constexpr std::uint64_t PF_BayerGB10Packed = 0x010C0028;
inline constexpr std::uint64_t PF_BayerBG10Packed = 0x010C0029;
inline constexpr std::uint64_t PF_BayerGR12Packed = 0x010C002A;
inline constexpr std::uint64_t PF_BayerRG12Packed = 0x010C002B;
inline constexpr std::uint64_t PF_BayerGB12Packed = 0x010C002C;
inline constexpr std::uint64_t PF_BayerBG12Packed = 0x010C002D;

inline constexpr std::uint64_t PF_Mono10 = 0x01100003;
inline constexpr std::uint64_t PF_Mono12 = 0x01100005;
inline constexpr std::uint64_t PF_Mono16 = 0x01100007;
inline constexpr std::uint64_t PF_Mono14 = 0x01100025;
inline constexpr std::uint64_t PF_BayerGR10 = 0x0110000C;
inline constexpr std::uint64_t PF_BayerRG10 = 0x0110000D;
inline constexpr std::uint64_t PF_BayerGB10 = 0x0110000E;
inline constexpr std::uint64_t PF_BayerBG10 = 0x0110000F;
inline constexpr std::uint64_t PF_BayerGR12 = 0x01100010;
inline constexpr std::uint64_t PF_BayerRG12 = 0x01100011;
inline constexpr std::uint64_t PF_BayerGB12 = 0x01100012;
inline constexpr std::uint64_t PF_BayerBG12 = 0x01100013;
inline constexpr std::uint64_t PF_BayerGR16 = 0x0110002E;
inline constexpr std::uint64_t PF_BayerRG16 = 0x0110002F;
inline constexpr std::uint64_t PF_BayerGB16 = 0x01100030;
inline constexpr std::uint64_t PF_BayerBG16 = 0x01100031;
inline constexpr std::uint64_t PF_BayerGR14 = 0x01100109;
inline constexpr std::uint64_t PF_BayerRG14 = 0x0110010A;
inline constexpr std::uint64_t PF_BayerGB14 = 0x0110010B;
inline constexpr std::uint64_t PF_BayerBG14 = 0x0110010C;

inline constexpr std::uint64_t PF_YUV411_8_UYYVYY = 0x020C001E;
inline constexpr std::uint64_t PF_YUV422_8_UYVY = 0x0210001F;
inline constexpr std::uint64_t PF_YUV422_8 = 0x02100032;
inline constexpr std::uint64_t PF_YCbCr422_8 = 0x0210003B;
inline constexpr std::uint64_t PF_YCbCr709_422_8 = 0x02100041;
inline constexpr std::uint64_t PF_RGB565p = 0x02100035;
inline constexpr std::uint64_t PF_BGR565p = 0x02100036;
inline constexpr std::uint64_t PF_RGB8 = 0x02180014;
inline constexpr std::uint64_t PF_BGR8 = 0x02180015;
inline constexpr std::uint64_t PF_YUV8_UYV = 0x02180020;
inline constexpr std::uint64_t PF_YCbCr709_8_CbYCr = 0x02180040;

// The PFNC name of a code listed above ("BayerRG12p"), or nullptr for any other
// code. The pointer is to static storage.
LUMO_API const char* PixelFormatName(std::uint64_t code);

// The code of a PFNC name listed above, or 0 when the name is not one of them.
LUMO_API std::uint64_t PixelFormatCode(const char* name);

}  // namespace VEXOGENICAM
