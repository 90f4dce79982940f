#include "ChunkReader.h"

#include "ExitCodes.h"
#include "NodeLookup.h"
#include "Features.h"
#include "ImageChunks.h"

namespace lumocam {

using namespace GenApi;

ChunkReader::ChunkReader(INodeMap& remote) : m_adapter(&remote) {
    NodeList_t nodes;
    remote.GetNodes(nodes);
    for (INode* node : nodes) {
        const std::string name = node->GetName().str();
        const EInterfaceType type = node->GetPrincipalInterfaceType();
        if (node->IsFeature() && name.rfind("Chunk", 0) == 0 && !IsWritable(node) &&
            type != intfICategory && type != intfICommand) {
            m_features.push_back(node);
        }
    }
}

ChunkReader::~ChunkReader() {
    m_adapter.DetachBuffer();
}

std::vector<std::pair<std::string, std::string>> ChunkReader::Read(VEXOGENICAM::IImage& image) {
    std::vector<std::pair<std::string, std::string>> values;
    try {
        VEXOGENICAM::AttachImageChunks(&image, m_adapter);
    } catch (const GenICam::GenericException& e) {
        values.emplace_back("error", e.GetDescription());
        return values;
    }
    for (INode* node : m_features) {
        if (!IsReadable(node)) {
            continue;
        }
        try {
            values.emplace_back(node->GetName().str(), CValuePtr(node)->ToString(true).str());
        } catch (const GenICam::GenericException&) {
            continue;  // this image does not carry that chunk
        }
    }
    // Chunk features must not point into a buffer that goes back to the stream.
    m_adapter.DetachBuffer();
    return values;
}

void EnableAllChunks(INodeMap& remote) {
    if (remote.GetNode("ChunkModeActive") == nullptr) {
        throw ToolError(kExitUnknownFeature,
                        "--chunks: this camera has no chunk data (no ChunkModeActive feature)");
    }
    WriteFeature(remote, "ChunkModeActive", "true");
    CEnumerationPtr selector(remote.GetNode("ChunkSelector"));
    INode* enable = remote.GetNode("ChunkEnable");
    if (!selector || enable == nullptr) {
        return;  // chunk mode alone decides
    }
    for (const std::string& entry : lumoclient::AvailableEntryNames(*selector)) {
        WriteFeature(remote, "ChunkSelector", entry);
        WriteFeature(remote, "ChunkEnable", "true");
    }
}

}  // namespace lumocam
