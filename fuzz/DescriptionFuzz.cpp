// Loads a description (ZIP when the input starts like one, else XML), connects
// a port whose register space repeats the input, and reads every feature.
#include <glib.h>

#include "FeatureWalk.h"

namespace {

void Quiet(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = (g_log_set_default_handler(Quiet, nullptr), true);
    (void)quiet;
    GenApi::CNodeMapRef map;
    try {
        if (size >= 2 && data[0] == 'P' && data[1] == 'K') {
            map._LoadXMLFromZIPData(data, size);
        } else {
            map._LoadXMLFromString(GenICam::gcstring(reinterpret_cast<const char*>(data), size));
        }
    } catch (const GenICam::GenericException&) {
        return 0;
    }
    lumo_fuzz::CPatternPort port(data, size);
    map._Connect(&port, "Device");
    lumo_fuzz::WalkEveryFeature(*map._Ptr());
    return 0;
}
