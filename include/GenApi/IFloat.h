#pragma once

#include "IValue.h"

namespace GenApi {

struct GENAPI_DECL IFloat : virtual public IValue {
    virtual void SetValue(double Value, bool Verify = true) = 0;
    virtual double GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual double GetMin() = 0;
    virtual double GetMax() = 0;
    virtual bool HasInc() = 0;
    virtual double GetInc() = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual gcstring GetUnit() const = 0;
    virtual EDisplayNotation GetDisplayNotation() = 0;
    virtual int64_t GetDisplayPrecision() = 0;
    virtual EIncMode GetIncMode() = 0;
    // As IInteger's: the <ValidValueSet> values, bounded to [GetMin(), GetMax()].
    virtual double_autovector_t GetListOfValidValues(bool bounded = true) = 0;

    IFloat& operator=(double Value) {
        SetValue(Value);
        return *this;
    }
    double operator()() { return GetValue(); }
    double operator*() { return GetValue(); }

protected:
    ~IFloat() override = default;
};

}  // namespace GenApi
