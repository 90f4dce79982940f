#pragma once

#include <cstddef>
#include <cstdint>

#include "PixelFormats.h"

namespace LumoSim {

// The deterministic test scene (see README.md): eight vertical colour bars across the sensor,
// brightness falling from top to bottom; frame f shows the pixels 8 * (f % 8) places further on
// in raster order.
struct SceneParams {
    uint32_t sensorWidth = 0;
    uint32_t sensorHeight = 0;
    uint32_t offsetX = 0;
    uint32_t offsetY = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t pixelFormat = 0;
    bool bigEndian16 = false;  // two-byte samples stored most significant byte first
};

struct Rgb16 {
    uint16_t r, g, b;
};

class CScene {
public:
    // Colour of the scene at frame pixel (x, y) as 16-bit components.
    static Rgb16 Colour(const SceneParams& p, uint32_t x, uint32_t y, uint64_t frameId);
    // One raw sample of a mono or Bayer format at (x, y), `bits` significant bits.
    static uint16_t Sample(const SceneParams& p, const PixelFormatInfo& fmt, uint32_t x, uint32_t y,
                           uint64_t frameId);
    // Horizontal shift of the scene for a frame, in pixels; always a multiple of 8.
    static uint32_t Shift(uint64_t frameId) { return static_cast<uint32_t>(8 * (frameId % 8)); }
    static uint32_t kMaxShift() { return 56; }

    // Size of one frame in bytes; 0 for an unknown format.
    static uint64_t FrameSize(const SceneParams& p);
    // Writes the frame into dst (at most dstSize bytes); returns the bytes written.
    static size_t Render(const SceneParams& p, uint64_t frameId, uint8_t* dst, size_t dstSize);
};

}  // namespace LumoSim
