#pragma once

#include <cstdint>

#include "ConvertCommon.h"

namespace imgtool {

// How the samples or colours of a format sit in its bytes.
enum class Packing : unsigned char {
    Byte,       // one byte per sample
    Word,       // two bytes per sample
    BitStream,  // PFNC "p": samples follow each other least significant bit first
    GevPacked,  // two samples in three bytes, low bits of both in the middle byte
    Rgb,        // R G B
    Bgr,        // B G R
    Rgb565,     // red in the low five bits
    Bgr565,     // blue in the low five bits
    Chroma,     // luminance-chrominance groups (YuvLayout)
};

enum class ColourStandard : unsigned char { Bt601, Bt709 };

// What the converter needs to know of a pixel format: the mosaic (if any), the
// packing, the bits per sample, and the group of pixels that always shares a
// whole number of bytes.
struct SourceFormat {
    Packing packing = Packing::Byte;
    int bits = 8;         // significant bits per sample of mono and Bayer formats
    int bayerOrder = -1;  // 0..3 for GR, RG, GB, BG; -1 when not a mosaic
    unsigned groupPixels = 1;
    unsigned groupBytes = 1;
    YuvLayout layout{};
    ColourStandard standard = ColourStandard::Bt601;

    bool IsMosaic() const { return bayerOrder >= 0; }
    // Mono and Bayer formats carry one sample per pixel; the rest carry colour.
    bool IsSampled() const { return packing <= Packing::GevPacked; }
    // Bytes given to missing bytes of a final partial group: neutral chroma for
    // the luminance-chrominance formats, zero bits otherwise.
    unsigned char FillByte() const { return packing == Packing::Chroma ? 128 : 0; }
};

bool DescribeFormat(std::uint64_t pixelFormat, SourceFormat& format);

// Bytes of a stream of `pixels` pixels (a partial byte at the end dropped), or
// false when the count overflows.
bool StreamBytes(const SourceFormat& f, std::uint64_t pixels, std::uint64_t& bytes);
// The same with a partial final byte counted: one line of a padded frame.
bool LineBytes(const SourceFormat& f, std::uint64_t pixels, std::uint64_t& bytes);

}  // namespace imgtool
