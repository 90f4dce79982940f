// Opens the first camera, grabs a few frames and saves the last one, converted
// to 8-bit mono or colour, as a PGM/PPM picture (no image library needed).
//
//   grab_and_save [frames] [out.ppm]
#include <cstdio>
#include <cstdlib>

#include "LumoGenICam.h"

using namespace VEXOGENICAM;

// PGM for one channel, PPM for three; the library's colour order is BGR.
static bool SavePnm(IImage* image, const char* path) {
    const auto* pixels = static_cast<const unsigned char*>(image->GetImageData());
    if (pixels == nullptr) {
        return false;  // incomplete frame or a format the library cannot convert
    }
    const std::size_t width = image->GetImageWidth();
    const std::size_t height = image->GetImageHeight();
    const std::size_t channels = image->GetImageChannel();
    FILE* out = std::fopen(path, "wb");
    if (out == nullptr) {
        return false;
    }
    std::fprintf(out, "P%c\n%zu %zu\n255\n", channels == 1 ? '5' : '6', width, height);
    for (std::size_t y = 0; y < height; ++y) {
        const unsigned char* row = pixels + y * image->GetImageStep();
        for (std::size_t x = 0; x < width; ++x) {
            const unsigned char* p = row + x * channels;
            const unsigned char rgb[3] = {p[channels - 1], p[channels / 2], p[0]};
            std::fwrite(channels == 1 ? p : rgb, 1, channels, out);
        }
    }
    return std::fclose(out) == 0;
}

int main(int argc, char** argv) {
    const int frames = argc > 1 ? std::atoi(argv[1]) : 5;
    const char* path = argc > 2 ? argv[2] : "frame.ppm";

    Init();
    std::list<ICameraInfo*> cameras = Discovery(nullptr);
    ICamera* camera = cameras.empty() ? nullptr : CreateCamera(cameras.front());
    int result = 1;
    if (camera == nullptr) {
        std::fprintf(stderr, "no camera found\n");
    } else if (camera->Open(DEVICE_OPEN_MODE_CONTROL) != 0) {
        std::fprintf(stderr, "cannot open the camera\n");
    } else if (camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, ~0ULL) != 0) {  // until StopGrab
        std::fprintf(stderr, "cannot start acquisition\n");
    } else {
        for (int n = 0; n < frames; ++n) {
            IImage* image = nullptr;
            const int rc = camera->GrabImage(&image, 2000);  // wait up to 2 s
            if (image == nullptr) {
                std::fprintf(stderr, "no frame (code %d)\n", rc);
                break;
            }
            // A frame with failed metadata is still handed out: check it.
            std::printf("frame %llu: %zux%zu%s\n", image->GetImageFrameId(), image->GetImageWidth(),
                        image->GetImageHeight(), image->IsComplete() ? "" : " (incomplete)");
            if (n == frames - 1 && SavePnm(image, path)) {
                std::printf("saved %s\n", path);
                result = 0;
            }
            image->Release();  // gives the buffer back to the stream
        }
        camera->StopGrab();
    }
    if (camera != nullptr) {
        camera->Release();  // closes the device
    }
    for (ICameraInfo* info : cameras) {
        info->Release();
    }
    UnInit();
    return result;
}
