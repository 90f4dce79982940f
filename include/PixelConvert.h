#pragma once

#include <cstdint>

#include "LumoExport.h"

// Pixel conversion for applications that save or display what they grab.
//
// One call turns a frame in any pixel format the library recognises into BGR8,
// RGB8, Mono8 or Mono16, with the colours the format stands for:
//
// - YUV formats and YCbCr422_8 decode with BT.601, the YCbCr709 formats with
//   BT.709, all full range; the chroma bytes are taken from where each layout
//   puts them.
// - RGB565p keeps red in its low five bits, BGR565p blue; both come out in the
//   requested channel order.
// - Bayer mosaics are demosaiced bilinearly, or with the gradient-corrected
//   method: green along the direction in which the mosaic changes least, with a
//   second-difference correction, then red and blue from their differences to
//   green on the side most like the pixel. It keeps colour edges cleaner and
//   costs many times the bilinear work. Samples deeper than 8 bits keep their
//   top 8 bits before demosaicing; neighbours beyond the frame are mirrored.
// - Mono8 from a colour format is BT.601 luma, (77 R + 150 G + 29 B + 128) >> 8.
// - Mono16 keeps sample values: a 12-bit sample 4095 stays 4095 and the result
//   reports 12 bits; shift by (16 - bitDepth) for full scale. Colour formats
//   give their 8-bit luma and report 8 bits.
// - Mono8s is read like Mono8, as cameras fill it.
//
// Unlike the conversions of CImgTool and ImageTool.h, which keep the exact
// rules of their original definition, this call is meant to give the right
// picture. It never reads past ConvertSource::size nor writes outside the
// destination lines, and reports what is wrong instead of guessing.
//
// The layout of a source frame: without line padding the frame is one stream of
// width x height pixels in raster order (groups of the packed and subsampled
// formats may run across line ends), SourceFrameBytes() long. With padding,
// every line starts a new stream of SourceLineBytes() bytes followed by
// `linePadding` bytes; the last line needs no padding.
namespace VEXOGENICAM {

enum class PixelTarget : std::uint32_t {
    BGR8 = 0,    // three bytes per pixel: blue, green, red
    RGB8 = 1,    // three bytes per pixel: red, green, blue
    Mono8 = 2,   // one byte per pixel, full scale
    Mono16 = 3,  // two bytes per pixel in host order, sample values kept
};

enum class DemosaicMethod : std::uint32_t {
    Bilinear = 0,
    GradientCorrected = 1,  // bilinear plus a correction from the sample's own colour
};

enum class ConvertStatus : std::int32_t {
    Ok = 0,
    NullSource = -1,           // source data is null
    NullDestination = -2,      // destination data is null
    EmptyFrame = -3,           // width or height is 0
    UnknownFormat = -4,        // pixel format not recognised
    UnknownTarget = -5,        // target or demosaic method not one of the enumerators
    SourceTooSmall = -6,       // fewer source bytes than the frame layout needs
    StrideTooSmall = -7,       // destination stride shorter than one converted line
    DestinationTooSmall = -8,  // destination size short of (height - 1) x stride + one line
    FrameTooLarge = -9,        // sizes do not fit in 64 bits
    OutOfMemory = -10,         // no working memory for the conversion
};

struct ConvertSource {
    const void* data = nullptr;
    std::uint64_t size = 0;  // bytes readable at data
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t pixelFormat = 0;  // PFNC code (PixelFormats.h)
    std::uint64_t linePadding = 0;  // bytes after each line but the last
    bool bigEndian16 = false;       // two-byte samples stored high byte first
};

struct ConvertDestination {
    void* data = nullptr;
    std::uint64_t size = 0;    // bytes writable at data
    std::uint64_t stride = 0;  // bytes from one line to the next; 0 means tightly packed
    PixelTarget target = PixelTarget::BGR8;
};

struct ConvertResult {
    ConvertStatus status = ConvertStatus::Ok;
    std::uint32_t bitDepth = 0;  // significant bits per written sample (8 except for Mono16)
};

// Converts one frame. Large frames are split over the conversion threads.
LUMO_API ConvertResult ConvertPixels(const ConvertSource& source,
                                     const ConvertDestination& destination,
                                     DemosaicMethod demosaic = DemosaicMethod::Bilinear);

// Bytes of one converted line (the smallest stride), 0 for an unknown target.
LUMO_API std::uint64_t ConvertedLineBytes(std::uint64_t width, PixelTarget target);

// Bytes a source frame occupies without padding, and one line of it with
// padding; 0 for an unknown format.
LUMO_API std::uint64_t SourceFrameBytes(std::uint64_t width, std::uint64_t height,
                                        std::uint64_t pixelFormat);
LUMO_API std::uint64_t SourceLineBytes(std::uint64_t width, std::uint64_t pixelFormat);

// Threads that share one large conversion, the calling thread included; the
// camera's own conversions use them too. 1 keeps all work on the calling
// thread; 0 restores the default (the processor count). Takes effect with the
// next conversion; a conversion that finds the threads busy with another runs
// on its calling thread alone.
LUMO_API void SetConvertThreads(unsigned threads);
LUMO_API unsigned GetConvertThreads();

LUMO_API const char* ConvertStatusText(ConvertStatus status);

}  // namespace VEXOGENICAM
