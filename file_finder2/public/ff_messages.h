// File: ff_messages.h
//
// Validation messages: the user-facing texts of rejected files. Validators do not word
// texts themselves; they ask the process's message manager for the message object of a
// failure kind, and the object looks its text up in the message catalog
// "file_finder_common" (VALIDATOR_MESSAGES_CATALOG) of the host and writes it, formatted
// with the file name, into a message container.
//
//   ObjectPtr<IMessageMgr> messages = IMessageMgr::create();
//   MyContainer text;                                       // an IMsgContainer
//   if (messages->getFileDoesNotExistMessage()->fillMessage(text, "/usr/lib/libx.so"))
//       puts(text.get());
//
// A client may word a failure its own way by setting its own object for that kind:
//
//   class MyNotReadable : public RefCountImpl<IFileIsNotReadableMessage> {
//       unsigned int fillMessage(IMsgContainer& out, const char* name) override {
//           out.put("cannot read the file");
//           return 1;
//       }
//   };
//   messages->setFileIsNotReadableMessage(ObjectPtr<IFileIsNotReadableMessage>(new MyNotReadable));
//
// The fifteen kinds, in the manager's order: BinChecksumMismatch, SymChecksumMismatch,
// SrcChecksumMismatch, ModificationTimeMismatch, SizeMismatch, SourceFileUpToDate,
// FileIsDirectory, FileIsNotReadable, FileDoesNotExist, InvalidSymbolFile,
// FileArchMismatch, FileIsNotABinaryModule, BinFileReadingError, BinFileUnsupportedFormat,
// FileIsNotRegular. Each kind's catalog identifier is its name.
#pragma once

#include "ff_export.h"
#include "ff_lock.h"
#include "ff_object.h"

namespace FF_2_13 {

/// The name of the catalog the message objects read: "file_finder_common".
constexpr const char* VALIDATOR_MESSAGES_CATALOG = "file_finder_common";

/// Receives one formatted text. Implemented by the caller of fillMessage (usually an
/// object on its stack); not reference counted.
class FF_EXPORT IMsgContainer {
public:
    /// Replaces the stored text with a copy of `text`.
    virtual void put(const char* text) = 0;
    /// The stored text, or null while it is empty.
    virtual const char* get() = 0;

protected:
    ~IMsgContainer() = default;
};

// Message objects. Each fillMessage looks the kind's text up in the catalog on every call
// and, when there is a non-empty text, puts it, formatted with `arg` as its argument
// "arg1", into `out` and returns 1. Without the catalog, or without a text for the kind,
// it returns 0 and leaves `out` untouched: the caller then keeps a fallback of its own. A
// null `arg` counts as "". Thread-safe; made by the manager, or by a client that words a
// kind its own way.
class FF_EXPORT IBinChecksumMismatchMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT ISymChecksumMismatchMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT ISrcChecksumMismatchMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IModificationTimeMismatchMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT ISizeMismatchMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT ISourceFileUpToDateMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IFileIsDirectoryMessage : public IFFObject {
public:
    /// Takes no argument: the text names no file.
    virtual unsigned int fillMessage(IMsgContainer& out) = 0;
};

class FF_EXPORT IFileIsNotReadableMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IFileDoesNotExistMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IInvalidSymbolFileMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IFileArchMismatchMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IFileIsNotABinaryModuleMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IBinFileReadingErrorMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IBinFileUnsupportedFormatMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

class FF_EXPORT IFileIsNotRegularMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* arg) = 0;
};

/// The process's message manager: one message object per failure kind. Made on the first
/// create() with the default objects and kept until the library is unloaded.
///
/// Setting and getting are not locked: a client that replaces message objects while
/// searches run must serialise that itself. Setting the object a kind already holds
/// changes nothing; setting an empty pointer leaves the kind without a message (its
/// getter then returns empty, and validators fall back to "%" + the identifier).
class FF_EXPORT IMessageMgr : public IFFObject {
public:
    /// The manager of the process (the same object on every call).
    static ObjectPtr<IMessageMgr> create();

    // For each kind, in the order above: the setter, the getter (empty when the kind has
    // no message), and the lock getter (the lock a new default message object of the
    // kind is made with; null here, and a derived manager may say otherwise).

    virtual void setBinChecksumMismatchMessage(ObjectPtr<IBinChecksumMismatchMessage> message) = 0;
    virtual ObjectPtr<IBinChecksumMismatchMessage> getBinChecksumMismatchMessage() = 0;
    virtual ILock* getBinChecksumMismatchMessageLock();

