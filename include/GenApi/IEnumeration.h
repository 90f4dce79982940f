#pragma once

#include "IEnumEntry.h"

namespace GenApi {

struct GENAPI_DECL IEnumeration : virtual public IValue {
    virtual void GetSymbolics(StringList_t& Symbolics) = 0;
    virtual void GetEntries(NodeList_t& Entries) = 0;
    virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
    virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual IEnumEntry* GetEntryByName(const gcstring& Symbolic) = 0;
    virtual IEnumEntry* GetEntry(int64_t IntValue) = 0;
    virtual IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) = 0;

    IEnumeration& operator=(const gcstring& Symbolic) {
        FromString(Symbolic);
        return *this;
    }
    IEnumeration& operator=(const char* Symbolic) {
        FromString(Symbolic);
        return *this;
    }
    IEnumEntry* operator*() { return GetCurrentEntry(); }

protected:
    ~IEnumeration() override = default;
};

}  // namespace GenApi
