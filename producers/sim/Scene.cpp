#include "Scene.h"

#include <algorithm>
#include <vector>

namespace LumoSim {
namespace {

// Bar colours left to right: white, yellow, cyan, green, magenta, red, blue, black.
constexpr uint8_t kBarBits[8] = {7, 6, 3, 2, 5, 4, 1, 0};  // bit 2 = R, bit 1 = G, bit 0 = B
constexpr uint16_t kDark = 0x1000;

struct Yuv {
    int y, u, v;
};

int Clamp8(int v) {
    return std::clamp(v, 0, 255);
}

Yuv ToYuv(int r, int g, int b, bool bt709) {
    if (bt709) {
        return {Clamp8((54 * r + 183 * g + 18 * b + 128) >> 8),
                Clamp8(((-29 * r - 99 * g + 128 * b + 128) >> 8) + 128),
                Clamp8(((128 * r - 116 * g - 12 * b + 128) >> 8) + 128)};
    }
    return {Clamp8((77 * r + 150 * g + 29 * b + 128) >> 8),
            Clamp8(((-43 * r - 85 * g + 128 * b + 128) >> 8) + 128),
            Clamp8(((128 * r - 107 * g - 21 * b + 128) >> 8) + 128)};
}

class ByteSink {
public:
    ByteSink(uint8_t* dst, size_t size) : dst_(dst), size_(size) {}
    void Put(uint8_t b) {
        if (pos_ < size_) {
            dst_[pos_] = b;
        }
        ++pos_;
    }
    // LSB-first bit stream; a trailing partial byte is dropped like the payload size does.
    void PutBits(uint32_t value, int bits) {
        acc_ |= static_cast<uint64_t>(value) << accBits_;
        accBits_ += bits;
        while (accBits_ >= 8) {
            Put(static_cast<uint8_t>(acc_));
            acc_ >>= 8;
            accBits_ -= 8;
        }
    }
    size_t Written() const { return std::min(pos_, size_); }

private:
    uint8_t* dst_;
    size_t size_;
    size_t pos_ = 0;
    uint64_t acc_ = 0;
    int accBits_ = 0;
};

void PutPacked(ByteSink& out, const PixelFormatInfo& f, uint16_t s0, uint16_t s1, bool hasSecond) {
    const int low = f.bits - 8;  // bits that do not fit the high byte
    const uint16_t m = static_cast<uint16_t>((1u << low) - 1);
    out.Put(static_cast<uint8_t>(s0 >> low));
    out.Put(static_cast<uint8_t>((s0 & m) | ((s1 & m) << 4)));
    if (hasSecond) {
        out.Put(static_cast<uint8_t>(s1 >> low));
    }
}

}  // namespace

Rgb16 CScene::Colour(const SceneParams& p, uint32_t x, uint32_t y, uint64_t frameId) {
    const uint32_t sw = std::max<uint32_t>(p.sensorWidth, 1);
    const uint32_t sh = std::max<uint32_t>(p.sensorHeight, 1);
    // The frame moves through the scene in raster order, so that a shifted frame is a plain
    // offset into a rendered one (see CFrameRenderer).
    const uint64_t w = std::max<uint32_t>(p.width, 1);
    const uint64_t k = static_cast<uint64_t>(y) * w + x + Shift(frameId);
    const uint64_t sx = (static_cast<uint64_t>(p.offsetX) + k % w) % sw;
    const uint64_t sy = std::min<uint64_t>(static_cast<uint64_t>(p.offsetY) + k / w, sh - 1);
    const uint8_t bits = kBarBits[(sx * 8) / sw];
    const auto level = static_cast<uint16_t>(0xFFFF - (sy * 0xC000) / sh);
    return {(bits & 4) ? level : kDark, (bits & 2) ? level : kDark, (bits & 1) ? level : kDark};
}

uint16_t CScene::Sample(const SceneParams& p, const PixelFormatInfo& fmt, uint32_t x, uint32_t y,
                        uint64_t frameId) {
    const Rgb16 c = Colour(p, x, y, frameId);
    uint32_t v = 0;
    const bool evenX = (x % 2) == 0;
    const bool evenY = (y % 2) == 0;
    switch (fmt.pattern) {
        case Bayer::None:
            v = (77u * c.r + 150u * c.g + 29u * c.b) >> 8;
            break;
        case Bayer::RG:
            v = evenY ? (evenX ? c.r : c.g) : (evenX ? c.g : c.b);
            break;
        case Bayer::GR:
            v = evenY ? (evenX ? c.g : c.r) : (evenX ? c.b : c.g);
            break;
        case Bayer::BG:
            v = evenY ? (evenX ? c.b : c.g) : (evenX ? c.g : c.r);
            break;
        case Bayer::GB:
            v = evenY ? (evenX ? c.g : c.b) : (evenX ? c.r : c.g);
            break;
    }
    return static_cast<uint16_t>(v >> (16 - fmt.bits));
}

uint64_t CScene::FrameSize(const SceneParams& p) {
    const PixelFormatInfo* f = FindPixelFormat(p.pixelFormat);
    return f ? FrameBytes(*f, static_cast<uint64_t>(p.width) * p.height) : 0;
}

size_t CScene::Render(const SceneParams& p, uint64_t frameId, uint8_t* dst, size_t dstSize) {
    const PixelFormatInfo* f = FindPixelFormat(p.pixelFormat);
    if (!f || !dst) {
        return 0;
    }
    const size_t total = static_cast<size_t>(std::min<uint64_t>(FrameSize(p), dstSize));
    ByteSink out(dst, total);
    // Pixels are streamed in raster order; groups (pairs, quads) may span rows when the width is
    // not a multiple of the group, exactly as the payload size counts them.
    std::vector<uint16_t> pending;
    std::vector<Yuv> pendingYuv;
    auto flushGroup = [&](bool last) {
        if (f->packing == Packing::GevPacked &&
            (pending.size() == 2 || (last && !pending.empty()))) {
            PutPacked(out, *f, pending[0], pending.size() > 1 ? pending[1] : 0, pending.size() > 1);
            pending.clear();
        }
        const size_t group = f->packing == Packing::Uyyvyy ? 4 : 2;
        if ((f->packing == Packing::Uyyvyy || f->packing == Packing::Uyvy ||
             f->packing == Packing::Yuyv) &&
            (pendingYuv.size() == group || (last && !pendingYuv.empty()))) {
            int u = 0, v = 0;
            for (const auto& q : pendingYuv) {
                u += q.u;
                v += q.v;
            }
            const int n = static_cast<int>(pendingYuv.size());
            const auto uu = static_cast<uint8_t>((u + n / 2) / n);
            const auto vv = static_cast<uint8_t>((v + n / 2) / n);
            auto yAt = [&](size_t i) { return static_cast<uint8_t>(pendingYuv[i].y); };
            const size_t k = pendingYuv.size();
            if (f->packing == Packing::Uyyvyy) {
                out.Put(uu);
                out.Put(yAt(0));
                if (k > 1)
                    out.Put(yAt(1));
                out.Put(vv);
                if (k > 2)
                    out.Put(yAt(2));
                if (k > 3)
                    out.Put(yAt(3));
            } else if (f->packing == Packing::Uyvy) {
                out.Put(uu);
                out.Put(yAt(0));
                out.Put(vv);
                if (k > 1)
                    out.Put(yAt(1));
            } else {
                out.Put(yAt(0));
                out.Put(uu);
                if (k > 1)
                    out.Put(yAt(1));
                out.Put(vv);
            }
            pendingYuv.clear();
        }
    };
    for (uint32_t y = 0; y < p.height && out.Written() < total; ++y) {
        for (uint32_t x = 0; x < p.width; ++x) {
            if (f->pattern != Bayer::None || f->packing == Packing::Byte8 ||
                f->packing == Packing::Word16 || f->packing == Packing::LsbStream ||
                f->packing == Packing::GevPacked) {
                const uint16_t s = Sample(p, *f, x, y, frameId);
                switch (f->packing) {
                    case Packing::Byte8:
                        out.Put(static_cast<uint8_t>(s));
                        break;
                    case Packing::Word16:
                        if (p.bigEndian16) {
                            out.Put(static_cast<uint8_t>(s >> 8));
                            out.Put(static_cast<uint8_t>(s));
                        } else {
                            out.Put(static_cast<uint8_t>(s));
                            out.Put(static_cast<uint8_t>(s >> 8));
                        }
                        break;
                    case Packing::LsbStream:
                        out.PutBits(s, f->bits);
                        break;
                    default:
                        pending.push_back(s);
                        flushGroup(false);
                        break;
                }
                continue;
            }
            const Rgb16 c = Colour(p, x, y, frameId);
            const int r = c.r >> 8, g = c.g >> 8, b = c.b >> 8;
            switch (f->packing) {
                case Packing::Rgb8:
                    out.Put(static_cast<uint8_t>(r));
                    out.Put(static_cast<uint8_t>(g));
                    out.Put(static_cast<uint8_t>(b));
                    break;
                case Packing::Bgr8:
                    out.Put(static_cast<uint8_t>(b));
                    out.Put(static_cast<uint8_t>(g));
                    out.Put(static_cast<uint8_t>(r));
                    break;
                case Packing::Rgb565:
                case Packing::Bgr565: {
                    const int lo = f->packing == Packing::Rgb565 ? r : b;
                    const int hi = f->packing == Packing::Rgb565 ? b : r;
                    const auto w =
                        static_cast<uint16_t>((lo >> 3) | ((g >> 2) << 5) | ((hi >> 3) << 11));
                    out.Put(static_cast<uint8_t>(w));
                    out.Put(static_cast<uint8_t>(w >> 8));
                    break;
                }
                case Packing::Uyv:
                case Packing::CbYCr: {
                    const Yuv q = ToYuv(r, g, b, f->bt709);
                    out.Put(static_cast<uint8_t>(q.u));
                    out.Put(static_cast<uint8_t>(q.y));
                    out.Put(static_cast<uint8_t>(q.v));
                    break;
                }
                default:
                    pendingYuv.push_back(ToYuv(r, g, b, f->bt709));
                    flushGroup(false);
                    break;
            }
        }
    }
    flushGroup(true);
    return out.Written();
}

}  // namespace LumoSim
