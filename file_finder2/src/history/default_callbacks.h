// The library's default search-started, files-found and no-files-found callbacks. Each
// belongs to one client id in one resolution context, registers itself there when it is
// made, and combines the client's own callback for its event (optional) with the search
// history, as its behaviour value says.
//
// Each category operation makes its SearchRequest and hands it to the event's one
// combining operation, which reaches the own callback and the history through the
// request's dispatch:
//
//   DefaultFilesFoundCallback::symFilesFound(name, binary, checksum, valid)
//     -> answer({scSymbolFiles, name, binary, checksum}, valid)
//          notifyFilesFound(*own, request, valid)   = own->symFilesFound(name, binary, ...)
//          addAssociation(*history, request, chosen) = history->addSymFileAssociation(...)
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
#include "search/search_request.h"

namespace FF_2_13 {

/// What the three default callbacks share: the history, the manager and context they are
/// registered with, the client id, the own callback and the behaviour. Counted through
/// RefCountImpl<IFFObject>; the manipulator holds them by ObjectPtr, the context's
/// metadata weakly. `Register` is the manager's operation that registers a `Callback`.
template <class Callback, class Behavior,
          void (IResolutionContextMgr::*Register)(IResolutionContext&, const char*, Callback*)>
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
    DefaultCallback(const ObjectPtr<ISearchHistory>& history,
                    const ObjectPtr<IResolutionContextMgr>& mgr,
                    const ObjectPtr<IResolutionContext>& context, const char* clientId)
        : m_history(history),
          m_mgr(mgr),
          m_context(context),
          m_clientId(clientId ? clientId : ""),
          m_ownCallback(nullptr),
          m_behavior(static_cast<Behavior>(0)) {}

    /// Registers this callback with the manager for its context and client id.
    void registerWithManager() { (m_mgr.get()->*Register)(*m_context, m_clientId.c_str(), this); }

    ObjectPtr<ISearchHistory> m_history;
    ObjectPtr<IResolutionContextMgr> m_mgr;
    ObjectPtr<IResolutionContext> m_context;
    std::string m_clientId;
    std::atomic<Callback*> m_ownCallback;
    std::atomic<Behavior> m_behavior;
};

class DefaultSearchStartedCallback
    : public DefaultCallback<ISearchStartedCallback, search_started_behavior_t,
                             &IResolutionContextMgr::registerSearchStartedCallback> {
public:
    bool binFileSearchStarted(const char* fileName, IStringContainer& strings) override {
        return answer({scBinaryFiles, fileName}, strings);
    }
    bool symFileSearchStarted(const char* fileName, const char* binaryFile, const char* checksum,
                              IStringContainer& strings) override {
        return answer({scSymbolFiles, fileName, binaryFile, checksum}, strings);
    }
    bool srcFileSearchStarted(const char* fileName, const char* binaryFile, const char* checksum,
                              IStringContainer& strings) override {
        return answer({scSourceFiles, fileName, binaryFile, checksum}, strings);
    }

protected:
    using DefaultCallback::DefaultCallback;

private:
    /// 0: the own callback's answer (true without one). Otherwise, when that answer is
    /// true and the history remembers the request, the remembered name (also "") is
    /// added to `strings` and the answer is true for 1, false for any other value.
    bool answer(const SearchRequest& request, IStringContainer& strings);
};

class DefaultFilesFoundCallback
    : public DefaultCallback<IFilesFoundCallback, files_found_behavior_t,
                             &IResolutionContextMgr::registerFilesFoundCallback> {
public:
    ObjectPtr<IValidFile> binFilesFound(const char* fileName, IValidFileIterator& valid) override {
        return answer({scBinaryFiles, fileName}, valid);
    }
    ObjectPtr<IValidFile> symFilesFound(const char* fileName, const char* binaryFile,
                                        const char* checksum, IValidFileIterator& valid) override {
        return answer({scSymbolFiles, fileName, binaryFile, checksum}, valid);
    }
    ObjectPtr<IValidFile> srcFilesFound(const char* fileName, const char* binaryFile,
                                        const char* checksum, IValidFileIterator& valid) override {
        return answer({scSourceFiles, fileName, binaryFile, checksum}, valid);
    }

protected:
    using DefaultCallback::DefaultCallback;

private:
    /// 0: the own callback's choice. Otherwise the own choice, else valid.next(), is
    /// remembered and returned (empty, remembering nothing, when both are empty).
    ObjectPtr<IValidFile> answer(const SearchRequest& request, IValidFileIterator& valid);
};

class DefaultNoFilesFoundCallback
    : public DefaultCallback<INoFilesFoundCallback, no_files_found_behavior_t,
                             &IResolutionContextMgr::registerNoFilesFoundCallback> {
public:
    ObjectPtr<IValidFile> noBinFilesFound(const char* fileName, IValidator& validator,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override {
        return answer({scBinaryFiles, fileName}, validator, invalid, valid);
    }
    ObjectPtr<IValidFile> noSymFilesFound(const char* fileName, const char* binaryFile,
                                          const char* checksum, IValidator& validator,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override {
        return answer({scSymbolFiles, fileName, binaryFile, checksum}, validator, invalid, valid);
    }
    ObjectPtr<IValidFile> noSrcFilesFound(const char* fileName, const char* binaryFile,
                                          const char* checksum, IValidator& validator,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override {
        return answer({scSourceFiles, fileName, binaryFile, checksum}, validator, invalid, valid);
    }

protected:
    using DefaultCallback::DefaultCallback;

private:
    /// 0 and 1: the own callback's result. Otherwise that result is remembered (no result
    /// as "") and returned.
    ObjectPtr<IValidFile> answer(const SearchRequest& request, IValidator& validator,
                                 IInvalidFileIterator& invalid, IValidFileIterator& valid);
};

/// A default callback as it is made: `Event` (one of the three above), registered with
/// the manager for its context and client id once it is whole, so that no search can
/// reach it half built, and disconnected from its holders first thing when destroyed, so
/// that no search is still inside it while it is taken apart.
template <class Event>
class Registered final : public Event {
public:
    /// A null client id is kept as "", the default client id.
    Registered(const ObjectPtr<ISearchHistory>& history,
               const ObjectPtr<IResolutionContextMgr>& mgr,
               const ObjectPtr<IResolutionContext>& context, const char* clientId)
        : Event(history, mgr, context, clientId) {
        this->registerWithManager();
    }
    ~Registered() override { this->disconnectHolders(); }
};

}  // namespace FF_2_13
