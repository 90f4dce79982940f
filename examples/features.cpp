// Reads and writes camera features through the GenApi node map of the remote
// device, with the same smart pointers GenApi applications use.
//
//   features
#include <cstdio>

#include "GenApi/GenApi.h"
#include "LumoGenICam.h"

using namespace VEXOGENICAM;
using namespace GenApi;

static int Run(ICamera* camera) {
    if (camera->Open(DEVICE_OPEN_MODE_CONTROL) != 0) {
        std::fprintf(stderr, "cannot open the camera\n");
        return 1;
    }
    INodeMap* nodeMap = camera->GetRMXml()->GetNodeMap();  // the camera's own features
    if (nodeMap == nullptr) {
        std::fprintf(stderr, "the camera has no feature description\n");
        return 1;
    }
    // A pointer of the wrong type (or a missing feature) is simply invalid.
    CIntegerPtr width = nodeMap->GetNode("Width");
    CEnumerationPtr pixelFormat = nodeMap->GetNode("PixelFormat");
    CFloatPtr frameRate = nodeMap->GetNode("AcquisitionFrameRate");
    try {
        if (IsReadable(width)) {
            std::printf(
                "Width %lld (%lld .. %lld, step %lld)\n", static_cast<long long>(width->GetValue()),
                static_cast<long long>(width->GetMin()), static_cast<long long>(width->GetMax()),
                static_cast<long long>(width->GetInc()));
        }
        if (IsWritable(width)) {
            width->SetValue(width->GetMax() / 2 / width->GetInc() * width->GetInc());
            std::printf("Width := %lld\n", static_cast<long long>(width->GetValue()));
        }
        if (IsWritable(pixelFormat) && pixelFormat->GetEntryByName("Mono8") != nullptr) {
            *pixelFormat = "Mono8";  // enumerations are set by entry name
            std::printf("PixelFormat := %s\n", pixelFormat->ToString().c_str());
        }
        if (IsReadable(frameRate)) {
            std::printf("AcquisitionFrameRate %.1f\n", frameRate->GetValue());
        }
        // Values outside the range raise OutOfRangeException, naming the feature.
        if (IsWritable(width)) {
            width->SetValue(width->GetMax() + 1);
        }
    } catch (const GenICam::OutOfRangeException& e) {
        std::printf("refused as expected: %s\n", e.GetDescription());
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "feature access failed: %s\n", e.GetDescription());
        return 1;
    }
    return 0;
}

int main() {
    Init();
    std::list<ICameraInfo*> cameras = Discovery(nullptr);
    int result = 1;
    if (cameras.empty()) {
        std::fprintf(stderr, "no camera found\n");
    } else if (ICamera* camera = CreateCamera(cameras.front())) {
        result = Run(camera);
        camera->Release();
    }
    for (ICameraInfo* info : cameras) {
        info->Release();
    }
    UnInit();
    return result;
}
