// The identity message manager: one message object per kind, guarded by one mutex.
#include "validation/identity_messages.h"

#include <QORAL_2_18/generic.h>

#include <array>
#include <mutex>

#include "validation/message_mgr.h"

namespace FF_2_13 {

namespace {

using QORAL_2_18::generic::argument;
using QORAL_2_18::generic::varg_list;
using QORAL_2_18::types::variant;

// Indexed by identity_message_t.
constexpr std::array<const char*, 5> kMessageIds = {"SymBuildIdMismatch", "BinBuildIdMismatch",
                                                    "DebugLinkCrcMismatch", "ElfTargetMismatch",
                                                    "NoDebugInformation"};

bool knownKind(identity_message_t kind) {
    return kind >= 0 && static_cast<std::size_t>(kind) < kMessageIds.size();
}

variant textArgument(const char* text) {
    return variant(text ? text : "");
}

class CatalogIdentityMessage : public RefCountImpl<IIdentityMessage> {
public:
    explicit CatalogIdentityMessage(const char* id) : m_id(id) {}

    unsigned int fillMessage(IMsgContainer& out, const char* file, const char* found,
                             const char* expected) override {
        std::string text;
        const varg_list args(argument("arg1", textArgument(file)),
                             argument("arg2", textArgument(found)),
                             argument("arg3", textArgument(expected)));
        if (!formatCatalogMessage(VALIDATOR_MESSAGES_CATALOG, m_id, args, text)) return 0;
        out.put(text.c_str());
        return 1;
    }

private:
    const char* m_id;
};

class IdentityMessageMgr : public RefCountImpl<IIdentityMessageMgr> {
public:
    IdentityMessageMgr() {
        for (std::size_t i = 0; i < kMessageIds.size(); ++i)
            m_messages[i] = ObjectPtr<IIdentityMessage>(new CatalogIdentityMessage(kMessageIds[i]));
    }

    void setMessage(identity_message_t kind, ObjectPtr<IIdentityMessage> message) override {
        if (!knownKind(kind)) return;
        std::lock_guard<std::mutex> guard(m_guard);
        m_messages[kind] = message;
    }

    ObjectPtr<IIdentityMessage> getMessage(identity_message_t kind) override {
        if (!knownKind(kind)) return ObjectPtr<IIdentityMessage>();
        std::lock_guard<std::mutex> guard(m_guard);
        return m_messages[kind];
    }

private:
    std::mutex m_guard;
    std::array<ObjectPtr<IIdentityMessage>, kMessageIds.size()> m_messages;
};

}  // namespace

ObjectPtr<IIdentityMessageMgr> IIdentityMessageMgr::create() {
    // Made on first use and kept until the library is unloaded, like the message manager.
    static const ObjectPtr<IIdentityMessageMgr> manager(new IdentityMessageMgr);
    return manager;
}

const char* identityMessageId(identity_message_t kind) {
    return knownKind(kind) ? kMessageIds[kind] : nullptr;
}

std::string identityMessageText(identity_message_t kind, const char* file, const char* found,
                                const char* expected) {
    MsgContainer text;
    const ObjectPtr<IIdentityMessage> message = IIdentityMessageMgr::create()->getMessage(kind);
    if (message && message->fillMessage(text, file, found, expected) && text.get())
        return text.get();
    return std::string("%") + (identityMessageId(kind) ? identityMessageId(kind) : "");
}

}  // namespace FF_2_13