    virtual void setSymChecksumMismatchMessage(ObjectPtr<ISymChecksumMismatchMessage> message) = 0;
    virtual ObjectPtr<ISymChecksumMismatchMessage> getSymChecksumMismatchMessage() = 0;
    virtual ILock* getSymChecksumMismatchMessageLock();

    virtual void setSrcChecksumMismatchMessage(ObjectPtr<ISrcChecksumMismatchMessage> message) = 0;
    virtual ObjectPtr<ISrcChecksumMismatchMessage> getSrcChecksumMismatchMessage() = 0;
    virtual ILock* getSrcChecksumMismatchMessageLock();

    virtual void setModificationTimeMismatchMessage(
        ObjectPtr<IModificationTimeMismatchMessage> message) = 0;
    virtual ObjectPtr<IModificationTimeMismatchMessage> getModificationTimeMismatchMessage() = 0;
    virtual ILock* getModificationTimeMismatchMessageLock();

    virtual void setSizeMismatchMessage(ObjectPtr<ISizeMismatchMessage> message) = 0;
    virtual ObjectPtr<ISizeMismatchMessage> getSizeMismatchMessage() = 0;
    virtual ILock* getSizeMismatchMessageLock();

    virtual void setSourceFileUpToDateMessage(ObjectPtr<ISourceFileUpToDateMessage> message) = 0;
    virtual ObjectPtr<ISourceFileUpToDateMessage> getSourceFileUpToDateMessage() = 0;
    virtual ILock* getSourceFileUpToDateMessageLock();

    virtual void setFileIsDirectoryMessage(ObjectPtr<IFileIsDirectoryMessage> message) = 0;
    virtual ObjectPtr<IFileIsDirectoryMessage> getFileIsDirectoryMessage() = 0;
    virtual ILock* getFileIsDirectoryMessageLock();

    virtual void setFileIsNotReadableMessage(ObjectPtr<IFileIsNotReadableMessage> message) = 0;
    virtual ObjectPtr<IFileIsNotReadableMessage> getFileIsNotReadableMessage() = 0;
    virtual ILock* getFileIsNotReadableMessageLock();

    virtual void setFileDoesNotExistMessage(ObjectPtr<IFileDoesNotExistMessage> message) = 0;
    virtual ObjectPtr<IFileDoesNotExistMessage> getFileDoesNotExistMessage() = 0;
    virtual ILock* getFileDoesNotExistMessageLock();

    virtual void setInvalidSymbolFileMessage(ObjectPtr<IInvalidSymbolFileMessage> message) = 0;
    virtual ObjectPtr<IInvalidSymbolFileMessage> getInvalidSymbolFileMessage() = 0;
    virtual ILock* getInvalidSymbolFileMessageLock();

    virtual void setFileArchMismatchMessage(ObjectPtr<IFileArchMismatchMessage> message) = 0;
    virtual ObjectPtr<IFileArchMismatchMessage> getFileArchMismatchMessage() = 0;
    virtual ILock* getFileArchMismatchMessageLock();

    virtual void setFileIsNotABinaryModuleMessage(
        ObjectPtr<IFileIsNotABinaryModuleMessage> message) = 0;
    virtual ObjectPtr<IFileIsNotABinaryModuleMessage> getFileIsNotABinaryModuleMessage() = 0;
    virtual ILock* getFileIsNotABinaryModuleMessageLock();

    virtual void setBinFileReadingErrorMessage(ObjectPtr<IBinFileReadingErrorMessage> message) = 0;
    virtual ObjectPtr<IBinFileReadingErrorMessage> getBinFileReadingErrorMessage() = 0;
    virtual ILock* getBinFileReadingErrorMessageLock();

    virtual void setBinFileUnsupportedFormatMessage(
        ObjectPtr<IBinFileUnsupportedFormatMessage> message) = 0;
    virtual ObjectPtr<IBinFileUnsupportedFormatMessage> getBinFileUnsupportedFormatMessage() = 0;
    virtual ILock* getBinFileUnsupportedFormatMessageLock();

    virtual void setFileIsNotRegularMessage(ObjectPtr<IFileIsNotRegularMessage> message) = 0;
    virtual ObjectPtr<IFileIsNotRegularMessage> getFileIsNotRegularMessage() = 0;
    virtual ILock* getFileIsNotRegularMessageLock();
};

/// Replaces every message object of `mgr` with a new default one (made with the kind's
/// lock from `mgr`). An empty `mgr` is left alone.
FF_EXPORT void initializeValidationMessages(ObjectPtr<IMessageMgr> mgr);

}  // namespace FF_2_13
