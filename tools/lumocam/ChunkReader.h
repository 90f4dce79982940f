#pragma once

#include <string>
#include <utility>
#include <vector>

#include "GenApi/GenApi.h"
#include "LumoGenICam.h"

namespace lumocam {

// Reads the chunk values of grabbed images through the camera's remote node
// map: the chunk features are those named Chunk... that the application
// cannot write (ChunkModeActive, ChunkSelector and ChunkEnable are settings).
class ChunkReader {
public:
    explicit ChunkReader(GenApi::INodeMap& remote);
    ~ChunkReader();
    ChunkReader(const ChunkReader&) = delete;
    ChunkReader& operator=(const ChunkReader&) = delete;

    // The values this image carries, feature name and text; the chunks it
    // lacks are left out. A chunk list that does not fit the payload gives
    // one pair ("error", reason).
    std::vector<std::pair<std::string, std::string>> Read(VEXOGENICAM::IImage& image);

private:
    GenApi::CChunkAdapterGeneric m_adapter;
    std::vector<GenApi::INode*> m_features;
};

// Turns chunk data on with every chunk the camera offers; throws ToolError
// (unknown feature) when the camera has no chunk mode.
void EnableAllChunks(GenApi::INodeMap& remote);

}  // namespace lumocam
