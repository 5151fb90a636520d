// The default callbacks: the three process* operations, the nine handlers, and the
// category operations that join them.
#include "history/default_callbacks.h"

#include "base/log.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kDefaultCallbacks;

// What every handler keeps: the history, the own callback (may be null), and the names of
// the request, borrowed from the call. Binary requests have a file name only.
template <class Callback>
class Handler {
public:
    Handler(const ObjectPtr<ISearchHistory>& history, Callback* own, const char* fileName,
            const char* binaryFile = nullptr, const char* checksum = nullptr)
        : m_history(history),
          m_own(own),
          m_fileName(fileName),
          m_binaryFile(binaryFile),
          m_checksum(checksum) {}

protected:
    ObjectPtr<ISearchHistory> m_history;
    Callback* m_own;
    const char* m_fileName;
    const char* m_binaryFile;
    const char* m_checksum;
};

// ---------------------------------------------------------------------------------------
// Search started

class BinSearchStartedHandler : public ISearchStartedHandler, Handler<ISearchStartedCallback> {
public:
    using Handler::Handler;
    bool callUserCallback(IStringContainer& strings) override {
        return m_own ? m_own->binFileSearchStarted(m_fileName, strings) : true;
    }
    ObjectPtr<IFileAssociation> lookupHistory() override {
        return m_history->findBinFileAssociation(m_fileName);
    }
};

class SymSearchStartedHandler : public ISearchStartedHandler, Handler<ISearchStartedCallback> {
public:
    using Handler::Handler;
    bool callUserCallback(IStringContainer& strings) override {
        return m_own ? m_own->symFileSearchStarted(m_fileName, m_binaryFile, m_checksum, strings)
                     : true;
    }
    ObjectPtr<IFileAssociation> lookupHistory() override {
        return m_history->findSymFileAssociation(m_fileName, m_binaryFile, m_checksum);
    }
};

class SrcSearchStartedHandler : public ISearchStartedHandler, Handler<ISearchStartedCallback> {
public:
    using Handler::Handler;
    bool callUserCallback(IStringContainer& strings) override {
        return m_own ? m_own->srcFileSearchStarted(m_fileName, m_binaryFile, m_checksum, strings)
                     : true;
    }
    ObjectPtr<IFileAssociation> lookupHistory() override {
        return m_history->findSrcFileAssociation(m_fileName, m_binaryFile, m_checksum);
    }
};

// ---------------------------------------------------------------------------------------
// Files found

class BinFilesFoundHandler : public IFilesFoundHandler, Handler<IFilesFoundCallback> {
public:
    using Handler::Handler;
    ObjectPtr<IValidFile> callUserCallback(IValidFileIterator& valid) override {
        return m_own ? m_own->binFilesFound(m_fileName, valid) : ObjectPtr<IValidFile>();
    }
    void updateHistory(const char* resolvedName) override {
        m_history->addBinFileAssociation(m_fileName, resolvedName);
    }
};

class SymFilesFoundHandler : public IFilesFoundHandler, Handler<IFilesFoundCallback> {
public:
    using Handler::Handler;
    ObjectPtr<IValidFile> callUserCallback(IValidFileIterator& valid) override {
        return m_own ? m_own->symFilesFound(m_fileName, m_binaryFile, m_checksum, valid)
                     : ObjectPtr<IValidFile>();
    }
    void updateHistory(const char* resolvedName) override {
        m_history->addSymFileAssociation(m_fileName, m_binaryFile, m_checksum, resolvedName);
    }
};

class SrcFilesFoundHandler : public IFilesFoundHandler, Handler<IFilesFoundCallback> {
public:
    using Handler::Handler;
    ObjectPtr<IValidFile> callUserCallback(IValidFileIterator& valid) override {
        return m_own ? m_own->srcFilesFound(m_fileName, m_binaryFile, m_checksum, valid)
                     : ObjectPtr<IValidFile>();
    }
    void updateHistory(const char* resolvedName) override {
        m_history->addSrcFileAssociation(m_fileName, m_binaryFile, m_checksum, resolvedName);
    }
};

// ---------------------------------------------------------------------------------------
// No files found: the handlers also borrow the search's validator and both lists.

struct NoFilesFoundArgs {
    IValidator& validator;
    IInvalidFileIterator& invalid;
    IValidFileIterator& valid;
};

class BinNoFilesFoundHandler : public INoFilesFoundHandler, Handler<INoFilesFoundCallback> {
public:
    BinNoFilesFoundHandler(const ObjectPtr<ISearchHistory>& history, INoFilesFoundCallback* own,
                           const NoFilesFoundArgs& args, const char* fileName)
        : Handler(history, own, fileName), m_args(args) {}
    ObjectPtr<IValidFile> callUserCallback() override {
        return m_own ? m_own->noBinFilesFound(m_fileName, m_args.validator, m_args.invalid,
                                              m_args.valid)
                     : ObjectPtr<IValidFile>();
    }
    void updateHistory(const char* resolvedName) override {
        m_history->addBinFileAssociation(m_fileName, resolvedName);
    }

private:
    NoFilesFoundArgs m_args;
};

