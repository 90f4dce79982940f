#pragma once

#include <cstddef>
#include <list>
#include <string>

#include "LumoExport.h"

namespace VEXOGENICAM {

// What became of one producer file that the library considered.
enum class PRODUCER_STATE : int {
    PRODUCER_LOADED = 0,   // loaded and initialised; its cameras are discovered
    PRODUCER_FAILED = 1,   // tried once and failed; not tried again until UnInit
    PRODUCER_SKIPPED = 2,  // not tried (a symbolic link beside the library, a duplicate)
};

// One record per producer file: where it was found, whether it is used and,
// when it is not, why. Filled from the producer's own answers when loaded.
struct ProducerReport {
    std::string path;    // the file as found (beside the library or from the variable)
    std::string origin;  // "library folder" or "GENICAM_GENTL64_PATH"
    PRODUCER_STATE state = PRODUCER_STATE::PRODUCER_FAILED;
    std::string reason;         // why it is not used; empty when loaded
    std::string failedStep;     // "dlopen", a missing entry point's name, or the GenTL call
    int errorCode = 0;          // the GenTL code of the failed call, 0 when none
    std::string producerError;  // the producer's GCGetLastError text, when it gave one
    std::string tlType;         // TL_INFO_TLTYPE, e.g. "GEV" (loaded producers)
    std::string vendor;
    std::string model;
    std::string version;
    std::size_t interfaceCount = 0;
};

// Considers every producer file as discovery does (beside the library, then
// GENICAM_GENTL64_PATH), loading those not tried yet, and reports each in
// search order. Empty before Init and after UnInit. The same records are
// written to the log when a producer is first tried.
LUMO_API std::list<ProducerReport> GetProducerReports();

// "loaded", "failed" or "skipped".
LUMO_API const char* ProducerStateName(PRODUCER_STATE state);

}  // namespace VEXOGENICAM
