#pragma once

#include <memory>

#include <pybind11/numpy.h>

#include "ImageHolder.h"
#include "LumoGenICam.h"

namespace lumopy {

// The raw pixels as a NumPy array over the producer's buffer, without a copy:
// 2-D uint8/uint16 for unpacked mono and Bayer formats, 3-D uint8 (height,
// width, bytes per pixel) for byte-aligned colour formats, and 1-D uint8 raw
// bytes for packed and unknown formats or a frame larger than its buffer. The
// array holds the image, so the buffer is given back only after the array is
// gone. Read-only: the memory is the camera's.
pybind11::array RawArray(const std::shared_ptr<ImageHolder>& image);

// A new array converted by ConvertPixels; throws Error (Conversion) with the
// conversion status when it fails.
pybind11::array ConvertedArray(const std::shared_ptr<ImageHolder>& image,
                               VEXOGENICAM::PixelTarget target);

}  // namespace lumopy
