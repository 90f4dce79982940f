#pragma once

#include <cstddef>

namespace VEXOGENICAM {

// One chunk of an image buffer. The data points into the buffer and lives as
// long as the image that listed it.
class IChunk {
public:
    virtual unsigned long long GetID() = 0;
    virtual void* GetData() = 0;
    virtual std::size_t GetLength() = 0;

protected:
    ~IChunk() = default;
};

}  // namespace VEXOGENICAM
