#pragma once

#include "IValue.h"

namespace GenApi {

struct GENAPI_DECL IInteger : virtual public IValue {
    virtual void SetValue(int64_t Value, bool Verify = true) = 0;
    virtual int64_t GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual int64_t GetMin() = 0;
    virtual int64_t GetMax() = 0;
    virtual int64_t GetInc() = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual gcstring GetUnit() const = 0;
    virtual EIncMode GetIncMode() = 0;
    // The values a <ValidValueSet> lists, in the order written; bounded keeps
    // those within [GetMin(), GetMax()]. Empty unless GetIncMode() is
    // listIncrement. With a list, SetValue(v, true) refuses any other value.
    virtual int64_autovector_t GetListOfValidValues(bool bounded = true) = 0;

    IInteger& operator=(int64_t Value) {
        SetValue(Value);
        return *this;
    }
    int64_t operator()() { return GetValue(); }
    int64_t operator*() { return GetValue(); }

protected:
    ~IInteger() override = default;
};

}  // namespace GenApi
