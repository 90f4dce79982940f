#pragma once

#include <GenTL/GenTL.h>

#include <cstring>
#include <string>
#include <vector>

#include "GentlError.h"

namespace LumoGev {

// A typed answer of the *GetInfo family, with the size negotiation they share.
struct InfoReply {
    GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
    std::vector<uint8_t> bytes;

    template <typename T>
    static InfoReply Of(GenTL::INFO_DATATYPE t, T v) {
        InfoReply r{t, std::vector<uint8_t>(sizeof(T))};
        std::memcpy(r.bytes.data(), &v, sizeof(T));
        return r;
    }
    static InfoReply Text(const std::string& s) {
        InfoReply r{GenTL::INFO_DATATYPE_STRING, std::vector<uint8_t>(s.begin(), s.end())};
        r.bytes.push_back(0);
        return r;
    }
    static InfoReply Bytes(std::vector<uint8_t> b) {
        return {GenTL::INFO_DATATYPE_BUFFER, std::move(b)};
    }
    static InfoReply Bool(bool b) { return Of<uint8_t>(GenTL::INFO_DATATYPE_BOOL8, b ? 1 : 0); }
    static InfoReply SizeT(size_t v) { return Of(GenTL::INFO_DATATYPE_SIZET, v); }
    static InfoReply U64(uint64_t v) { return Of(GenTL::INFO_DATATYPE_UINT64, v); }
    static InfoReply I32(int32_t v) { return Of(GenTL::INFO_DATATYPE_INT32, v); }
    static InfoReply I64(int64_t v) { return Of(GenTL::INFO_DATATYPE_INT64, v); }
    static InfoReply U32(uint32_t v) { return Of(GenTL::INFO_DATATYPE_UINT32, v); }
    static InfoReply Ptr(void* v) { return Of(GenTL::INFO_DATATYPE_PTR, v); }

    // Size query with a null buffer, else a copy that must fit.
    void CopyOut(GenTL::INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) const {
        Require(piSize, "piSize");
        if (piType != nullptr)
            *piType = type;
        if (pBuffer == nullptr) {
            *piSize = bytes.size();
            return;
        }
        if (*piSize < bytes.size()) {
            Fail(GenTL::GC_ERR_BUFFER_TOO_SMALL, "the buffer holds " + std::to_string(*piSize) +
                                                     " bytes, the value needs " +
                                                     std::to_string(bytes.size()));
        }
        std::memcpy(pBuffer, bytes.data(), bytes.size());
        *piSize = bytes.size();
    }
};

// The *GetInfo calls: the type pointer is required there (not for the ID and URL calls).
inline void ReplyInfo(const InfoReply& r, GenTL::INFO_DATATYPE* piType, void* pBuffer,
                      size_t* piSize) {
    Require(piType, "piType");
    r.CopyOut(piType, pBuffer, piSize);
}

inline void ReplyText(const std::string& s, char* pBuffer, size_t* piSize) {
    InfoReply::Text(s).CopyOut(nullptr, pBuffer, piSize);
}

}  // namespace LumoGev
