#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "Demosaic.h"
#include "PixelConvert.h"
#include "RowDecoder.h"
#include "TargetKernels.h"

namespace imgtool {

using VEXOGENICAM::PixelTarget;

// Converts the lines [y0, y1) of one validated frame.
class LineConverter {
public:
    LineConverter(const FrameView& frame, unsigned char* destination, std::uint64_t stride,
                  PixelTarget target, bool gradientCorrected)
        : m_frame(frame), m_dst(destination), m_stride(stride), m_target(target), m_decoder(frame) {
        if (frame.format.IsMosaic()) {
            m_mosaic = std::make_unique<Demosaic>(frame, gradientCorrected);
        }
        const std::uint64_t w = frame.width;
        m_colour.resize(static_cast<std::size_t>(3 * w));
        m_wide.resize(static_cast<std::size_t>(w));
    }

    void Lines(std::uint64_t y0, std::uint64_t y1) {
        for (std::uint64_t y = y0; y < y1; ++y) {
            Line(y, m_dst + y * m_stride);
        }
    }

private:
    void Line(std::uint64_t y, unsigned char* out) {
        const std::uint64_t w = m_frame.width;
        const bool mono = m_frame.format.IsSampled() && !m_frame.format.IsMosaic();
        if (mono) {
            MonoLine(y, out);
            return;
        }
        const bool rgb = m_target == PixelTarget::RGB8;
        unsigned char* colour = m_target == PixelTarget::BGR8 ? out : m_colour.data();
        if (m_mosaic) {
            // The demosaic writes either order itself.
            m_mosaic->Line(y, rgb, rgb ? out : colour);
            if (rgb) {
                return;
            }
        } else {
            m_decoder.Bgr(y, colour);
            if (rgb) {
                SwapRedBlue(colour, out, w);
                return;
            }
        }
        if (m_target == PixelTarget::Mono8) {
            LumaOfBgr(colour, out, w);
        } else if (m_target == PixelTarget::Mono16) {
            LumaOfBgr16(colour, m_wide.data(), w);
            std::memcpy(out, m_wide.data(), static_cast<std::size_t>(2 * w));
        }
    }

    void MonoLine(std::uint64_t y, unsigned char* out) {
        const std::uint64_t w = m_frame.width;
        switch (m_target) {
            case PixelTarget::Mono8:
                m_decoder.Samples8(y, out);
                return;
            case PixelTarget::Mono16:
                // Through an aligned line: the destination stride may be odd.
                m_decoder.Samples16(y, m_wide.data());
                std::memcpy(out, m_wide.data(), static_cast<std::size_t>(2 * w));
                return;
            case PixelTarget::BGR8:
            case PixelTarget::RGB8:
                m_decoder.Samples8(y, m_colour.data());
                GrayToTriple(m_colour.data(), out, w);
                return;
        }
    }

    const FrameView& m_frame;
    unsigned char* m_dst;
    std::uint64_t m_stride;
    PixelTarget m_target;
    RowDecoder m_decoder;
    std::unique_ptr<Demosaic> m_mosaic;
    std::vector<unsigned char> m_colour;
    std::vector<std::uint16_t> m_wide;
};

}  // namespace imgtool
