#include "ImageChunks.h"

#include <vector>

#include "GenApi/GCException.h"

namespace VEXOGENICAM {

void AttachImageChunks(IImage* image, GenApi::CChunkAdapterGeneric& adapter) {
    if (image == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("AttachImageChunks: the image is null");
    }
    auto* base = static_cast<uint8_t*>(image->GetPayloadBuf());
    std::vector<GenApi::SingleChunkData_t> chunks;
    for (IChunk* chunk : image->GetChunks()) {
        const auto* data = static_cast<const uint8_t*>(chunk->GetData());
        chunks.push_back({chunk->GetID(), data - base, static_cast<int64_t>(chunk->GetLength())});
    }
    adapter.AttachBuffer(base, static_cast<int64_t>(image->GetPayloadSize()), chunks.data(),
                         static_cast<int64_t>(chunks.size()));
}

}  // namespace VEXOGENICAM
