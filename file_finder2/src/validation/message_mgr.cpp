// The message manager, the default message objects and the catalog look-up they share.
#include <QORAL_2_18/i18n.h>
#include <tarnbase2/tarnbase2.h>

#include "validation/message_mgr.h"

namespace FF_2_13 {

using QORAL_2_18::generic::argument;
using QORAL_2_18::generic::varg_list;
using QORAL_2_18::types::variant;

varg_list prepareArgumentsList() {
    return varg_list();
}

bool formatCatalogMessage(const char* catalogName, const char* id, const varg_list& args,
                          std::string& text) {
    const QORAL_2_18::i18n::catalog_t* catalog = tarnbase2::getMessageCatalog(catalogName);
    if (!catalog || catalog->size() == 0) return false;
    const QORAL_2_18::i18n::message_t message = catalog->message(id);
    if (message.size() == 0) return false;
    text = message.as_ustring(args).bytes();
    return true;
}

namespace {

unsigned int fillFromCommonCatalog(IMsgContainer& out, const char* id, const varg_list& args) {
    std::string text;
    if (!formatCatalogMessage(VALIDATOR_MESSAGES_CATALOG, id, args, text)) return 0;
    out.put(text.c_str());
    return 1;
}

}  // namespace

template <class I>
unsigned int CatalogMessage<I>::fillMessage(IMsgContainer& out, const char* arg) {
    FFLockWrap guard(m_lock);
    return fillFromCommonCatalog(out, m_id, varg_list(argument("arg1", variant(arg))));
}

// Every kind's body is made here, whichever source file makes the object.
#define FF_INSTANTIATE_CATALOG_MESSAGE(Kind) template class CatalogMessage<I##Kind##Message>;
FF_INSTANTIATE_CATALOG_MESSAGE(BinChecksumMismatch)
FF_INSTANTIATE_CATALOG_MESSAGE(SymChecksumMismatch)
FF_INSTANTIATE_CATALOG_MESSAGE(SrcChecksumMismatch)
FF_INSTANTIATE_CATALOG_MESSAGE(ModificationTimeMismatch)
FF_INSTANTIATE_CATALOG_MESSAGE(SizeMismatch)
FF_INSTANTIATE_CATALOG_MESSAGE(SourceFileUpToDate)
FF_INSTANTIATE_CATALOG_MESSAGE(FileIsNotReadable)
FF_INSTANTIATE_CATALOG_MESSAGE(FileDoesNotExist)
FF_INSTANTIATE_CATALOG_MESSAGE(InvalidSymbolFile)
FF_INSTANTIATE_CATALOG_MESSAGE(FileArchMismatch)
FF_INSTANTIATE_CATALOG_MESSAGE(FileIsNotABinaryModule)
FF_INSTANTIATE_CATALOG_MESSAGE(BinFileReadingError)
FF_INSTANTIATE_CATALOG_MESSAGE(BinFileUnsupportedFormat)
FF_INSTANTIATE_CATALOG_MESSAGE(FileIsNotRegular)
#undef FF_INSTANTIATE_CATALOG_MESSAGE

unsigned int FileIsDirectoryMessage::fillMessage(IMsgContainer& out) {
    FFLockWrap guard(m_lock);
    return fillFromCommonCatalog(out, "FileIsDirectory", prepareArgumentsList());
}

FFLock g_messageMgrLock;
ObjectPtr<IMessageMgr> MessageMgr::s_messageMgr;

ObjectPtr<IMessageMgr> IMessageMgr::create() {
    FFLockWrap guard(&g_messageMgrLock);
    if (!MessageMgr::s_messageMgr) {
        MessageMgr::s_messageMgr = ObjectPtr<IMessageMgr>(new MessageMgr(&g_messageMgrLock));
        initializeValidationMessages(MessageMgr::s_messageMgr);
    }
    return MessageMgr::s_messageMgr;
}

// No kind has a lock of its own: the default message objects read an immutable catalog.
#define FF_DEFINE_LOCK_GETTER(Kind)                \
    ILock* IMessageMgr::get##Kind##MessageLock() { \
        return nullptr;                            \
    }
FF_FOR_EACH_MESSAGE_KIND(FF_DEFINE_LOCK_GETTER)
#undef FF_DEFINE_LOCK_GETTER

void initializeValidationMessages(ObjectPtr<IMessageMgr> mgr) {
    if (!mgr) return;
#define FF_SET_DEFAULT_MESSAGE(Kind) \
    mgr->set##Kind##Message(         \
        ObjectPtr<I##Kind##Message>(new Kind##Message(mgr->get##Kind##MessageLock())));
    FF_FOR_EACH_MESSAGE_KIND(FF_SET_DEFAULT_MESSAGE)
#undef FF_SET_DEFAULT_MESSAGE
}

}  // namespace FF_2_13
