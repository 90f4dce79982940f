#include "FrameRenderer.h"

#include <algorithm>
#include <cstring>

namespace LumoSim {

bool CFrameRenderer::Matches(const SceneParams& p) const {
    return valid_ && p.sensorWidth == cached_.sensorWidth &&
           p.sensorHeight == cached_.sensorHeight && p.offsetX == cached_.offsetX &&
           p.offsetY == cached_.offsetY && p.width == cached_.width && p.height == cached_.height &&
           p.pixelFormat == cached_.pixelFormat && p.bigEndian16 == cached_.bigEndian16;
}

size_t CFrameRenderer::Render(const SceneParams& p, uint64_t frameId, uint8_t* dst, size_t size) {
    const PixelFormatInfo* f = FindPixelFormat(p.pixelFormat);
    if (!f) {
        return 0;
    }
    // Groups of 4 pixels keep YUV 4:1:1 quads, 4:2:2 pairs, packed pairs and Bayer phase intact.
    const uint64_t rowBytes = FrameBytes(*f, p.width);
    const bool aligned =
        p.width % 4 == 0 && FrameBytes(*f, static_cast<uint64_t>(p.width) * 8) == rowBytes * 8;
    if (!aligned) {
        return CScene::Render(p, frameId, dst, size);
    }
    if (!Matches(p)) {
        SceneParams wide = p;
        wide.width = p.width + CScene::kMaxShift();
        wideRowBytes_ = FrameBytes(*f, wide.width);
        rowBytes_ = rowBytes;
        bytesPerShift_ = FrameBytes(*f, 8);
        wide_.assign(wideRowBytes_ * p.height, 0);
        CScene::Render(wide, 0, wide_.data(), wide_.size());
        cached_ = p;
        valid_ = true;
    }
    const size_t shift = bytesPerShift_ * (CScene::Shift(frameId) / 8);
    size_t written = 0;
    for (uint32_t y = 0; y < p.height && written < size; ++y) {
        const size_t n = std::min(rowBytes_, size - written);
        std::memcpy(dst + written, wide_.data() + y * wideRowBytes_ + shift, n);
        written += n;
    }
    return written;
}

}  // namespace LumoSim