class SymNoFilesFoundHandler : public INoFilesFoundHandler, Handler<INoFilesFoundCallback> {
public:
    SymNoFilesFoundHandler(const ObjectPtr<ISearchHistory>& history, INoFilesFoundCallback* own,
                           const NoFilesFoundArgs& args, const char* fileName,
                           const char* binaryFile, const char* checksum)
        : Handler(history, own, fileName, binaryFile, checksum), m_args(args) {}
    ObjectPtr<IValidFile> callUserCallback() override {
        return m_own ? m_own->noSymFilesFound(m_fileName, m_binaryFile, m_checksum,
                                              m_args.validator, m_args.invalid, m_args.valid)
                     : ObjectPtr<IValidFile>();
    }
    void updateHistory(const char* resolvedName) override {
        m_history->addSymFileAssociation(m_fileName, m_binaryFile, m_checksum, resolvedName);
    }

private:
    NoFilesFoundArgs m_args;
};

class SrcNoFilesFoundHandler : public INoFilesFoundHandler, Handler<INoFilesFoundCallback> {
public:
    SrcNoFilesFoundHandler(const ObjectPtr<ISearchHistory>& history, INoFilesFoundCallback* own,
                           const NoFilesFoundArgs& args, const char* fileName,
                           const char* binaryFile, const char* checksum)
        : Handler(history, own, fileName, binaryFile, checksum), m_args(args) {}
    ObjectPtr<IValidFile> callUserCallback() override {
        return m_own ? m_own->noSrcFilesFound(m_fileName, m_binaryFile, m_checksum,
                                              m_args.validator, m_args.invalid, m_args.valid)
                     : ObjectPtr<IValidFile>();
    }
    void updateHistory(const char* resolvedName) override {
        m_history->addSrcFileAssociation(m_fileName, m_binaryFile, m_checksum, resolvedName);
    }

private:
    NoFilesFoundArgs m_args;
};

}  // namespace

// ---------------------------------------------------------------------------------------
// The combining logic, once per event

bool processSearchStarted(ISearchStartedHandler& handler, IStringContainer& strings,
                          search_started_behavior_t behavior) {
    const bool goOn = handler.callUserCallback(strings);
    if (!goOn || behavior == ssbAskOwnCallbackOnly) return goOn;
    ObjectPtr<IFileAssociation> remembered = handler.lookupHistory();
    if (!remembered) return goOn;
    // Also an empty name: the request is remembered as failed, and the suggestion then
    // fails validation like any missing file.
    FF_LOG_INFO(kLogSource, "Suggesting the remembered file: " << remembered->resolvedName());
    strings.add(remembered->resolvedName());
    return behavior == ssbSuggestRememberedAndSearch;
}

ObjectPtr<IValidFile> processFilesFound(IFilesFoundHandler& handler, IValidFileIterator& valid,
                                        files_found_behavior_t behavior) {
    ObjectPtr<IValidFile> chosen = handler.callUserCallback(valid);
    if (behavior == ffbReturnOwnChoice) return chosen;
    if (!chosen) chosen = valid.next();
    if (!chosen) return chosen;
    FF_LOG_INFO(kLogSource, "Remembering the chosen file: " << chosen->name());
    handler.updateHistory(chosen->name());
    return chosen;
}

ObjectPtr<IValidFile> processNoFilesFound(INoFilesFoundHandler& handler,
                                          no_files_found_behavior_t behavior) {
    ObjectPtr<IValidFile> supplied = handler.callUserCallback();
    if (behavior == nfbReturnOwnResult || behavior == nfbAlsoReturnOwnResult) return supplied;
    FF_LOG_INFO(kLogSource,
                "Remembering the result: " << (supplied ? supplied->name() : "(nothing found)"));
    handler.updateHistory(supplied ? supplied->name() : nullptr);
    return supplied;
}

// ---------------------------------------------------------------------------------------
// DefaultSearchStartedCallback

DefaultSearchStartedCallback::DefaultSearchStartedCallback(
    const ObjectPtr<ISearchHistory>& history, const ObjectPtr<IResolutionContextMgr>& mgr,
    const ObjectPtr<IResolutionContext>& context, const char* clientId)
    : DefaultCallback(history, mgr, context, clientId) {
    m_mgr->registerSearchStartedCallback(*m_context, m_clientId.c_str(), this);
}

DefaultSearchStartedCallback::~DefaultSearchStartedCallback() {
    // A search on another thread may be in one of our operations right now.
    disconnectHolders();
}

bool DefaultSearchStartedCallback::binFileSearchStarted(const char* fileName,
                                                        IStringContainer& strings) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual bool DefaultSearchStartedCallback::binFileSearchStarted(const char*, "
                   "IStringContainer&)");
    BinSearchStartedHandler handler(m_history, ownCallback(), fileName);
    return processSearchStarted(handler, strings, behavior());
}

bool DefaultSearchStartedCallback::symFileSearchStarted(const char* fileName,
                                                        const char* binaryFile,
                                                        const char* checksum,
                                                        IStringContainer& strings) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual bool DefaultSearchStartedCallback::symFileSearchStarted(const char*, "
                   "const char*, const char*, IStringContainer&)");
    SymSearchStartedHandler handler(m_history, ownCallback(), fileName, binaryFile, checksum);
    return processSearchStarted(handler, strings, behavior());
}

