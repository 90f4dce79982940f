#pragma once

#include "GCException.h"
#include "IBoolean.h"
#include "ICategory.h"
#include "ICommand.h"
#include "IEnumeration.h"
#include "IFloat.h"
#include "IInteger.h"
#include "INodeMap.h"
#include "IPort.h"
#include "IRegister.h"
#include "IString.h"

namespace GenApi {

// Smart pointer over one node interface: holds null when the node does not
// implement T, so a wrong-typed look-up is detectable instead of fatal.
template <class T, class B = IBase>
class CPointer {
public:
    CPointer() = default;
    CPointer(B* pB) : m_pT(pB ? dynamic_cast<T*>(pB) : nullptr) {}
    template <class U, class V>
    CPointer(const CPointer<U, V>& other)
        : m_pT(other.IsValid() ? dynamic_cast<T*>(other.operator->()) : nullptr) {}

    CPointer& operator=(B* pB) {
        m_pT = pB ? dynamic_cast<T*>(pB) : nullptr;
        return *this;
    }
    template <class U, class V>
    CPointer& operator=(const CPointer<U, V>& other) {
        m_pT = other.IsValid() ? dynamic_cast<T*>(other.operator->()) : nullptr;
        return *this;
    }

    T* operator->() const {
        if (!m_pT) {
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        }
        return m_pT;
    }
    T& operator*() const { return *operator->(); }
    operator T*() const { return m_pT; }

    bool IsValid() const noexcept { return m_pT != nullptr; }
    explicit operator bool() const noexcept { return IsValid(); }
    void Release() noexcept { m_pT = nullptr; }

    bool operator==(const CPointer& other) const { return m_pT == other.m_pT; }
    bool operator==(std::nullptr_t) const { return m_pT == nullptr; }

private:
    T* m_pT = nullptr;
};

using CBasePtr = CPointer<IBase>;
using CNodePtr = CPointer<INode>;
using CValuePtr = CPointer<IValue>;
using CIntegerPtr = CPointer<IInteger>;
using CFloatPtr = CPointer<IFloat>;
using CBooleanPtr = CPointer<IBoolean>;
using CCommandPtr = CPointer<ICommand>;
using CStringPtr = CPointer<IString>;
using CRegisterPtr = CPointer<IRegister>;
using CCategoryPtr = CPointer<ICategory>;
using CEnumerationPtr = CPointer<IEnumeration>;
using CEnumEntryPtr = CPointer<IEnumEntry>;
using CPortPtr = CPointer<IPort>;
using CNodeMapPtr = CPointer<INodeMap, INodeMap>;

inline bool IsReadable(EAccessMode mode) {
    return mode == RO || mode == RW;
}
inline bool IsWritable(EAccessMode mode) {
    return mode == WO || mode == RW;
}
inline bool IsImplemented(EAccessMode mode) {
    return mode != NI;
}
inline bool IsAvailable(EAccessMode mode) {
    return mode != NA && mode != NI;
}

inline bool IsReadable(const IBase* p) {
    return p && IsReadable(p->GetAccessMode());
}
inline bool IsWritable(const IBase* p) {
    return p && IsWritable(p->GetAccessMode());
}
inline bool IsImplemented(const IBase* p) {
    return p && IsImplemented(p->GetAccessMode());
}
inline bool IsAvailable(const IBase* p) {
    return p && IsAvailable(p->GetAccessMode());
}

template <class T, class B>
bool IsReadable(const CPointer<T, B>& p) {
    return p.IsValid() && IsReadable(p->GetAccessMode());
}
template <class T, class B>
bool IsWritable(const CPointer<T, B>& p) {
    return p.IsValid() && IsWritable(p->GetAccessMode());
}
template <class T, class B>
bool IsImplemented(const CPointer<T, B>& p) {
    return p.IsValid() && IsImplemented(p->GetAccessMode());
}
template <class T, class B>
bool IsAvailable(const CPointer<T, B>& p) {
    return p.IsValid() && IsAvailable(p->GetAccessMode());
}

}  // namespace GenApi
