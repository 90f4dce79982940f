#pragma once

#include <string>
#include <vector>

namespace VEXOGENICAM {

// One producer file found by the search, before it is loaded.
struct ProducerCandidate {
    std::string key;   // how the manager remembers it: the bare name beside the
                       // library, the real path for the variable's producers
    std::string path;  // the file as found
    bool fromVariable = false;
    std::string skipReason;  // non-empty: considered but not to be loaded
};

// Where producers are found: first the library's own folder (regular files
// with any-case ".cti", in directory order; symbolic links are listed as
// skipped), then every entry of GENICAM_GENTL64_PATH (a folder gives its
// ".cti" files in name order, a file itself; links followed), each real file
// once.
class CProducerSearch {
public:
    static constexpr const char* kVariable = "GENICAM_GENTL64_PATH";

    // Producer names beside the library, as the manager has always listed them.
    static std::vector<std::string> LibraryFolderNames(const std::string& folder);
    // Every candidate in search order, with the skipped ones.
    static std::vector<ProducerCandidate> Find(const std::string& libraryFolder);
    // The file's canonical path, or empty when it cannot be resolved.
    static std::string RealPath(const std::string& path);
    static bool HasProducerSuffix(const std::string& name);

private:
    static std::vector<std::string> ScanLibraryFolder(const std::string& folder,
                                                      std::vector<std::string>* links);
};

}  // namespace VEXOGENICAM
