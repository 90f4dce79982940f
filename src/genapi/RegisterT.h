#pragma once

#include <string>

#include "Node.h"

namespace GenApi {

template <class Base>
class CRegisterT : public Base, public virtual IRegister {
public:
    using Base::Base;

    void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false,
             bool IgnoreCache = false) override {
        CheckBuffer(pBuffer, Length);
        auto lock = this->Lock();
        this->RequireReadable(Verify);
        this->Call(IgnoreCache, [this, pBuffer, Length](GError** e) {
            arv_gc_register_get(Engine(), pBuffer, static_cast<guint64>(Length), e);
        });
    }

    void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override {
        CheckBuffer(pBuffer, Length);
        auto lock = this->Lock();
        this->RequireWritable(Verify);
        this->Call(false, [this, pBuffer, Length](GError** e) {
            arv_gc_register_set(Engine(), pBuffer, static_cast<guint64>(Length), e);
        });
        this->AfterWrite();
    }

    int64_t GetLength() override {
        return static_cast<int64_t>(this->Call(
            false, [this](GError** e) { return arv_gc_register_get_length(Engine(), e); }));
    }
    int64_t GetAddress() override {
        return static_cast<int64_t>(this->Call(
            false, [this](GError** e) { return arv_gc_register_get_address(Engine(), e); }));
    }

    INode* GetNode() override { return this; }

    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override {
        static const char digits[] = "0123456789abcdef";
        auto lock = this->Lock();
        const int64_t length = GetLength();
        std::string bytes(static_cast<size_t>(length), '\0');
        Get(reinterpret_cast<uint8_t*>(bytes.data()), length, Verify, IgnoreCache);
        std::string text = "0x";
        for (unsigned char byte : bytes) {
            text += digits[byte >> 4];
            text += digits[byte & 0x0F];
        }
        return text;
    }

    void FromString(const gcstring& ValueStr, bool Verify = true) override {
        const std::string text = ValueStr.str();
        const size_t start = text.rfind("0x", 0) == 0 ? 2 : 0;
        auto lock = this->Lock();
        const int64_t length = GetLength();
        if ((text.size() - start) != static_cast<size_t>(length) * 2) {
            this->ThrowInvalidValue(text);
        }
        std::string bytes(static_cast<size_t>(length), '\0');
        for (size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(std::stoi(text.substr(start + 2 * i, 2), nullptr, 16));
        }
        Set(reinterpret_cast<const uint8_t*>(bytes.data()), length, Verify);
    }

private:
    ArvGcRegister* Engine() const { return ARV_GC_REGISTER(this->EngineNode()); }

    void CheckBuffer(const void* buffer, int64_t length) const {
        if (!buffer || length <= 0) {
            throw INVALID_ARGUMENT_EXCEPTION("Feature '%s': invalid buffer or length %lld",
                                             this->Name().c_str(), static_cast<long long>(length));
        }
    }
};

}  // namespace GenApi
