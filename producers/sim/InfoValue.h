#pragma once

#include <GenTL/GenTL.h>

#include <cstring>
#include <string>
#include <vector>

namespace LumoSim {

// A typed value for the *GetInfo family, with the size negotiation every such call shares.
struct InfoValue {
    GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
    std::vector<uint8_t> bytes;

    template <typename T>
    static InfoValue Of(GenTL::INFO_DATATYPE t, T v) {
        InfoValue i{t, std::vector<uint8_t>(sizeof(T))};
        std::memcpy(i.bytes.data(), &v, sizeof(T));
        return i;
    }
    static InfoValue String(const std::string& s) {
        return {GenTL::INFO_DATATYPE_STRING,
                std::vector<uint8_t>(s.c_str(), s.c_str() + s.size() + 1)};
    }
    static InfoValue Buffer(std::vector<uint8_t> b) {
        return {GenTL::INFO_DATATYPE_BUFFER, std::move(b)};
    }
    static InfoValue Bool(bool b) { return Of<uint8_t>(GenTL::INFO_DATATYPE_BOOL8, b ? 1 : 0); }
    static InfoValue SizeT(size_t v) { return Of(GenTL::INFO_DATATYPE_SIZET, v); }
    static InfoValue U64(uint64_t v) { return Of(GenTL::INFO_DATATYPE_UINT64, v); }
    static InfoValue U32(uint32_t v) { return Of(GenTL::INFO_DATATYPE_UINT32, v); }
    static InfoValue I32(int32_t v) { return Of(GenTL::INFO_DATATYPE_INT32, v); }
    static InfoValue Ptr(void* v) { return Of(GenTL::INFO_DATATYPE_PTR, v); }

    GenTL::GC_ERROR CopyOut(GenTL::INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) const {
        if (piType)
            *piType = type;
        if (!pBuffer) {
            *piSize = bytes.size();
            return GenTL::GC_ERR_SUCCESS;
        }
        if (*piSize < bytes.size())
            return GenTL::GC_ERR_BUFFER_TOO_SMALL;
        std::memcpy(pBuffer, bytes.data(), bytes.size());
        *piSize = bytes.size();
        return GenTL::GC_ERR_SUCCESS;
    }
};

}  // namespace LumoSim
