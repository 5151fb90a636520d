// The search manipulator.
#include "history/search_manipulator.h"

#include "base/log.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kManipulator;

}  // namespace

ObjectPtr<ISearchManipulator> createSearchManipulatorByContext(
    ObjectPtr<IResolutionContext> context, ObjectPtr<IEditableSearchDirContainer> dirs,
    ObjectPtr<ISearchHistory> history) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<ISearchManipulator> createSearchManipulatorByContext("
                   "ObjectPtr<IResolutionContext>, ObjectPtr<IEditableSearchDirContainer>, "
                   "ObjectPtr<ISearchHistory>)");
    if (!context) {
        FF_LOG_INFO(kLogSource, "No search manipulator without a context");
        return ObjectPtr<ISearchManipulator>();
    }
    return ObjectPtr<ISearchManipulator>(new SearchManipulator(context, dirs, history));
}

SearchManipulator::SearchManipulator(const ObjectPtr<IResolutionContext>& context,
                                     const ObjectPtr<IEditableSearchDirContainer>& dirs,
                                     const ObjectPtr<ISearchHistory>& history)
    : m_context(context),
      m_userDefinedDirs(dirs ? dirs : IEditableSearchDirContainer::create()),
      m_history(history ? history : ISearchHistory::create()),
      m_mgr(IResolutionContextMgr::create()) {}

SearchManipulator::~SearchManipulator() = default;

ObjectPtr<IEditableSearchDirContainer> SearchManipulator::getUserDefinedSearchDirs() {
    return m_userDefinedDirs;
}

ObjectPtr<ISearchHistory> SearchManipulator::getHistory() {
    return m_history;
}

template <class Callback>
ObjectPtr<Callback> SearchManipulator::defaultCallback(CallbackMap<Callback>& callbacks,
                                                       const char* clientId) {
    const std::string id = clientId;  // a null client id throws std::logic_error here
    auto it = callbacks.find(id);
    if (it != callbacks.end()) return it->second;
    // Made, it is registered with the manager for the context and id.
    ObjectPtr<Callback> made(new Registered<Callback>(m_history, m_mgr, m_context, id.c_str()));
    callbacks.emplace(id, made);
    return made;
}

ObjectPtr<DefaultSearchStartedCallback> SearchManipulator::getSearchStartedCallback(
    const char* clientId) {
    return defaultCallback(m_searchStartedCallbacks, clientId);
}

ObjectPtr<DefaultFilesFoundCallback> SearchManipulator::getFilesFoundCallback(
    const char* clientId) {
    return defaultCallback(m_filesFoundCallbacks, clientId);
}

ObjectPtr<DefaultNoFilesFoundCallback> SearchManipulator::getNoFilesFoundCallback(
    const char* clientId) {
    return defaultCallback(m_noFilesFoundCallbacks, clientId);
}

void SearchManipulator::setSearchStartedBehavior(const char* clientId,
                                                 search_started_behavior_t behavior) {
    FF_TRACE_SCOPE(kLogSource,
                   "void SearchManipulator::setSearchStartedBehavior(const char*, "
                   "search_started_behavior_t)");
    getSearchStartedCallback(clientId)->setBehavior(behavior);
}

void SearchManipulator::setOwnSearchStartedCallback(const char* clientId,
                                                    ISearchStartedCallback* callback) {
    FF_TRACE_SCOPE(kLogSource,
                   "void SearchManipulator::setOwnSearchStartedCallback(const char*, "
                   "ISearchStartedCallback*)");
    getSearchStartedCallback(clientId)->setOwnCallback(callback);
}

void SearchManipulator::setFilesFoundBehavior(const char* clientId,
                                              files_found_behavior_t behavior) {
    FF_TRACE_SCOPE(kLogSource,
                   "void SearchManipulator::setFilesFoundBehavior(const char*, "
                   "files_found_behavior_t)");
    getFilesFoundCallback(clientId)->setBehavior(behavior);
}

void SearchManipulator::setOwnFilesFoundCallback(const char* clientId,
                                                 IFilesFoundCallback* callback) {
    FF_TRACE_SCOPE(kLogSource,
                   "void SearchManipulator::setOwnFilesFoundCallback(const char*, "
                   "IFilesFoundCallback*)");
    getFilesFoundCallback(clientId)->setOwnCallback(callback);
}

void SearchManipulator::setNoFilesFoundBehavior(const char* clientId,
                                                no_files_found_behavior_t behavior) {
    FF_TRACE_SCOPE(kLogSource,
                   "void SearchManipulator::setNoFilesFoundBehavior(const char*, "
                   "no_files_found_behavior_t)");
    getNoFilesFoundCallback(clientId)->setBehavior(behavior);
}

void SearchManipulator::setOwnNoFilesFoundCallback(const char* clientId,
                                                   INoFilesFoundCallback* callback) {
    FF_TRACE_SCOPE(kLogSource,
                   "void SearchManipulator::setOwnNoFilesFoundCallback(const char*, "
                   "INoFilesFoundCallback*)");
    getNoFilesFoundCallback(clientId)->setOwnCallback(callback);
}

bool SearchManipulator::setSearchDirsBehavior(const char* clientId,
                                              search_dirs_behavior_t behavior) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool SearchManipulator::setSearchDirsBehavior(const char*, "
                   "search_dirs_behavior_t)");
    if (!clientId) return false;
    m_searchDirsBehaviors[clientId] = behavior;
    if (behavior == sdbCaptureNow)
        m_mgr->captureSearchDirs(*m_context, clientId);
    else if (behavior == sdbReleaseCaptured)
        m_mgr->releaseSearchDirs(*m_context, clientId);
    return true;
}

}  // namespace FF_2_13
