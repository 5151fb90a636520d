// The default callbacks: one combining operation per event. The category operations (in
// the header) only make the request; the trace of each is opened here.
#include "history/default_callbacks.h"

#include "base/log.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kDefaultCallbacks;

// The signature texts of the category operations, in category order: bin, sym, src.
constexpr const char* kSearchStartedTraces[] = {
    "bool DefaultSearchStartedCallback::binFileSearchStarted(const char*, IStringContainer&)",
    "bool DefaultSearchStartedCallback::symFileSearchStarted(const char*, const char*, "
    "const char*, IStringContainer&)",
    "bool DefaultSearchStartedCallback::srcFileSearchStarted(const char*, const char*, "
    "const char*, IStringContainer&)",
};
constexpr const char* kFilesFoundTraces[] = {
    "ObjectPtr<IValidFile> DefaultFilesFoundCallback::binFilesFound(const char*, "
    "IValidFileIterator&)",
    "ObjectPtr<IValidFile> DefaultFilesFoundCallback::symFilesFound(const char*, const char*, "
    "const char*, IValidFileIterator&)",
    "ObjectPtr<IValidFile> DefaultFilesFoundCallback::srcFilesFound(const char*, const char*, "
    "const char*, IValidFileIterator&)",
};
constexpr const char* kNoFilesFoundTraces[] = {
    "ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noBinFilesFound(const char*, "
    "IValidator&, IInvalidFileIterator&, IValidFileIterator&)",
    "ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noSymFilesFound(const char*, "
    "const char*, const char*, IValidator&, IInvalidFileIterator&, IValidFileIterator&)",
    "ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::noSrcFilesFound(const char*, "
    "const char*, const char*, IValidator&, IInvalidFileIterator&, IValidFileIterator&)",
};

}  // namespace

bool DefaultSearchStartedCallback::answer(const SearchRequest& request, IStringContainer& strings) {
    FF_TRACE_SCOPE(kLogSource, ofCategory(kSearchStartedTraces, request));
    ISearchStartedCallback* own = ownCallback();
    const search_started_behavior_t behavior = this->behavior();
    const bool goOn = own ? notifySearchStarted(*own, request, strings) : true;
    if (!goOn || behavior == ssbAskOwnCallbackOnly) return goOn;
    ObjectPtr<IFileAssociation> remembered = findAssociation(*m_history, request);
    if (!remembered) return goOn;
    // Also an empty name: the request is remembered as failed, and the suggestion then
    // fails validation like any missing file.
    FF_LOG_INFO(kLogSource, "Suggesting the remembered file: " << remembered->resolvedName());
    strings.add(remembered->resolvedName());
    return behavior == ssbSuggestRememberedAndSearch;
}

ObjectPtr<IValidFile> DefaultFilesFoundCallback::answer(const SearchRequest& request,
                                                        IValidFileIterator& valid) {
    FF_TRACE_SCOPE(kLogSource, ofCategory(kFilesFoundTraces, request));
    IFilesFoundCallback* own = ownCallback();
    const files_found_behavior_t behavior = this->behavior();
    ObjectPtr<IValidFile> chosen = own ? notifyFilesFound(*own, request, valid) : nullptr;
    if (behavior == ffbReturnOwnChoice) return chosen;
    if (!chosen) chosen = valid.next();
    if (!chosen) return chosen;
    FF_LOG_INFO(kLogSource, "Remembering the chosen file: " << chosen->name());
    addAssociation(*m_history, request, chosen->name());
    return chosen;
}

ObjectPtr<IValidFile> DefaultNoFilesFoundCallback::answer(const SearchRequest& request,
                                                          IValidator& validator,
                                                          IInvalidFileIterator& invalid,
                                                          IValidFileIterator& valid) {
    FF_TRACE_SCOPE(kLogSource, ofCategory(kNoFilesFoundTraces, request));
    INoFilesFoundCallback* own = ownCallback();
    const no_files_found_behavior_t behavior = this->behavior();
    ObjectPtr<IValidFile> supplied =
        own ? notifyNoFilesFound(*own, request, validator, invalid, valid) : nullptr;
    if (behavior == nfbReturnOwnResult || behavior == nfbAlsoReturnOwnResult) return supplied;
    FF_LOG_INFO(kLogSource,
                "Remembering the result: " << (supplied ? supplied->name() : "(nothing found)"));
    addAssociation(*m_history, request, supplied ? supplied->name() : nullptr);
    return supplied;
}

}  // namespace FF_2_13
