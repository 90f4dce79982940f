#include "PixelArrays.h"

#include <optional>
#include <string>
#include <vector>

#include "Error.h"

namespace py = pybind11;

namespace lumopy {

using namespace VEXOGENICAM;

namespace {

// The element type and shape of a format whose pixels are whole bytes.
struct Layout {
    py::dtype dtype;
    std::size_t channels;  // 0: a 2-D array
    std::size_t bytesPerPixel;
};

// PFNC: bits 24..31 tell mono (1) from colour (2), bits 16..23 the bits per pixel.
bool UnpackedLayout(std::uint64_t format, Layout& layout) {
    const std::uint64_t kind = (format >> 24) & 0xFF;
    const std::uint64_t bits = (format >> 16) & 0xFF;
    const std::uint64_t frame = SourceFrameBytes(1, 1, format);
    if (bits % 8 != 0 || frame * 8 != bits) {
        return false;  // packed below a byte per pixel, or unknown
    }
    if (format == PF_RGB565p || format == PF_BGR565p) {
        return false;  // bit fields inside a 16-bit word
    }
    if (kind == 1 && bits == 8) {
        layout = {py::dtype::of<std::uint8_t>(), 0, 1};
        return true;
    }
    if (kind == 1 && bits == 16) {
        layout = {py::dtype::of<std::uint16_t>(), 0, 2};
        return true;
    }
    if (kind == 2 && (bits == 16 || bits == 24)) {
        layout = {py::dtype::of<std::uint8_t>(), bits / 8, 1};
        return true;
    }
    return false;
}

py::capsule Owner(const std::shared_ptr<ImageHolder>& image) {
    return py::capsule(new std::shared_ptr<ImageHolder>(image), [](void* owner) {
        delete static_cast<std::shared_ptr<ImageHolder>*>(owner);
    });
}

void MakeReadOnly(py::array& array) {
    py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
}

}  // namespace

py::array RawArray(const std::shared_ptr<ImageHolder>& image) {
    std::size_t available = 0;
    const std::uint8_t* pixels = image->Pixels(available);
    const std::size_t width = image->width;
    const std::size_t height = image->height;
    // py::array has no empty state (its default is a 0-length array).
    std::optional<py::array> array;
    Layout layout;
    if (width > 0 && height > 0 && UnpackedLayout(image->pixelFormat, layout)) {
        const std::size_t pixel = layout.channels == 0 ? layout.bytesPerPixel : layout.channels;
        const std::size_t line = width * pixel;
        const std::size_t stride = line + image->paddingX;
        if ((height - 1) * stride + line <= available) {
            std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(height),
                                           static_cast<py::ssize_t>(width)};
            std::vector<py::ssize_t> strides{static_cast<py::ssize_t>(stride),
                                             static_cast<py::ssize_t>(layout.bytesPerPixel)};
            if (layout.channels != 0) {
                shape.push_back(static_cast<py::ssize_t>(layout.channels));
                strides[1] = static_cast<py::ssize_t>(layout.channels);
                strides.push_back(1);
            }
            array = py::array(layout.dtype, shape, strides, pixels, Owner(image));
        }
    }
    if (!array) {
        std::size_t bytes = available;
        if (const std::size_t line = SourceLineBytes(width, image->pixelFormat);
            image->paddingX == 0 && line > 0) {
            bytes = std::min<std::size_t>(available,
                                          SourceFrameBytes(width, height, image->pixelFormat));
        } else if (line > 0 && height > 0) {
            bytes =
                std::min<std::size_t>(available, (height - 1) * (line + image->paddingX) + line);
        }
        array = py::array(py::dtype::of<std::uint8_t>(), {static_cast<py::ssize_t>(bytes)},
                          {static_cast<py::ssize_t>(1)}, pixels, Owner(image));
    }
    MakeReadOnly(*array);
    return *array;
}

py::array ConvertedArray(const std::shared_ptr<ImageHolder>& image, PixelTarget target) {
    std::size_t available = 0;
    const std::uint8_t* pixels = image->Pixels(available);
    const auto height = static_cast<py::ssize_t>(image->height);
    const auto width = static_cast<py::ssize_t>(image->width);
    py::array out;
    switch (target) {
        case PixelTarget::BGR8:
        case PixelTarget::RGB8:
            out = py::array_t<std::uint8_t>({height, width, py::ssize_t{3}});
            break;
        case PixelTarget::Mono8:
            out = py::array_t<std::uint8_t>({height, width});
            break;
        case PixelTarget::Mono16:
            out = py::array_t<std::uint16_t>({height, width});
            break;
    }
    ConvertSource source;
    source.data = pixels;
    source.size = available;
    source.width = image->width;
    source.height = image->height;
    source.pixelFormat = image->pixelFormat;
    source.linePadding = image->paddingX;
    ConvertDestination destination;
    destination.data = out.mutable_data();
    destination.size = static_cast<std::uint64_t>(out.nbytes());
    destination.target = target;
    ConvertResult result;
    {
        // The image stays held by the caller's reference meanwhile.
        py::gil_scoped_release release;
        result = ConvertPixels(source, destination);
    }
    if (result.status != ConvertStatus::Ok) {
        throw Error(std::string("cannot convert the image: ") + ConvertStatusText(result.status),
                    static_cast<int>(result.status), ErrorKind::Conversion);
    }
    return out;
}

}  // namespace lumopy
