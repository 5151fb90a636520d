// The search manipulator: per client id, one default callback of each kind in one
// resolution context, created (and registered there) on first use; and the switch of a
// client's search directories between live and captured.
#pragma once

#include <map>
#include <string>

#include "history/default_callbacks.h"
#include "ff_manipulator.h"

namespace FF_2_13 {

class SearchManipulator : public RefCountImpl<ISearchManipulator> {
public:
    /// `context` must not be empty; empty `dirs` or `history` are replaced by new ones.
    SearchManipulator(const ObjectPtr<IResolutionContext>& context,
                      const ObjectPtr<IEditableSearchDirContainer>& dirs,
                      const ObjectPtr<ISearchHistory>& history);
    ~SearchManipulator() override;

    ObjectPtr<IEditableSearchDirContainer> getUserDefinedSearchDirs() override;
    ObjectPtr<ISearchHistory> getHistory() override;
    void setSearchStartedBehavior(const char* clientId,
                                  search_started_behavior_t behavior) override;
    void setOwnSearchStartedCallback(const char* clientId,
                                     ISearchStartedCallback* callback) override;
    void setFilesFoundBehavior(const char* clientId, files_found_behavior_t behavior) override;
    void setOwnFilesFoundCallback(const char* clientId, IFilesFoundCallback* callback) override;
    void setNoFilesFoundBehavior(const char* clientId, no_files_found_behavior_t behavior) override;
    void setOwnNoFilesFoundCallback(const char* clientId, INoFilesFoundCallback* callback) override;
    bool setSearchDirsBehavior(const char* clientId, search_dirs_behavior_t behavior) override;

    /// The client's default callback of each kind, made and registered on the first call
    /// for a client id. Throw std::logic_error for a null client id.
    ObjectPtr<DefaultSearchStartedCallback> getSearchStartedCallback(const char* clientId);
    ObjectPtr<DefaultFilesFoundCallback> getFilesFoundCallback(const char* clientId);
    ObjectPtr<DefaultNoFilesFoundCallback> getNoFilesFoundCallback(const char* clientId);

private:
    template <class Callback>
    using CallbackMap = std::map<std::string, ObjectPtr<Callback>>;

    template <class Callback>
    ObjectPtr<Callback> defaultCallback(CallbackMap<Callback>& callbacks, const char* clientId);

    ObjectPtr<IResolutionContext> m_context;
    ObjectPtr<IEditableSearchDirContainer> m_userDefinedDirs;
    ObjectPtr<ISearchHistory> m_history;
    std::map<std::string, search_dirs_behavior_t> m_searchDirsBehaviors;
    CallbackMap<DefaultNoFilesFoundCallback> m_noFilesFoundCallbacks;
    CallbackMap<DefaultFilesFoundCallback> m_filesFoundCallbacks;
    CallbackMap<DefaultSearchStartedCallback> m_searchStartedCallbacks;
    ObjectPtr<IResolutionContextMgr> m_mgr;
};

}  // namespace FF_2_13
