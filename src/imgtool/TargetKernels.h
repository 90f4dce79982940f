#pragma once

#include <cstdint>

// Vectorised inner loops of the conversions to BGR8/RGB8/Mono8/Mono16 that the
// camera-path kernels (ConvertCommon.h) do not already provide.
namespace imgtool {

// Complete groups of 10p, 12p or 14p (bits, bitStream true) or of the
// two-in-three packing (bits 10 or 12, bitStream false) to 16-bit sample values.
void UnpackGroups16(const unsigned char* src, std::uint16_t* dst, std::uint64_t groups, int bits,
                    bool bitStream);
// Two-byte samples to values of `bits` bits (higher bits cleared).
void Words16(const unsigned char* src, std::uint16_t* dst, std::uint64_t pixels, int bits,
             bool bigEndian);
void Widen8To16(const unsigned char* src, std::uint16_t* dst, std::uint64_t pixels);
void GrayToTriple(const unsigned char* src, unsigned char* dst, std::uint64_t pixels);
// BT.601 luma of blue-green-red pixels: (77 R + 150 G + 29 B + 128) >> 8.
void LumaOfBgr(const unsigned char* bgr, unsigned char* dst, std::uint64_t pixels);
void LumaOfBgr16(const unsigned char* bgr, std::uint16_t* dst, std::uint64_t pixels);

// The scalar rules the kernels above follow, also used for their tails.
inline unsigned LumaPixel(const unsigned char* bgr) {
    return (77u * bgr[2] + 150u * bgr[1] + 29u * bgr[0] + 128u) >> 8;
}
void UnpackGroup16(const unsigned char* group, std::uint16_t* dst, int bits, bool bitStream);

}  // namespace imgtool
