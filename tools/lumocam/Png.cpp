#include "Png.h"

#include <png.h>

#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "ExitCodes.h"

namespace lumocam {

void WritePng(const std::filesystem::path& path, const void* pixels, std::size_t width,
              std::size_t height, std::size_t channels, std::size_t stride) {
    if (pixels == nullptr || width == 0 || height == 0 || (channels != 1 && channels != 3) ||
        stride < width * channels ||
        stride > static_cast<std::size_t>(std::numeric_limits<png_int_32>::max())) {
        throw ToolError(kExitFailure, "cannot write " + path.string() + ": not an 8-bit image");
    }
    // The simplified API handles libpng's error longjmp internally, so no
    // setjmp has to cross C++ frames here.
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = channels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_BGR;
    const int ok = png_image_write_to_file(&image, path.c_str(), 0, pixels,
                                           static_cast<png_int_32>(stride), nullptr);
    const std::string message = image.message;
    png_image_free(&image);
    if (ok == 0) {
        throw ToolError(kExitFailure, "cannot write " + path.string() + ": " + message);
    }
}

void WriteFile(const std::filesystem::path& path, const void* data, std::size_t size) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
    if (!file || std::fwrite(data, 1, size, file.get()) != size) {
        throw ToolError(kExitFailure, "cannot write " + path.string());
    }
}

}  // namespace lumocam
