#pragma once

#include <utility>

#include "GenApiDll.h"
#include "INode.h"

namespace GenApi {

// A callback bound to one node. The node owns it once registered.
class CNodeCallback {
public:
    CNodeCallback(INode* pNode, ECallbackType CallbackType)
        : m_pNode(pNode), m_CallbackType(CallbackType) {}
    virtual ~CNodeCallback() = default;
    CNodeCallback(const CNodeCallback&) = delete;
    CNodeCallback& operator=(const CNodeCallback&) = delete;

    // Runs the callback when CallType matches the type it was registered for.
    virtual void operator()(ECallbackType CallType) const = 0;
    virtual void Destroy() { delete this; }
    INode* GetNode() const { return m_pNode; }
    ECallbackType GetCallbackType() const { return m_CallbackType; }

private:
    INode* m_pNode;
    ECallbackType m_CallbackType;
};

// Calls a function object taking the node.
template <class Function>
class Function_NodeCallback final : public CNodeCallback {
public:
    Function_NodeCallback(INode* pNode, Function function, ECallbackType CallbackType)
        : CNodeCallback(pNode, CallbackType), m_function(std::move(function)) {}
    void operator()(ECallbackType CallType) const override {
        if (CallType == GetCallbackType()) {
            m_function(GetNode());
        }
    }

private:
    Function m_function;
};

// Calls a member function of a client object taking the node.
template <class Client, class Member>
class Member_NodeCallback final : public CNodeCallback {
public:
    Member_NodeCallback(INode* pNode, Client& client, Member member, ECallbackType CallbackType)
        : CNodeCallback(pNode, CallbackType), m_client(client), m_member(member) {}
    void operator()(ECallbackType CallType) const override {
        if (CallType == GetCallbackType()) {
            (m_client.*m_member)(GetNode());
        }
    }

private:
    Client& m_client;
    Member m_member;
};

template <class Function>
CNodeCallback* make_NodeCallback(INode* pNode, Function function, ECallbackType CallbackType) {
    return new Function_NodeCallback<Function>(pNode, std::move(function), CallbackType);
}

template <class Client, class Member>
CNodeCallback* make_NodeCallback(INode* pNode, Client& client, Member member,
                                 ECallbackType CallbackType) {
    return new Member_NodeCallback<Client, Member>(pNode, client, member, CallbackType);
}

// Registers function(INode*) on the node; returns the handle for Deregister,
// or 0 for a null node.
template <class Function>
CallbackHandleType Register(INode* pNode, Function function,
                            ECallbackType CallbackType = cbPostInsideLock) {
    if (!pNode) {
        return 0;
    }
    return pNode->RegisterCallback(make_NodeCallback(pNode, std::move(function), CallbackType));
}

// Registers (client.*member)(INode*) on the node.
template <class Client, class Member>
CallbackHandleType Register(INode* pNode, Client& client, Member member,
                            ECallbackType CallbackType = cbPostInsideLock) {
    if (!pNode) {
        return 0;
    }
    return pNode->RegisterCallback(make_NodeCallback(pNode, client, member, CallbackType));
}

// Removes a callback registered with Register; false when the handle is
// unknown (already removed, or its node map is gone).
GENAPI_DECL bool Deregister(CallbackHandleType hCallback);

}  // namespace GenApi
