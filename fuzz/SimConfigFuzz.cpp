// The simulated producer's JSON configuration: any text is accepted with a
// configuration or refused with a reason, never a crash.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Config.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    LumoSim::Config config;
    std::string error;
    if (!LumoSim::Config::Parse(text, config, error) && error.empty()) {
        std::abort();  // a refusal always says why
    }
    return 0;
}
