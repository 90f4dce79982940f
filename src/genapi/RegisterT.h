#pragma once

#include <atomic>
#include <cstring>
#include <string>

#include "Node.h"

namespace GenApi {

// Bounds of a register's length. A length read from a register or computed by
// a formula is trusted up to 64 KiB (the largest strings and blocks real
// devices expose); a length written in the description up to 64 MiB. Beyond,
// the engine would allocate what the device claims, and its transfers cut
// lengths of 4 GiB and more down to 32 bits.
inline constexpr uint64_t kMaxComputedRegisterLength = 64 * 1024;
inline constexpr uint64_t kMaxStaticRegisterLength = 64 * 1024 * 1024;

template <class Base>
class CRegisterT : public Base, public virtual IRegister {
public:
    using Base::Base;

    void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false,
             bool IgnoreCache = false) override {
        CheckBuffer(pBuffer, Length);
        auto lock = this->Lock();
        RequireBoundedLength();
        this->RequireReadable(Verify);
        this->Call(IgnoreCache, [this, pBuffer, Length](GError** e) {
            arv_gc_register_get(Engine(), pBuffer, static_cast<guint64>(Length), e);
        });
    }

    void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override {
        CheckBuffer(pBuffer, Length);
        auto lock = this->Lock();
        RequireBoundedLength();
        this->RequireWritable(Verify);
        this->Call(false, [this, pBuffer, Length](GError** e) {
            arv_gc_register_set(Engine(), pBuffer, static_cast<guint64>(Length), e);
        });
        this->AfterWrite(lock);
    }

    int64_t GetLength() override {
        auto lock = this->Lock();
        const uint64_t length = this->Call(
            false, [this](GError** e) { return arv_gc_register_get_length(Engine(), e); });
        const uint64_t limit =
            LengthIsComputed() ? kMaxComputedRegisterLength : kMaxStaticRegisterLength;
        if (length > limit) {
            throw OUT_OF_RANGE_EXCEPTION(
                "Feature '%s': length %llu exceeds the limit of %llu bytes", this->Name().c_str(),
                static_cast<unsigned long long>(length), static_cast<unsigned long long>(limit));
        }
        return static_cast<int64_t>(length);
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
            const int high = HexDigit(text[start + 2 * i]);
            const int low = HexDigit(text[start + 2 * i + 1]);
            if (high < 0 || low < 0) {
                this->ThrowInvalidValue(text);
            }
            bytes[i] = static_cast<char>(high * 16 + low);
        }
        Set(reinterpret_cast<const uint8_t*>(bytes.data()), length, Verify);
    }

protected:
    // Every access through the engine reads or writes the whole register:
    // its length is checked first. A fixed length needs it once.
    void RequireBoundedLength() {
        if (m_lengthFixedAndChecked.load(std::memory_order_acquire)) {
            return;
        }
        auto lock = this->Lock();
        GetLength();
        if (!LengthIsComputed()) {
            m_lengthFixedAndChecked.store(true, std::memory_order_release);
        }
    }

private:
    // Whether the length comes from another node (pLength); an entry of a
    // struct register has the length of its register.
    bool LengthIsComputed() const {
        if (m_lengthSource == LengthSource::Unknown) {
            ArvDomNode* node = ARV_DOM_NODE(this->EngineNode());
            m_lengthSource = SourceOf(node);
            const char* tag = arv_dom_node_get_node_name(node);
            if (m_lengthSource == LengthSource::Unknown && tag &&
                std::strcmp(tag, "StructEntry") == 0 && arv_dom_node_get_parent_node(node)) {
                m_lengthSource = SourceOf(arv_dom_node_get_parent_node(node));
            }
            if (m_lengthSource == LengthSource::Unknown) {
                m_lengthSource = LengthSource::Fixed;
            }
        }
        return m_lengthSource == LengthSource::Computed;
    }

    enum class LengthSource { Unknown, Fixed, Computed };

    static int HexDigit(char c) {
        if (c >= '0' && c <= '9') {
            return c - '0';
        }
        if (c >= 'a' && c <= 'f') {
            return c - 'a' + 10;
        }
        if (c >= 'A' && c <= 'F') {
            return c - 'A' + 10;
        }
        return -1;
    }

    static LengthSource SourceOf(ArvDomNode* node) {
        for (ArvDomNode* child = arv_dom_node_get_first_child(node); child;
             child = arv_dom_node_get_next_sibling(child)) {
            if (!ARV_IS_GC_PROPERTY_NODE(child)) {
                continue;
            }
            const auto type = arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(child));
            if (type == ARV_GC_PROPERTY_NODE_TYPE_P_LENGTH) {
                return LengthSource::Computed;
            }
            if (type == ARV_GC_PROPERTY_NODE_TYPE_LENGTH) {
                return LengthSource::Fixed;
            }
        }
        return LengthSource::Unknown;
    }

    ArvGcRegister* Engine() const { return ARV_GC_REGISTER(this->EngineNode()); }

    void CheckBuffer(const void* buffer, int64_t length) const {
        if (!buffer || length <= 0) {
            throw INVALID_ARGUMENT_EXCEPTION("Feature '%s': invalid buffer or length %lld",
                                             this->Name().c_str(), static_cast<long long>(length));
        }
    }

    mutable LengthSource m_lengthSource = LengthSource::Unknown;
    std::atomic<bool> m_lengthFixedAndChecked{false};
};

}  // namespace GenApi
