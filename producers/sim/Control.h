#pragma once

#include <cstdint>

// Test controls of the simulated producer, outside the GenTL API: a test that loaded the
// producer finds them with dlsym. Both answer GC_ERR_NOT_INITIALIZED before GCInitLib.
extern "C" {

// Ends every injected call and register fault for the rest of this initialisation.
typedef int32_t (*PLumoSimClearFaults)();
// What the consumer still holds open: devices, data streams, and buffers announced on them.
typedef int32_t (*PLumoSimHeld)(uint64_t* devices, uint64_t* streams, uint64_t* buffers);
}
