#pragma once

#include <type_traits>

#include "Node.h"
#include "RegisterT.h"

namespace GenApi {

template <class Base>
class CStringT : public Base, public virtual IString {
public:
    using Base::Base;

    gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override {
        auto lock = this->Lock();
        RequireBoundedLength();
        this->RequireReadable(Verify);
        const char* value = this->Call(
            IgnoreCache, [this](GError** e) { return arv_gc_string_get_value(Engine(), e); });
        return value ? value : "";
    }

    void SetValue(const gcstring& Value, bool Verify = true) override {
        auto lock = this->Lock();
        RequireBoundedLength();
        this->RequireWritable(Verify);
        if (Verify && static_cast<int64_t>(Value.size()) > GetMaxLength()) {
            throw OUT_OF_RANGE_EXCEPTION("Feature '%s': string of %zu characters exceeds %lld",
                                         this->Name().c_str(), Value.size(),
                                         static_cast<long long>(GetMaxLength()));
        }
        this->Call(false, [this, &Value](GError** e) {
            arv_gc_string_set_value(Engine(), Value.c_str(), e);
        });
        this->AfterWrite(lock);
    }

    int64_t GetMaxLength() override {
        auto lock = this->Lock();
        RequireBoundedLength();
        return this->Call(false,
                          [this](GError** e) { return arv_gc_string_get_max_length(Engine(), e); });
    }

    INode* GetNode() override { return this; }
    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override {
        return GetValue(Verify, IgnoreCache);
    }
    void FromString(const gcstring& ValueStr, bool Verify = true) override {
        SetValue(ValueStr, Verify);
    }

private:
    // A string register is read and written whole.
    void RequireBoundedLength() {
        if constexpr (std::is_base_of_v<IRegister, Base>) {
            Base::RequireBoundedLength();
        }
    }

    ArvGcString* Engine() const { return ARV_GC_STRING(this->EngineNode()); }
};

}  // namespace GenApi
