#pragma once

#include <GenTL/GenTL.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "Scene.h"

namespace LumoSim {

// One announced buffer and the metadata of its last fill.
struct CBuffer {
    enum class State { Unqueued, Input, Filling, Output };

    void* handle = nullptr;
    uint8_t* base = nullptr;
    size_t size = 0;
    void* userPtr = nullptr;
    std::unique_ptr<uint8_t[]> owned;  // producer-allocated memory
    State state = State::Unqueued;
    enum class AfterFill { Deliver, Discard, ToInput };
    AfterFill afterFill = AfterFill::Deliver;  // set by a flush while the buffer is being filled

    bool newData = false;
    bool incomplete = false;
    bool largerThanBuffer = false;
    size_t sizeFilled = 0;
    size_t dataSize = 0;
    size_t imageSize = 0;
    uint64_t frameId = 0;
    uint64_t timestamp = 0;
    uint64_t timestampNs = 0;
    uint64_t deliveredNs = 0;  // CLOCK_MONOTONIC at the last delivery
    uint32_t deliveredHeight = 0;
    SceneParams params;
    std::vector<GenTL::SINGLE_CHUNK_DATA> chunks;
    // Which trailer layout and which chunks the data holds; 0 without chunk data.
    uint64_t chunkLayoutId = 0;

    bool IsQueued() const { return state != State::Unqueued; }
};

}  // namespace LumoSim
