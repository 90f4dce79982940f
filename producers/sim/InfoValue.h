#pragma once

#include <GenTL/GenTL.h>

#include <cstring>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
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

    // Many info commands report a plain member of the module, the buffer or the configuration:
    // the member of `s` that `fields` names for `cmd`, as `make` types it; nothing for the
    // commands `fields` does not name.
    template <typename T, typename S>
    using Fields = std::initializer_list<std::pair<int32_t, T S::*>>;
    template <typename T, typename S, typename Make>
    static std::optional<InfoValue> Field(const S& s, int32_t cmd, Make make, Fields<T, S> fields) {
        for (const auto& [fieldCmd, member] : fields) {
            if (fieldCmd == cmd)
                return make(s.*member);
        }
        return std::nullopt;
    }
    template <typename S>
    static std::optional<InfoValue> Text(const S& s, int32_t cmd, Fields<std::string, S> fields) {
        return Field<std::string>(s, cmd, String, fields);
    }

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
