#pragma once

#include "GenApi/ChunkAdapter.h"
#include "IImage.h"
#include "LumoExport.h"

namespace VEXOGENICAM {

// Attaches the chunks the producer listed for image to the adapter's node map
// (the camera's remote map), so that ChunkFrameID, ChunkWidth and the like read
// this image's values. The image must stay unreleased while they are read;
// attach the next image or call adapter.DetachBuffer() before releasing it.
// Throws GenICam::RuntimeException when a chunk lies outside the payload.
LUMO_API void AttachImageChunks(IImage* image, GenApi::CChunkAdapterGeneric& adapter);

}  // namespace VEXOGENICAM
