#pragma once

#include <cstdint>

#include "LumoExport.h"

// Conversion routines of the camera path: source and destination are supplied
// by the caller, every routine reports success. Results are 8 bits per channel,
// rows back to back; colour results are blue, green, red except for the 5-6-5
// formats, which come out red, green, blue.
namespace ImageToolEx {

// Chroma contribution tables, indexed by a chroma byte: entry i holds the
// coefficient times (i - 128), truncated toward zero.
class LUMO_API YUVTable {
public:
    YUVTable();
    std::int32_t TR[256];
    std::int32_t TGv[256];
    std::int32_t TGu[256];
    std::int32_t TB[256];
};

class LUMO_API YCbCrTable {
public:
    YCbCrTable();
    std::int32_t TR[256];
    std::int32_t TGv[256];
    std::int32_t TGu[256];
    std::int32_t TB[256];
};

LUMO_API extern const YUVTable g_yuvTab;
LUMO_API extern const YCbCrTable g_ycbcrTab;

// Two-byte samples to their most significant 8 bits (shift by bits - 8).
LUMO_API bool TransDual(const unsigned short* source, unsigned char* destination,
                        std::uint64_t width, std::uint64_t height, int bits, bool nativeOrder);
// Two pixels in three bytes; the bit depth does not matter.
LUMO_API bool TransPacked(const unsigned char* source, unsigned char* destination,
                          std::uint64_t width, std::uint64_t height);
// Least-significant-bit-first bit stream of 10, 12 or 14 bits per sample.
LUMO_API bool TransMonoP(const unsigned char* source, unsigned char* destination,
                         std::uint64_t width, std::uint64_t height, int bits);

LUMO_API bool TransRGB(const unsigned char* source, unsigned char* destination, std::uint64_t width,
                       std::uint64_t height);
LUMO_API bool TransRGB565p(const unsigned short* source, unsigned char* destination,
                           std::uint64_t width, std::uint64_t height);
LUMO_API bool TransBGR565p(const unsigned short* source, unsigned char* destination,
                           std::uint64_t width, std::uint64_t height);

// Bilinear demosaicing with a cell-copy border; width and height must be >= 2.
LUMO_API bool TransBayerGR8(const unsigned char* source, unsigned char* destination,
                            std::uint64_t width, std::uint64_t height);
LUMO_API bool TransBayerRG8(const unsigned char* source, unsigned char* destination,
                            std::uint64_t width, std::uint64_t height);
LUMO_API bool TransBayerGB8(const unsigned char* source, unsigned char* destination,
                            std::uint64_t width, std::uint64_t height);
LUMO_API bool TransBayerBG8(const unsigned char* source, unsigned char* destination,
                            std::uint64_t width, std::uint64_t height);

LUMO_API bool TransYUV411_8_UYYVYY(const unsigned char* source, unsigned char* destination,
                                   std::uint64_t width, std::uint64_t height);
LUMO_API bool TransYUV422_8_UYVY(const unsigned char* source, unsigned char* destination,
                                 std::uint64_t width, std::uint64_t height);
LUMO_API bool TransYUV422_8(const unsigned char* source, unsigned char* destination,
                            std::uint64_t width, std::uint64_t height);
LUMO_API bool TransYUV8_UYV(const unsigned char* source, unsigned char* destination,
                            std::uint64_t width, std::uint64_t height);
LUMO_API bool TransYCbCr422_8(const unsigned char* source, unsigned char* destination,
                              std::uint64_t width, std::uint64_t height);
LUMO_API bool TransYCbCr709_422_8(const unsigned char* source, unsigned char* destination,
                                  std::uint64_t width, std::uint64_t height);
LUMO_API bool TransYCbCr709_8_CbYCr(const unsigned char* source, unsigned char* destination,
                                    std::uint64_t width, std::uint64_t height);

}  // namespace ImageToolEx
