#pragma once

#include <string>

#include "RegisterSpace.h"

namespace LumoSim {

// What a powered camera keeps between applications: the camera head's
// settings, stored per serial number in a JSON state file (the `stateFile`
// configuration key, or LUMOSIM_STATE, which wins). Without either nothing is
// kept and every open starts from the configuration.
class CSettingsMemory {
public:
    // `path` empty: no memory.
    explicit CSettingsMemory(std::string path) : path_(std::move(path)) {}

    // Writes the remembered settings of `serial` through the registers' own
    // checks; a value the camera refuses (another sensor size in the
    // configuration, a format it no longer offers) is left at its default.
    void Restore(const std::string& serial, CRegisterSpace& camera) const;
    // Records the current settings of `serial`, keeping those of other
    // cameras in the file. Never throws: a camera that cannot remember still
    // closes.
    void Store(const std::string& serial, CRegisterSpace& camera) const;

    // LUMOSIM_STATE if set and not empty, else `configured`.
    static std::string Path(const std::string& configured);

private:
    std::string path_;
};

}  // namespace LumoSim
