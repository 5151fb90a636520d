// The message manager, the default message objects and the catalog look-up they share.
//
// Each default message object looks its text up in the catalog "file_finder_common" on
// every call (a host may replace the catalog at any time) and formats it with its one
// argument as "arg1".
#pragma once

#include <QORAL_2_18/generic.h>

#include <string>

#include "ff_lock.h"
#include "ff_messages.h"

namespace FF_2_13 {

/// The one-text container that callers of fillMessage keep on their stack.
class MsgContainer : public IMsgContainer {
public:
    void put(const char* text) override { m_text = text ? text : ""; }
    const char* get() override { return m_text.empty() ? nullptr : m_text.c_str(); }

private:
    std::string m_text;
};

/// An argument list with every position nil.
QORAL_2_18::generic::varg_list prepareArgumentsList();

/// Formats message `id` of the catalog `catalogName` with `args` into `text`. False, with
/// `text` untouched, when the catalog is unknown or empty or has no text for `id`.
bool formatCatalogMessage(const char* catalogName, const char* id,
                          const QORAL_2_18::generic::varg_list& args, std::string& text);

/// The common body of the fourteen kinds that name a file: the kind's text from
/// "file_finder_common" with `arg` as "arg1".
template <class I>
class CatalogMessage : public RefCountImpl<I> {
public:
    unsigned int fillMessage(IMsgContainer& out, const char* arg) override;

protected:
    CatalogMessage(const char* id, ILock* lock) : m_id(id), m_lock(lock) {}

private:
    const char* m_id;
    ILock* m_lock;  // from the manager's lock getter; may be null, not owned
};

// The fourteen kinds with an argument, in the manager's order without FileIsDirectory.
#define FF_DECLARE_CATALOG_MESSAGE(Kind)                                     \
    class Kind##Message : public CatalogMessage<I##Kind##Message> {          \
      public:                                                                \
        explicit Kind##Message(ILock* lock) : CatalogMessage(#Kind, lock) {} \
    };
FF_DECLARE_CATALOG_MESSAGE(BinChecksumMismatch)
FF_DECLARE_CATALOG_MESSAGE(SymChecksumMismatch)
FF_DECLARE_CATALOG_MESSAGE(SrcChecksumMismatch)
FF_DECLARE_CATALOG_MESSAGE(ModificationTimeMismatch)
FF_DECLARE_CATALOG_MESSAGE(SizeMismatch)
FF_DECLARE_CATALOG_MESSAGE(SourceFileUpToDate)
FF_DECLARE_CATALOG_MESSAGE(FileIsNotReadable)
FF_DECLARE_CATALOG_MESSAGE(FileDoesNotExist)
FF_DECLARE_CATALOG_MESSAGE(InvalidSymbolFile)
FF_DECLARE_CATALOG_MESSAGE(FileArchMismatch)
FF_DECLARE_CATALOG_MESSAGE(FileIsNotABinaryModule)
FF_DECLARE_CATALOG_MESSAGE(BinFileReadingError)
FF_DECLARE_CATALOG_MESSAGE(BinFileUnsupportedFormat)
FF_DECLARE_CATALOG_MESSAGE(FileIsNotRegular)
#undef FF_DECLARE_CATALOG_MESSAGE

/// The one kind without an argument.
class FileIsDirectoryMessage : public RefCountImpl<IFileIsDirectoryMessage> {
public:
    explicit FileIsDirectoryMessage(ILock* lock) : m_lock(lock) {}
    unsigned int fillMessage(IMsgContainer& out) override;

private:
    ILock* m_lock;
};

/// Every message kind, in the manager's order. X(Kind) per kind.
#define FF_FOR_EACH_MESSAGE_KIND(X) \
    X(BinChecksumMismatch)          \
    X(SymChecksumMismatch)          \
    X(SrcChecksumMismatch)          \
    X(ModificationTimeMismatch)     \
    X(SizeMismatch)                 \
    X(SourceFileUpToDate)           \
    X(FileIsDirectory)              \
    X(FileIsNotReadable)            \
    X(FileDoesNotExist)             \
    X(InvalidSymbolFile)            \
    X(FileArchMismatch)             \
    X(FileIsNotABinaryModule)       \
    X(BinFileReadingError)          \
    X(BinFileUnsupportedFormat)     \
    X(FileIsNotRegular)

/// Guards the making of the process's message manager in IMessageMgr::create().
extern FFLock g_messageMgrLock;

/// The process's manager (s_messageMgr, made by the first IMessageMgr::create() under
/// g_messageMgrLock). Setters and getters take no lock.
class MessageMgr : public RefCountImpl<IMessageMgr> {
public:
    explicit MessageMgr(ILock* lock) : m_lock(lock) {}

#define FF_DECLARE_MESSAGE_ACCESSORS(Kind)                                   \
    void set##Kind##Message(ObjectPtr<I##Kind##Message> message) override {  \
        m_p##Kind##Message = message; /* the same object: the count stays */ \
    }                                                                        \
    ObjectPtr<I##Kind##Message> get##Kind##Message() override {              \
        return m_p##Kind##Message;                                           \
    }
    FF_FOR_EACH_MESSAGE_KIND(FF_DECLARE_MESSAGE_ACCESSORS)
#undef FF_DECLARE_MESSAGE_ACCESSORS

    static ObjectPtr<IMessageMgr> s_messageMgr;

private:
#define FF_DECLARE_MESSAGE_MEMBER(Kind) ObjectPtr<I##Kind##Message> m_p##Kind##Message;
    FF_FOR_EACH_MESSAGE_KIND(FF_DECLARE_MESSAGE_MEMBER)
#undef FF_DECLARE_MESSAGE_MEMBER
    ILock* m_lock;  // g_messageMgrLock, not owned
};

}  // namespace FF_2_13
