#include "PixelConvert.h"

#include "ConvertCommon.h"
#include "LineConverter.h"
#include "RowDecoder.h"
#include "SourceFormat.h"
#include "WorkerPool.h"

namespace VEXOGENICAM {

namespace {

using imgtool::FrameView;
using imgtool::SourceFormat;

std::uint64_t TargetPixelBytes(PixelTarget target) {
    switch (target) {
        case PixelTarget::BGR8:
        case PixelTarget::RGB8:
            return 3;
        case PixelTarget::Mono8:
            return 1;
        case PixelTarget::Mono16:
            return 2;
    }
    return 0;
}

bool KnownMethod(DemosaicMethod m) {
    return m == DemosaicMethod::Bilinear || m == DemosaicMethod::GradientCorrected;
}

// Source bytes the frame layout needs, or false on overflow.
bool RequiredSource(const ConvertSource& s, const SourceFormat& f, FrameView& view) {
    std::uint64_t pixels = 0;
    if (!imgtool::PixelCount(s.width, s.height, pixels)) {
        return false;
    }
    if (s.linePadding == 0) {
        view.padded = false;
        return imgtool::StreamBytes(f, pixels, view.streamBytes);
    }
    view.padded = true;
    if (!imgtool::LineBytes(f, s.width, view.lineBytes) ||
        s.linePadding > UINT64_MAX - view.lineBytes) {
        return false;
    }
    view.lineStride = view.lineBytes + s.linePadding;
    return s.height - 1 <= (UINT64_MAX - view.lineBytes) / view.lineStride;
}

std::uint64_t SourceNeeded(const FrameView& v) {
    return v.padded ? (v.height - 1) * v.lineStride + v.lineBytes : v.streamBytes;
}

ConvertResult Fail(ConvertStatus status) {
    return ConvertResult{status, 0};
}

std::uint32_t BitDepth(const SourceFormat& f, PixelTarget target) {
    const bool mono = f.IsSampled() && !f.IsMosaic();
    return target == PixelTarget::Mono16 && mono ? static_cast<std::uint32_t>(f.bits) : 8;
}

}  // namespace

ConvertResult ConvertPixels(const ConvertSource& source, const ConvertDestination& destination,
                            DemosaicMethod demosaic) {
    if (source.data == nullptr) {
        return Fail(ConvertStatus::NullSource);
    }
    if (destination.data == nullptr) {
        return Fail(ConvertStatus::NullDestination);
    }
    if (source.width == 0 || source.height == 0) {
        return Fail(ConvertStatus::EmptyFrame);
    }
    FrameView view;
    if (!imgtool::DescribeFormat(source.pixelFormat, view.format)) {
        return Fail(ConvertStatus::UnknownFormat);
    }
    const std::uint64_t pixelBytes = TargetPixelBytes(destination.target);
    if (pixelBytes == 0 || !KnownMethod(demosaic)) {
        return Fail(ConvertStatus::UnknownTarget);
    }
    view.data = static_cast<const unsigned char*>(source.data);
    view.width = source.width;
    view.height = source.height;
    view.bigEndian16 = source.bigEndian16;
    if (!RequiredSource(source, view.format, view) || source.width > UINT64_MAX / pixelBytes) {
        return Fail(ConvertStatus::FrameTooLarge);
    }
    if (source.size < SourceNeeded(view)) {
        return Fail(ConvertStatus::SourceTooSmall);
    }
    const std::uint64_t lineOut = source.width * pixelBytes;
    const std::uint64_t stride = destination.stride == 0 ? lineOut : destination.stride;
    if (stride < lineOut) {
        return Fail(ConvertStatus::StrideTooSmall);
    }
    if (source.height - 1 > (UINT64_MAX - lineOut) / stride) {
        return Fail(ConvertStatus::FrameTooLarge);
    }
    if (destination.size < (source.height - 1) * stride + lineOut) {
        return Fail(ConvertStatus::DestinationTooSmall);
    }
    const std::uint64_t linesPerSpan = imgtool::kPixelsPerSpan / source.width + 1;
    const bool ok =
        imgtool::ForEachSpan(source.height, linesPerSpan, [&](std::uint64_t y0, std::uint64_t y1) {
            imgtool::LineConverter converter(view, static_cast<unsigned char*>(destination.data),
                                             stride, destination.target,
                                             demosaic == DemosaicMethod::GradientCorrected);
            converter.Lines(y0, y1);
        });
    // Only the working memory of a span can fail.
    return ok ? ConvertResult{ConvertStatus::Ok, BitDepth(view.format, destination.target)}
              : Fail(ConvertStatus::OutOfMemory);
}

std::uint64_t ConvertedLineBytes(std::uint64_t width, PixelTarget target) {
    const std::uint64_t bytes = TargetPixelBytes(target);
    return bytes != 0 && width <= UINT64_MAX / bytes ? width * bytes : 0;
}

std::uint64_t SourceFrameBytes(std::uint64_t width, std::uint64_t height,
                               std::uint64_t pixelFormat) {
    SourceFormat f;
    std::uint64_t pixels = 0;
    std::uint64_t bytes = 0;
    if (!imgtool::DescribeFormat(pixelFormat, f) || !imgtool::PixelCount(width, height, pixels) ||
        !imgtool::StreamBytes(f, pixels, bytes)) {
        return 0;
    }
    return bytes;
}

std::uint64_t SourceLineBytes(std::uint64_t width, std::uint64_t pixelFormat) {
    SourceFormat f;
    std::uint64_t bytes = 0;
    if (!imgtool::DescribeFormat(pixelFormat, f) || !imgtool::LineBytes(f, width, bytes)) {
        return 0;
    }
    return bytes;
}

void SetConvertThreads(unsigned threads) {
    imgtool::WorkerPool::Instance().SetThreads(threads);
}

unsigned GetConvertThreads() {
    return imgtool::WorkerPool::Instance().Threads();
}

const char* ConvertStatusText(ConvertStatus status) {
    switch (status) {
        case ConvertStatus::Ok:
            return "converted";
        case ConvertStatus::NullSource:
            return "the source data is null";
        case ConvertStatus::NullDestination:
            return "the destination data is null";
        case ConvertStatus::EmptyFrame:
            return "width or height is 0";
        case ConvertStatus::UnknownFormat:
            return "the pixel format is not recognised";
        case ConvertStatus::UnknownTarget:
            return "the target or the demosaic method is not recognised";
        case ConvertStatus::SourceTooSmall:
            return "the source holds fewer bytes than the frame needs";
        case ConvertStatus::StrideTooSmall:
            return "the destination stride is shorter than one converted line";
        case ConvertStatus::DestinationTooSmall:
            return "the destination holds fewer bytes than the converted frame needs";
        case ConvertStatus::FrameTooLarge:
            return "the frame is too large";
        case ConvertStatus::OutOfMemory:
            return "no working memory for the conversion";
    }
    return "unknown status";
}

}  // namespace VEXOGENICAM
