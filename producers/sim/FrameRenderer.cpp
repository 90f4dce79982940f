#include "FrameRenderer.h"

#include <algorithm>
#include <cstring>

namespace LumoSim {
namespace {

Bayer RowFlipped(Bayer b) {
    switch (b) {
        case Bayer::RG:
            return Bayer::GB;
        case Bayer::GB:
            return Bayer::RG;
        case Bayer::GR:
            return Bayer::BG;
        case Bayer::BG:
            return Bayer::GR;
        case Bayer::None:
            break;
    }
    return Bayer::None;
}

// The format of the same packing whose mosaic starts one row later.
uint32_t RowFlippedCode(const PixelFormatInfo& f) {
    size_t n = 0;
    const PixelFormatInfo* table = PixelFormatTable(n);
    for (size_t i = 0; i < n; ++i) {
        if (table[i].packing == f.packing && table[i].bits == f.bits &&
            table[i].pattern == RowFlipped(f.pattern)) {
            return table[i].code;
        }
    }
    return 0;
}

}  // namespace

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
    const bool aligned = p.width % 4 == 0 && p.width >= CScene::kMaxShift() &&
                         FrameBytes(*f, static_cast<uint64_t>(p.width) * 8) == rowBytes * 8;
    if (!aligned) {
        return CScene::Render(p, frameId, dst, size);
    }
    if (!Matches(p)) {
        SceneParams base = p;
        base.height = p.height + 1;  // the shifted frame reaches into one more row
        rowBytes_ = rowBytes;
        bytesPerShift_ = FrameBytes(*f, 8);
        base_.assign(rowBytes * base.height, 0);
        CScene::Render(base, 0, base_.data(), base_.size());
        flipped_.clear();
        if (f->pattern != Bayer::None) {
            base.pixelFormat = RowFlippedCode(*f);
            flipped_.assign(base_.size(), 0);
            CScene::Render(base, 0, flipped_.data(), flipped_.size());
        }
        cached_ = p;
        valid_ = true;
    }
    const size_t shift = bytesPerShift_ * (CScene::Shift(frameId) / 8);
    const size_t frameBytes = rowBytes_ * p.height;
    const size_t n = std::min(frameBytes, size);
    if (flipped_.empty()) {
        std::memcpy(dst, base_.data() + shift, n);
        return n;
    }
    size_t written = 0;
    for (uint32_t y = 0; y < p.height && written < n; ++y) {
        const size_t head = std::min(rowBytes_ - shift, n - written);
        std::memcpy(dst + written, base_.data() + y * rowBytes_ + shift, head);
        written += head;
        const size_t tail = std::min(shift, n - written);
        std::memcpy(dst + written, flipped_.data() + (y + 1) * rowBytes_, tail);
        written += tail;
    }
    return written;
}

}  // namespace LumoSim
