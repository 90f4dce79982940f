#pragma once

#include <arv.h>

#include <cstdint>
#include <memory>

namespace LumoGev {

// One announced buffer. The Aravis buffer wraps the same memory (no copy); the producer keeps
// one reference of its own for the buffer's whole life, and a second one travels with the
// buffer while Aravis holds it.
struct CBuffer {
    enum class Where { Unqueued, Input, Engine, Output };

    void* handle = nullptr;
    uint8_t* base = nullptr;
    size_t size = 0;
    void* userPtr = nullptr;
    std::unique_ptr<uint8_t[]> owned;  // producer-allocated memory
    ArvBuffer* arv = nullptr;
    Where where = Where::Unqueued;
    // Flushed while Aravis fills it: unqueued as soon as Aravis gives it back.
    bool discardOnReturn = false;

    // The last fill, from the GVSP leader and trailer as Aravis reports them.
    bool newData = false;
    bool incomplete = false;
    size_t filled = 0;
    uint64_t frameId = 0;
    uint64_t timestampNs = 0;
    uint32_t width = 0, height = 0, xOffset = 0, yOffset = 0, xPadding = 0, yPadding = 0;
    uint64_t pixelFormat = 0;
    int32_t payloadType = 0;
    bool hasChunks = false;

    CBuffer(uint8_t* memory, size_t bytes, void* user) : base(memory), size(bytes), userPtr(user) {
        arv = arv_buffer_new_full(bytes, memory, nullptr, nullptr);
    }
    ~CBuffer() { g_object_unref(arv); }
    CBuffer(const CBuffer&) = delete;
    CBuffer& operator=(const CBuffer&) = delete;
};

}  // namespace LumoGev
