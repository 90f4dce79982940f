#pragma once

#include <string>

namespace LumoSim {

// Appends one line per GenTL call to the file named by LUMOSIM_CALL_LOG: the function name,
// then `detail` when given. The file outlives the producer (it is written before each call
// returns and closed at once), so a test can see what a consumer called even after dlclose,
// including the calls made before GCInitLib or after GCCloseLib.
void RecordCall(const char* name, const std::string& detail = {});

}  // namespace LumoSim
