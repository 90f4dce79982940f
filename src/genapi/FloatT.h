#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <cstdlib>
#include <sstream>

#include <type_traits>

#include "Node.h"
#include "RegisterT.h"

namespace GenApi {

template <class Base>
class CFloatT : public Base, public virtual IFloat {
public:
    using Base::Base;

    double GetValue(bool Verify = false, bool IgnoreCache = false) override {
        auto lock = this->Lock();
        RequireBoundedLength();
        this->RequireReadable(Verify);
        const double value = this->Call(
            IgnoreCache, [this](GError** e) { return arv_gc_float_get_value(Engine(), e); });
        if (Verify) {
            CheckRange(value);
        }
        return value;
    }

    void SetValue(double Value, bool Verify = true) override {
        auto lock = this->Lock();
        RequireBoundedLength();
        this->RequireWritable(Verify);
        if (Verify) {
            CheckRange(Value);
        }
        this->Call(false,
                   [this, Value](GError** e) { arv_gc_float_set_value(Engine(), Value, e); });
        this->AfterWrite(lock);
    }

    double GetMin() override {
        return this->Call(false, [this](GError** e) { return arv_gc_float_get_min(Engine(), e); });
    }
    double GetMax() override {
        return this->Call(false, [this](GError** e) { return arv_gc_float_get_max(Engine(), e); });
    }
    bool HasInc() override { return GetInc() > 0.0; }
    double GetInc() override {
        try {
            return this->Call(false,
                              [this](GError** e) { return arv_gc_float_get_inc(Engine(), e); });
        } catch (const GenICam::PropertyException&) {
            return 0.0;  // continuous value
        }
    }

    ERepresentation GetRepresentation() override {
        auto lock = this->Lock();
        switch (arv_gc_float_get_representation(Engine())) {
            case ARV_GC_REPRESENTATION_LOGARITHMIC:
                return Logarithmic;
            case ARV_GC_REPRESENTATION_PURE_NUMBER:
                return PureNumber;
            default:
                return Linear;
        }
    }

    gcstring GetUnit() const override {
        auto lock = this->Lock();
        const char* unit = arv_gc_float_get_unit(Engine());
        return unit ? unit : "";
    }

    EDisplayNotation GetDisplayNotation() override {
        auto lock = this->Lock();
        switch (arv_gc_float_get_display_notation(Engine())) {
            case ARV_GC_DISPLAY_NOTATION_FIXED:
                return fnFixed;
            case ARV_GC_DISPLAY_NOTATION_SCIENTIFIC:
                return fnScientific;
            default:
                return fnAutomatic;
        }
    }

    int64_t GetDisplayPrecision() override {
        auto lock = this->Lock();
        return arv_gc_float_get_display_precision(Engine());
    }

    // A float takes the values its description lists, else steps by its
    // increment or not at all.
    EIncMode GetIncMode() override {
        return ValidSet() ? listIncrement : HasInc() ? fixedIncrement : noIncrement;
    }
    double_autovector_t GetListOfValidValues(bool bounded = true) override {
        const std::vector<std::string>* set = ValidSet();
        if (!set) {
            return {};
        }
        constexpr double kAll = std::numeric_limits<double>::infinity();
        return bounded ? ValidValuesWithin<double>(*set, GetMin(), GetMax())
                       : ValidValuesWithin<double>(*set, -kAll, kAll);
    }

    INode* GetNode() override { return this; }

    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override {
        std::ostringstream os;
        os << GetValue(Verify, IgnoreCache);
        return os.str();
    }

    void FromString(const gcstring& ValueStr, bool Verify = true) override {
        char* end = nullptr;
        const double value = std::strtod(ValueStr.c_str(), &end);
        if (ValueStr.empty() || end == nullptr || *end != '\0') {
            this->ThrowInvalidValue(ValueStr.str());
        }
        SetValue(value, Verify);
    }

private:
    // An integer or float register is read and written whole.
    void RequireBoundedLength() {
        if constexpr (std::is_base_of_v<IRegister, Base>) {
            Base::RequireBoundedLength();
        }
    }

    ArvGcFloat* Engine() const { return ARV_GC_FLOAT(this->EngineNode()); }
    const std::vector<std::string>* ValidSet() const {
        return this->Map().ValidValues(this->Name());
    }

    void CheckRange(double value) {
        const double min = GetMin();
        const double max = GetMax();
        if (std::isnan(value) || value < min || value > max) {
            throw OUT_OF_RANGE_EXCEPTION("Feature '%s': value %g must be within [%g, %g]",
                                         this->Name().c_str(), value, min, max);
        }
        if (ValidSet()) {
            const double_autovector_t valid = GetListOfValidValues(true);
            if (std::find(valid.begin(), valid.end(), value) == valid.end()) {
                throw OUT_OF_RANGE_EXCEPTION(
                    "Feature '%s': value %g is not one of its %zu valid values",
                    this->Name().c_str(), value, valid.size());
            }
        }
    }
};

}  // namespace GenApi