bool DefaultSearchStartedCallback::srcFileSearchStarted(const char* fileName,
                                                        const char* binaryFile,
                                                        const char* checksum,
                                                        IStringContainer& strings) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual bool DefaultSearchStartedCallback::srcFileSearchStarted(const char*, "
                   "const char*, const char*, IStringContainer&)");
    SrcSearchStartedHandler handler(m_history, ownCallback(), fileName, binaryFile, checksum);
    return processSearchStarted(handler, strings, behavior());
}

// ---------------------------------------------------------------------------------------
// DefaultFilesFoundCallback

DefaultFilesFoundCallback::DefaultFilesFoundCallback(const ObjectPtr<ISearchHistory>& history,
                                                     const ObjectPtr<IResolutionContextMgr>& mgr,
                                                     const ObjectPtr<IResolutionContext>& context,
                                                     const char* clientId)
    : DefaultCallback(history, mgr, context, clientId) {
    m_mgr->registerFilesFoundCallback(*m_context, m_clientId.c_str(), this);
}

DefaultFilesFoundCallback::~DefaultFilesFoundCallback() {
    disconnectHolders();
}

ObjectPtr<IValidFile> DefaultFilesFoundCallback::binFilesFound(const char* fileName,
                                                               IValidFileIterator& valid) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual ObjectPtr<IValidFile> DefaultFilesFoundCallback::binFilesFound(const "
                   "char*, IValidFileIterator&)");
    BinFilesFoundHandler handler(m_history, ownCallback(), fileName);
    return processFilesFound(handler, valid, behavior());
}

ObjectPtr<IValidFile> DefaultFilesFoundCallback::symFilesFound(const char* fileName,
                                                               const char* binaryFile,
                                                               const char* checksum,
                                                               IValidFileIterator& valid) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual ObjectPtr<IValidFile> DefaultFilesFoundCallback::symFilesFound(const "
                   "char*, const char*, const char*, IValidFileIterator&)");
    SymFilesFoundHandler handler(m_history, ownCallback(), fileName, binaryFile, checksum);
    return processFilesFound(handler, valid, behavior());
}

ObjectPtr<IValidFile> DefaultFilesFoundCallback::srcFilesFound(const char* fileName,
                                                               const char* binaryFile,
                                                               const char* checksum,
                                                               IValidFileIterator& valid) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual ObjectPtr<IValidFile> DefaultFilesFoundCallback::srcFilesFound(const "
                   "char*, const char*, const char*, IValidFileIterator&)");
    SrcFilesFoundHandler handler(m_history, ownCallback(), fileName, binaryFile, checksum);
    return processFilesFound(handler, valid, behavior());
}

// ---------------------------------------------------------------------------------------
// DefaultNoFilesFoundCallback

DefaultNoFilesFoundCallback::DefaultNoFilesFoundCallback(
    const ObjectPtr<ISearchHistory>& history, const ObjectPtr<IResolutionContextMgr>& mgr,
    const ObjectPtr<IResolutionContext>& context, const char* clientId)
    : DefaultCallback(history, mgr, context, clientId) {
    m_mgr->registerNoFilesFoundCallback(*m_context, m_clientId.c_str(), this);
}

DefaultNoFilesFoundCallback::~DefaultNoFilesFoundCallback() {
    disconnectHolders();
}

ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noBinFilesFound(const char* fileName,
                                                                   IValidator& validator,
                                                                   IInvalidFileIterator& invalid,
                                                                   IValidFileIterator& valid) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noBinFilesFound("
                   "const char*, IValidator&, IInvalidFileIterator&, IValidFileIterator&)");
    BinNoFilesFoundHandler handler(m_history, ownCallback(), {validator, invalid, valid}, fileName);
    return processNoFilesFound(handler, behavior());
}

ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noSymFilesFound(
    const char* fileName, const char* binaryFile, const char* checksum, IValidator& validator,
    IInvalidFileIterator& invalid, IValidFileIterator& valid) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noSymFilesFound("
                   "const char*, const char*, const char*, IValidator&, IInvalidFileIterator&, "
                   "IValidFileIterator&)");
    SymNoFilesFoundHandler handler(m_history, ownCallback(), {validator, invalid, valid}, fileName,
                                   binaryFile, checksum);
    return processNoFilesFound(handler, behavior());
}

ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noSrcFilesFound(
    const char* fileName, const char* binaryFile, const char* checksum, IValidator& validator,
    IInvalidFileIterator& invalid, IValidFileIterator& valid) {
    FF_TRACE_SCOPE(kLogSource,
                   "virtual ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noSrcFilesFound("
                   "const char*, const char*, const char*, IValidator&, IInvalidFileIterator&, "
                   "IValidFileIterator&)");
    SrcNoFilesFoundHandler handler(m_history, ownCallback(), {validator, invalid, valid}, fileName,
                                   binaryFile, checksum);
    return processNoFilesFound(handler, behavior());
}

}  // namespace FF_2_13
