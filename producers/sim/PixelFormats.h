#pragma once

#include <cstdint>
#include <string>

namespace LumoSim {

// How the samples of a format are laid out in memory. Sample layouts carry one value per pixel
// (mono or a Bayer mosaic); the others carry colour.
enum class Packing {
    Byte8,      // one byte per sample
    Word16,     // two bytes per sample, little-endian unless big-endian is requested
    LsbStream,  // PFNC "p" formats: samples of `bits` bits in an LSB-first bit stream
    GevPacked,  // GigE Vision 1.x "Packed": two samples in three bytes
    Rgb8,
    Bgr8,
    Rgb565,  // red in the low five bits
    Bgr565,  // blue in the low five bits
    Uyv,     // U Y V per pixel
    CbYCr,   // Cb Y Cr per pixel
    Uyyvyy,  // U Y0 Y1 V Y2 Y3 per four pixels
    Uyvy,    // U Y0 V Y1 per two pixels
    Yuyv,    // Y0 U Y1 V per two pixels
};

enum class Bayer { None, GR, RG, GB, BG };

struct PixelFormatInfo {
    const char* name;
    uint32_t code;
    Packing packing;
    int bits;       // significant bits per sample (sample layouts) or per component
    Bayer pattern;  // None for mono and colour formats
    bool bt709;     // YCbCr formats with BT.709 coefficients
};

// Every format the producer can deliver; nullptr when unknown.
const PixelFormatInfo* FindPixelFormat(uint32_t code);
const PixelFormatInfo* FindPixelFormat(const std::string& name);
const PixelFormatInfo* PixelFormatTable(size_t& count);

// Bytes of a frame of `pixels` pixels in this format (fractional bytes truncated).
uint64_t FrameBytes(const PixelFormatInfo& fmt, uint64_t pixels);

}  // namespace LumoSim
