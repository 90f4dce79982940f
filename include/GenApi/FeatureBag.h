#pragma once

#include <utility>
#include <vector>

#include "INodeMap.h"

namespace GenApi {

// The streamable features of a node map as text, one "Name<TAB>Value" line
// each. Features behind a selector are stored once per selector value, each
// after the line that sets the selector, and the selector's own value comes
// last so that loading leaves it as it was.
class GENAPI_DECL CFeatureBag {
public:
    // Replaces the bag's content; returns the number of lines stored. An
    // integer selector is walked over at most MaxNumPersistSelectorIterations
    // values. A feature whose value cannot be read is left out and named in
    // pErrorList.
    int64_t StoreFromNodeMap(INodeMap* pNodeMap, int MaxNumPersistSelectorIterations = 100,
                             StringList_t* pErrorList = nullptr);

    // Writes the bag into the map: in stored order, then again for what
    // failed (a range that depends on a later feature) while that helps.
    // Returns true when every line was set; pErrorList gets one line naming
    // the feature, the value and the reason for each one that was not. With
    // Validate, a value that does not read back as written counts as failed.
    bool LoadFromBag(INodeMap* pNodeMap, bool Validate = true, StringList_t* pErrorList = nullptr);

    gcstring ToString() const;
    // Throws InvalidArgumentException naming the first line that is not
    // "Name<TAB>Value", a comment or empty.
    void FromString(const gcstring& Text);

    const std::vector<std::pair<gcstring, gcstring>>& Entries() const { return m_entries; }

private:
    std::vector<std::pair<gcstring, gcstring>> m_entries;
};

// Convenience forms over CFeatureBag. File errors raise RuntimeException.
GENAPI_DECL gcstring StoreToString(INodeMap* pNodeMap);
GENAPI_DECL bool LoadFromString(INodeMap* pNodeMap, const gcstring& Text,
                                StringList_t* pErrorList = nullptr);
GENAPI_DECL void StoreToFile(INodeMap* pNodeMap, const gcstring& FileName);
GENAPI_DECL bool LoadFromFile(INodeMap* pNodeMap, const gcstring& FileName,
                              StringList_t* pErrorList = nullptr);

}  // namespace GenApi
