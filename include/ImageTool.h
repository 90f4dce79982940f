#pragma once

#include <cstdint>

#include "LumoExport.h"

// The allocating conversion family. Every result is a new array that the
// caller frees with delete[], except where a routine returns its input
// (Mono8/Mono8s and BGR8 pass through): compare with the input before freeing.
namespace VEXOGENICAM {

LUMO_API void PayloadCalc(std::uint64_t width, std::uint64_t height, std::uint64_t pixelFormat,
                          std::uint64_t& bitsPerChannel, std::uint64_t& channelCount,
                          std::uint64_t& payloadSize);

LUMO_API char* TransImage(char* buffer, std::uint64_t width, std::uint64_t height,
                          std::uint64_t pixelFormat, bool nativeOrder);

LUMO_API char* TransMono8(char* buffer);
LUMO_API char* TransBGR(char* buffer, std::uint64_t width, std::uint64_t height);
LUMO_API char* TransDualMono(char* buffer, std::uint64_t width, std::uint64_t height, int bits,
                             bool nativeOrder);
LUMO_API char* TransPackedMono(char* buffer, std::uint64_t width, std::uint64_t height, int bits);
LUMO_API char* TransMonoP(char* buffer, std::uint64_t width, std::uint64_t height, int bits);

LUMO_API char* TransBayer8(char* buffer, std::uint64_t width, std::uint64_t height,
                           std::uint64_t pattern);
LUMO_API char* TransDualBayer(char* buffer, std::uint64_t width, std::uint64_t height,
                              std::uint64_t pattern, int bits);
LUMO_API char* TransPackedBayer(char* buffer, std::uint64_t width, std::uint64_t height,
                                std::uint64_t pattern, int bits);
LUMO_API char* TransBayerP(char* buffer, std::uint64_t width, std::uint64_t height,
                           std::uint64_t pattern, int bits);

LUMO_API char* TransRGB(char* buffer, std::uint64_t width, std::uint64_t height);
LUMO_API char* TransRGB565p(char* buffer, std::uint64_t width, std::uint64_t height);
LUMO_API char* TransBGR565p(char* buffer, std::uint64_t width, std::uint64_t height);

LUMO_API char* TransYUV411_8_UYYVYY(char* buffer, std::uint64_t width, std::uint64_t height,
                                    std::uint64_t pixelFormat);
LUMO_API char* TransYUV422_8_UYVY(char* buffer, std::uint64_t width, std::uint64_t height,
                                  std::uint64_t pixelFormat);
LUMO_API char* TransYUV422_8(char* buffer, std::uint64_t width, std::uint64_t height,
                             std::uint64_t pixelFormat);
LUMO_API char* TransYUV8_UYV(char* buffer, std::uint64_t width, std::uint64_t height,
                             std::uint64_t pixelFormat);
LUMO_API char* TransYCbCr422_8(char* buffer, std::uint64_t width, std::uint64_t height,
                               std::uint64_t pixelFormat);
LUMO_API char* TransYCbCr709_422_8(char* buffer, std::uint64_t width, std::uint64_t height,
                                   std::uint64_t pixelFormat);
LUMO_API char* TransYCbCr709_8_CbYCr(char* buffer, std::uint64_t width, std::uint64_t height,
                                     std::uint64_t pixelFormat);

// Fills four arrays of 256 entries with the coefficient set chosen by the
// format; formats without a set get all zeros.
LUMO_API void InitYUVTab(std::uint64_t pixelFormat, std::int32_t* TR, std::int32_t* TGv,
                         std::int32_t* TB, std::int32_t* TGu);

// Nearest-neighbour planes plus a fixed-parity smoothing pass. Source and
// destination may be the same memory.
LUMO_API void TransBayerToGRB(std::uint64_t pattern, const unsigned char* source,
                              unsigned char* destination, std::uint64_t width,
                              std::uint64_t height);

LUMO_API void TransDualToSingle(int bits, const unsigned short* source, unsigned char* destination,
                                std::uint64_t pixelCount, bool nativeOrder);
LUMO_API void TransPackedToSingle(int bits, const unsigned char* source, unsigned char* destination,
                                  std::uint64_t pixelCount);
// Writes exactly pixelCount bytes and reads no more than the frame's
// (pixelCount * bits) / 8 bytes; bits missing from a final partial group read as 0.
LUMO_API void TransMonoPToSingle(int bits, const unsigned char* source, unsigned char* destination,
                                 std::uint64_t pixelCount);

}  // namespace VEXOGENICAM
