#pragma once

#include <GenApi/GenApi.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace lumo_fuzz {

// Register space whose bytes repeat the fuzz input: the fuzzer decides what
// the device answers. Accesses past its end fail as a transport would.
class CPatternPort : public GenApi::CPortImpl {
public:
    CPatternPort(const uint8_t* data, size_t size) : m_memory(0x10000, 0) {
        for (size_t i = 0; size > 0 && i < m_memory.size(); ++i) {
            m_memory[i] = data[i % size];
        }
    }
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* pBuffer, int64_t Address, int64_t Length) override {
        Check(Address, Length);
        std::memcpy(pBuffer, m_memory.data() + Address, static_cast<size_t>(Length));
    }
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        Check(Address, Length);
        std::memcpy(m_memory.data() + Address, pBuffer, static_cast<size_t>(Length));
    }

private:
    void Check(int64_t address, int64_t length) const {
        if (address < 0 || length < 0 || address > static_cast<int64_t>(m_memory.size()) ||
            length > static_cast<int64_t>(m_memory.size()) - address) {
            throw GenICam::GenericException("Read address failed", "PatternPort", 0);
        }
    }
    std::vector<uint8_t> m_memory;
};

// Reads every node of the map through each interface it offers and writes
// back what was read; every GenICam exception is an acceptable answer.
inline void WalkEveryFeature(GenApi::INodeMap& map) {
    using namespace GenApi;
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        try {
            node->GetAccessMode();
            node->GetDisplayName();
            node->GetVisibility();
            switch (node->GetPrincipalInterfaceType()) {
                case intfIInteger: {
                    CIntegerPtr value(node);
                    value->GetMin();
                    value->GetMax();
                    value->GetInc();
                    value->SetValue(value->GetValue(true), true);
                    break;
                }
                case intfIFloat: {
                    CFloatPtr value(node);
                    value->GetMin();
                    value->GetMax();
                    value->SetValue(value->GetValue(true), true);
                    break;
                }
                case intfIEnumeration: {
                    CEnumerationPtr value(node);
                    NodeList_t entries;
                    value->GetEntries(entries);
                    value->GetCurrentEntry();
                    value->FromString(value->ToString());
                    break;
                }
                case intfIRegister: {
                    CRegisterPtr value(node);
                    value->GetAddress();
                    value->FromString(value->ToString());
                    break;
                }
                case intfICommand: {
                    CCommandPtr value(node);
                    value->Execute();
                    value->IsDone();
                    break;
                }
                case intfICategory: {
                    CCategoryPtr value(node);
                    FeatureList_t features;
                    value->GetFeatures(features);
                    break;
                }
                case intfIString:
                case intfIBoolean: {
                    CValuePtr value(node);
                    value->FromString(value->ToString());
                    break;
                }
                default:
                    break;
            }
        } catch (const GenICam::GenericException&) {
        }
    }
}

}  // namespace lumo_fuzz
