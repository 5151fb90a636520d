// The library's default search-started, files-found and no-files-found callbacks. Each
// belongs to one client id in one resolution context, registers itself there when it is
// made, and combines the client's own callback for its event (optional) with the search
// history, as its behaviour value says.
//
// The combining logic exists once per event (process*); a short-lived handler per event
// and category carries the request's names and makes the category's calls:
//
//   DefaultFilesFoundCallback::symFilesFound(name, binary, checksum, valid)
//     -> SymFilesFoundHandler handler(history, own, name, binary, checksum)
//     -> processFilesFound(handler, valid, behaviour)
//          handler.callUserCallback(valid)  = own->symFilesFound(name, binary, checksum, valid)
//          handler.updateHistory(chosen)    = history->addSymFileAssociation(..., chosen)
//
// The own callback and the behaviour are set by the search manipulator; they are atomic,
// so setting them while searches run is no data race, but a search already in a callback
// may still use the old values. The own callback is borrowed (see ff_manipulator.h).
#pragma once

#include <atomic>
#include <string>

#include "ff_callbacks.h"
#include "ff_context.h"
#include "ff_history.h"
#include "ff_manipulator.h"

namespace FF_2_13 {

/// The calls of one search-started request: the own callback and the history lookup.
class ISearchStartedHandler {
public:
    /// The own callback's answer; true without an own callback.
    virtual bool callUserCallback(IStringContainer& strings) = 0;
    virtual ObjectPtr<IFileAssociation> lookupHistory() = 0;

protected:
    ~ISearchStartedHandler() = default;
};

/// The calls of one files-found request.
class IFilesFoundHandler {
public:
    /// The own callback's choice; empty without an own callback.
    virtual ObjectPtr<IValidFile> callUserCallback(IValidFileIterator& valid) = 0;
    /// Remembers `resolvedName` (null: as "") for the request.
    virtual void updateHistory(const char* resolvedName) = 0;

protected:
    ~IFilesFoundHandler() = default;
};

/// The calls of one no-files-found request.
class INoFilesFoundHandler {
public:
    /// The own callback's result; empty without an own callback.
    virtual ObjectPtr<IValidFile> callUserCallback() = 0;
    virtual void updateHistory(const char* resolvedName) = 0;

protected:
    ~INoFilesFoundHandler() = default;
};

/// 0: the own callback's answer. Otherwise, when that answer is true and the history
/// remembers the request, the remembered name (also "") is added to `strings` and the
/// answer is true for 1, false for any other value.
bool processSearchStarted(ISearchStartedHandler& handler, IStringContainer& strings,
                          search_started_behavior_t behavior);
/// 0: the own callback's choice. Otherwise the own choice, else valid.next(), is
/// remembered and returned (empty, remembering nothing, when both are empty).
ObjectPtr<IValidFile> processFilesFound(IFilesFoundHandler& handler, IValidFileIterator& valid,
                                        files_found_behavior_t behavior);
/// 0 and 1: the own callback's result. Otherwise that result is remembered (no result as
/// "") and returned.
ObjectPtr<IValidFile> processNoFilesFound(INoFilesFoundHandler& handler,
                                          no_files_found_behavior_t behavior);

/// What the three default callbacks share: the history, the manager and context they are
/// registered with, the client id, the own callback and the behaviour. Counted through
/// RefCountImpl<IFFObject>; the manipulator holds them by ObjectPtr, the context's
/// metadata weakly.
template <class Callback, class Behavior>
class DefaultCallback : public Callback, public RefCountImpl<IFFObject> {
public:
    /// Null: no own callback. Borrowed, not counted.
    void setOwnCallback(Callback* callback) { m_ownCallback.store(callback); }
    Callback* ownCallback() const { return m_ownCallback.load(); }
    void setBehavior(Behavior behavior) { m_behavior.store(behavior); }
    Behavior behavior() const { return m_behavior.load(); }
    const std::string& clientId() const { return m_clientId; }
    const ObjectPtr<IResolutionContext>& context() const { return m_context; }

protected:
    /// A null client id is kept as "", the default client id.
    DefaultCallback(const ObjectPtr<ISearchHistory>& history,
                    const ObjectPtr<IResolutionContextMgr>& mgr,
                    const ObjectPtr<IResolutionContext>& context, const char* clientId)
        : m_history(history),
          m_mgr(mgr),
          m_context(context),
          m_clientId(clientId ? clientId : ""),
          m_ownCallback(nullptr),
          m_behavior(static_cast<Behavior>(0)) {}

    ObjectPtr<ISearchHistory> m_history;
    ObjectPtr<IResolutionContextMgr> m_mgr;
    ObjectPtr<IResolutionContext> m_context;
    std::string m_clientId;
    std::atomic<Callback*> m_ownCallback;
    std::atomic<Behavior> m_behavior;
};

class DefaultSearchStartedCallback
    : public DefaultCallback<ISearchStartedCallback, search_started_behavior_t> {
public:
    /// Registers itself with `mgr` for `context` and the client id.
    DefaultSearchStartedCallback(const ObjectPtr<ISearchHistory>& history,
                                 const ObjectPtr<IResolutionContextMgr>& mgr,
                                 const ObjectPtr<IResolutionContext>& context,
                                 const char* clientId);
    ~DefaultSearchStartedCallback() override;

    bool binFileSearchStarted(const char* fileName, IStringContainer& strings) override;
    bool symFileSearchStarted(const char* fileName, const char* binaryFile, const char* checksum,
                              IStringContainer& strings) override;
    bool srcFileSearchStarted(const char* fileName, const char* binaryFile, const char* checksum,
                              IStringContainer& strings) override;
};

class DefaultFilesFoundCallback
    : public DefaultCallback<IFilesFoundCallback, files_found_behavior_t> {
public:
    DefaultFilesFoundCallback(const ObjectPtr<ISearchHistory>& history,
                              const ObjectPtr<IResolutionContextMgr>& mgr,
                              const ObjectPtr<IResolutionContext>& context, const char* clientId);
    ~DefaultFilesFoundCallback() override;

    ObjectPtr<IValidFile> binFilesFound(const char* fileName, IValidFileIterator& valid) override;
    ObjectPtr<IValidFile> symFilesFound(const char* fileName, const char* binaryFile,
                                        const char* checksum, IValidFileIterator& valid) override;
    ObjectPtr<IValidFile> srcFilesFound(const char* fileName, const char* binaryFile,
                                        const char* checksum, IValidFileIterator& valid) override;
};

class DefaultNoFilesFoundCallback
    : public DefaultCallback<INoFilesFoundCallback, no_files_found_behavior_t> {
public:
    DefaultNoFilesFoundCallback(const ObjectPtr<ISearchHistory>& history,
                                const ObjectPtr<IResolutionContextMgr>& mgr,
                                const ObjectPtr<IResolutionContext>& context, const char* clientId);
    ~DefaultNoFilesFoundCallback() override;

    ObjectPtr<IValidFile> noBinFilesFound(const char* fileName, IValidator& validator,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override;
    ObjectPtr<IValidFile> noSymFilesFound(const char* fileName, const char* binaryFile,
                                          const char* checksum, IValidator& validator,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override;
    ObjectPtr<IValidFile> noSrcFilesFound(const char* fileName, const char* binaryFile,
                                          const char* checksum, IValidator& validator,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override;
};

}  // namespace FF_2_13
