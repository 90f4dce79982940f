#pragma once

#include <GenTL/GenTL.h>

#include <cstdint>

// The simulator's own info commands, in the producer-specific range.
namespace LumoSim {

// UINT64: CLOCK_MONOTONIC in ns, read just before the buffer's EVENT_NEW_BUFFER
// was delivered; lets a consumer measure its latency from delivery.
constexpr int32_t kBufferInfoDeliveredNs = GenTL::BUFFER_INFO_CUSTOM_ID;

}  // namespace LumoSim
