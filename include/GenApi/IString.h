#pragma once

#include "IValue.h"

namespace GenApi {

struct GENAPI_DECL IString : virtual public IValue {
    virtual void SetValue(const gcstring& Value, bool Verify = true) = 0;
    virtual gcstring GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual int64_t GetMaxLength() = 0;

    IString& operator=(const gcstring& Value) {
        SetValue(Value);
        return *this;
    }
    gcstring operator()() { return GetValue(); }
    gcstring operator*() { return GetValue(); }

protected:
    ~IString() override = default;
};

}  // namespace GenApi
