#include "Sidecar.h"

#include <sstream>

#include "IImage.h"
#include "Json.h"
#include "PixelFormats.h"

namespace lumocam {

FrameFacts FrameFactsOf(VEXOGENICAM::IImage& image) {
    FrameFacts facts;
    facts.width = image.GetImageWidth();
    facts.height = image.GetImageHeight();
    facts.pixelFormat = image.GetPixelFormat();
    const char* name = VEXOGENICAM::PixelFormatName(facts.pixelFormat);
    facts.pixelFormatName = name != nullptr ? name : "";
    facts.frameId = image.GetImageFrameId();
    facts.timestamp = image.GetTimeStamp();
    facts.payloadSize = image.GetPayloadSize();
    facts.complete = image.IsComplete();
    return facts;
}

std::string SidecarJson(const FrameFacts& facts) {
    std::ostringstream out;
    out << "{\"width\": " << facts.width << ", \"height\": " << facts.height
        << ", \"pixelFormat\": " << JsonString(facts.pixelFormatName)
        << ", \"pixelFormatCode\": " << facts.pixelFormat << ", \"frameId\": " << facts.frameId
        << ", \"timestamp\": " << facts.timestamp << ", \"payloadSize\": " << facts.payloadSize
        << ", \"complete\": " << (facts.complete ? "true" : "false") << ", \"chunks\": {";
    const char* separator = "";
    for (const auto& [feature, value] : facts.chunks) {
        out << separator << JsonString(feature) << ": " << JsonString(value);
        separator = ", ";
    }
    out << "}}\n";
    return out.str();
}

}  // namespace lumocam
