#pragma once

#include <algorithm>
#include <cstdlib>
#include <limits>

#include <type_traits>

#include "Node.h"
#include "RegisterT.h"

namespace GenApi {

template <class Base>
class CIntegerT : public Base, public virtual IInteger {
public:
    using Base::Base;

    int64_t GetValue(bool Verify = false, bool IgnoreCache = false) override {
        // A plain read is one engine call, locked there; Verify spans several.
        std::unique_lock<std::recursive_mutex> lock;
        if (Verify) {
            lock = this->Lock();
        }
        RequireBoundedLength();
        this->RequireReadable(Verify);
        const int64_t value = this->Call(
            IgnoreCache, [this](GError** e) { return arv_gc_integer_get_value(Engine(), e); });
        if (Verify) {
            CheckRange(value);
        }
        return value;
    }

    void SetValue(int64_t Value, bool Verify = true) override {
        auto lock = this->Lock();
        RequireBoundedLength();
        this->RequireWritable(Verify);
        if (Verify) {
            CheckRange(Value);
        }
        this->Call(false,
                   [this, Value](GError** e) { arv_gc_integer_set_value(Engine(), Value, e); });
        this->AfterWrite(lock);
    }

    // A node without bounds (a SwissKnife, a register without <Min>/<Max>) spans all values.
    int64_t GetMin() override {
        try {
            return this->Call(false,
                              [this](GError** e) { return arv_gc_integer_get_min(Engine(), e); });
        } catch (const GenICam::PropertyException&) {
            return std::numeric_limits<int64_t>::min();
        }
    }
    int64_t GetMax() override {
        try {
            return this->Call(false,
                              [this](GError** e) { return arv_gc_integer_get_max(Engine(), e); });
        } catch (const GenICam::PropertyException&) {
            return std::numeric_limits<int64_t>::max();
        }
    }
    int64_t GetInc() override {
        try {
            const int64_t inc = this->Call(
                false, [this](GError** e) { return arv_gc_integer_get_inc(Engine(), e); });
            return inc > 0 ? inc : 1;
        } catch (const GenICam::PropertyException&) {
            return 1;  // no <Inc> in the description: every value is a step
        }
    }

    ERepresentation GetRepresentation() override {
        auto lock = this->Lock();
        switch (arv_gc_integer_get_representation(Engine())) {
            case ARV_GC_REPRESENTATION_LINEAR:
                return Linear;
            case ARV_GC_REPRESENTATION_LOGARITHMIC:
                return Logarithmic;
            case ARV_GC_REPRESENTATION_BOOLEAN:
                return Boolean;
            case ARV_GC_REPRESENTATION_HEX_NUMBER:
                return HexNumber;
            case ARV_GC_REPRESENTATION_IPV4_ADDRESS:
                return IPV4Address;
            case ARV_GC_REPRESENTATION_MAC_ADDRESS:
                return MACAddress;
            default:
                return PureNumber;
        }
    }

    gcstring GetUnit() const override {
        auto lock = this->Lock();
        const char* unit = arv_gc_integer_get_unit(Engine());
        return unit ? unit : "";
    }

    // An integer steps by its increment unless its description lists the valid values.
    EIncMode GetIncMode() override { return ValidSet() ? listIncrement : fixedIncrement; }
    int64_autovector_t GetListOfValidValues(bool bounded = true) override {
        const std::vector<std::string>* set = ValidSet();
        if (!set) {
            return {};
        }
        return bounded ? ValidValuesWithin<int64_t>(*set, GetMin(), GetMax())
                       : ValidValuesWithin<int64_t>(*set, std::numeric_limits<int64_t>::min(),
                                                    std::numeric_limits<int64_t>::max());
    }

    INode* GetNode() override { return this; }

    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override {
        return std::to_string(GetValue(Verify, IgnoreCache));
    }

    void FromString(const gcstring& ValueStr, bool Verify = true) override {
        char* end = nullptr;
        const long long value = std::strtoll(ValueStr.c_str(), &end, 0);
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

    ArvGcInteger* Engine() const { return ARV_GC_INTEGER(this->EngineNode()); }
    const std::vector<std::string>* ValidSet() const {
        return this->Map().ValidValues(this->Name());
    }

    void CheckRange(int64_t value) {
        const int64_t min = GetMin();
        const int64_t max = GetMax();
        const char* name = this->Name().c_str();
        if (value < min) {
            throw OUT_OF_RANGE_EXCEPTION("Feature '%s': value %lld must be >= minimum %lld", name,
                                         static_cast<long long>(value),
                                         static_cast<long long>(min));
        }
        if (value > max) {
            throw OUT_OF_RANGE_EXCEPTION("Feature '%s': value %lld must be <= maximum %lld", name,
                                         static_cast<long long>(value),
                                         static_cast<long long>(max));
        }
        if (ValidSet()) {
            const int64_autovector_t valid = GetListOfValidValues(true);
            if (std::find(valid.begin(), valid.end(), value) == valid.end()) {
                throw OUT_OF_RANGE_EXCEPTION(
                    "Feature '%s': value %lld is not one of its %zu valid values", name,
                    static_cast<long long>(value), valid.size());
            }
            return;  // the list replaces the increment
        }
        const int64_t inc = GetInc();
        if (inc > 1 && (value - min) % inc != 0) {
            throw OUT_OF_RANGE_EXCEPTION(
                "Feature '%s': value %lld must be minimum %lld plus a multiple of increment %lld",
                name, static_cast<long long>(value), static_cast<long long>(min),
                static_cast<long long>(inc));
        }
    }
};

}  // namespace GenApi
