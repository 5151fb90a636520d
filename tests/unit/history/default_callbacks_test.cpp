// The default callbacks: every behaviour value of the three events for each category, with
// and without the client's own callback.
#include "history/default_callbacks.h"

#include <gtest/gtest.h>

#include "base/string_container.h"
#include "callback_doubles.h"
#include "search/found_files_lazy_iterator.h"
#include "search/search_request.h"
#include "search_doubles.h"
#include "temp_dir.h"
#include "validation/validated_files.h"

using namespace FF_2_13;

namespace {

// One request per category for the same file name, so that the three maps of the history
// are told apart.
const SearchRequest kRequests[] = {{scBinaryFiles, "lib", "", ""},
                                   {scSymbolFiles, "lib", "app", "sum"},
                                   {scSourceFiles, "lib", "app", "sum"}};

ObjectPtr<IValidFile> validFile(const char* name) {
    return ObjectPtr<IValidFile>(new ValidFile(name, cfAccepted, ssSystemDirs));
}

template <class T, class Iterator>
using Over = FoundFilesLazyIterator::FilesIterator<T, Iterator>;
using ValidFiles = std::list<ObjectPtr<IValidFile>>;

class DefaultCallbacks : public ::testing::Test {
protected:
    std::string remembered(const SearchRequest& r) {
        ObjectPtr<IFileAssociation> a = findAssociation(*history, r);
        return a ? a->resolvedName() : "<none>";
    }
    std::deque<std::string> suggestions(const SearchRequest& r, bool& answer) {
        StringContainer strings;
        answer = notifySearchStarted(*started, r, strings);
        return strings.m_list;
    }
    ObjectPtr<IValidFile> noFilesFound(const SearchRequest& r) {
        fftest::UnusedValidator validator;
        std::list<ObjectPtr<IInvalidFile>> noInvalid;
        ValidFiles noValid;
        Over<IInvalidFile, IInvalidFileIterator> invalid(noInvalid);
        Over<IValidFile, IValidFileIterator> valid(noValid);
        return notifyNoFilesFound(*notFound, r, validator, invalid, valid);
    }

    fftest::TempDir tmp;
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    ObjectPtr<IResolutionContext> context = mgr->createFileSystemContext(tmp.path().c_str(), false);
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    ObjectPtr<DefaultSearchStartedCallback> started{
        new Registered<DefaultSearchStartedCallback>(history, mgr, context, "c")};
    ObjectPtr<DefaultFilesFoundCallback> found{
        new Registered<DefaultFilesFoundCallback>(history, mgr, context, "c")};
    ObjectPtr<DefaultNoFilesFoundCallback> notFound{
        new Registered<DefaultNoFilesFoundCallback>(history, mgr, context, "c")};
};

}  // namespace

TEST_F(DefaultCallbacks, SearchStartedBehaviourDecidesSuggestionAndAnswer) {
    const struct {
        int behaviour;
        bool inHistory, answer;
        std::deque<std::string> suggestions;
    } cases[] = {
        {0, true, true, {}},                // the history is not asked
        {1, true, true, {"/found/lib"}},    // suggested, and the search goes on
        {2, true, false, {"/found/lib"}},   // suggested instead of searching
        {-5, true, false, {"/found/lib"}},  // any other value as 2
        {1, false, true, {}},               // nothing remembered: the search goes on
        {2, false, true, {}},
    };
    for (const SearchRequest& r : kRequests) {
        for (const auto& c : cases) {
            history->clear(scAllFiles);
            if (c.inHistory) addAssociation(*history, r, "/found/lib");
            started->setBehavior(static_cast<search_started_behavior_t>(c.behaviour));
            bool answer;
            EXPECT_EQ(c.suggestions, suggestions(r, answer)) << r.category << " " << c.behaviour;
            EXPECT_EQ(c.answer, answer) << r.category << " " << c.behaviour;
        }
    }
}

TEST_F(DefaultCallbacks, AnOwnCallbackThatAnswersFalseStopsTheHistoryLookup) {
    fftest::StartedCallback own;
    own.suggestion = "own";
    started->setOwnCallback(&own);
    for (const SearchRequest& r : kRequests) {
        addAssociation(*history, r, "/found/lib");
        for (int behaviour : {1, 2}) {
            started->setBehavior(static_cast<search_started_behavior_t>(behaviour));
            bool answer;
            own.answer = false;
            EXPECT_EQ(std::deque<std::string>{"own"}, suggestions(r, answer));
            EXPECT_FALSE(answer);
            own.answer = true;
            EXPECT_EQ((std::deque<std::string>{"own", "/found/lib"}), suggestions(r, answer));
            EXPECT_EQ(behaviour == 1, answer);
        }
    }
    EXPECT_EQ("src lib|app|sum", own.calls.back());  // the request's names as given
}

TEST_F(DefaultCallbacks, FilesFoundRemembersTheOwnChoiceElseTheFirstValidFile) {
    fftest::FilesFoundCallback own;
    for (int behaviour : {0, 1, 3}) {
        found->setBehavior(static_cast<files_found_behavior_t>(behaviour));
        const std::string ifRemembered = behaviour ? "/a/lib" : "<none>";
        for (const SearchRequest& r : kRequests) {
            history->clear(scAllFiles);
            ValidFiles noFiles, twoFiles{validFile("/a/lib"), validFile("/b/lib")};
            Over<IValidFile, IValidFileIterator> none(noFiles), valid(twoFiles);
            EXPECT_FALSE(notifyFilesFound(*found, r, none));
            EXPECT_EQ("<none>", remembered(r));
            // Without an own callback behaviour 0 chooses nothing.
            ObjectPtr<IValidFile> first = notifyFilesFound(*found, r, valid);
            EXPECT_EQ(ifRemembered, first ? first->name() : "<none>");
            EXPECT_EQ(ifRemembered, remembered(r));

            found->setOwnCallback(&own);
            own.choice = validFile("/b/lib");
            EXPECT_EQ(own.choice, notifyFilesFound(*found, r, valid));
            EXPECT_EQ(behaviour ? "/b/lib" : "<none>", remembered(r)) << behaviour;
            found->setOwnCallback(nullptr);
        }
    }
}

// From behaviour 2 on, the result is remembered in the request's own category; a failed
// search as an empty name, which a later search-started suggests as it is.
TEST_F(DefaultCallbacks, NoFilesFoundRemembersOnlyFromBehaviourTwoAndAFailureAsEmpty) {
    started->setBehavior(ssbSuggestRememberedAndSearch);
    fftest::NoFilesCallback own;
    own.supplied = validFile("/picked/lib");
    for (const SearchRequest& r : kRequests) {
        history->clear(scAllFiles);
        notFound->setOwnCallback(nullptr);
        notFound->setBehavior(nfbRememberResultOrFailure);
        EXPECT_FALSE(noFilesFound(r));
        for (const SearchRequest& other : kRequests)
            EXPECT_EQ(other.category == r.category ? "" : "<none>", remembered(other));
        bool answer;
        EXPECT_EQ(std::deque<std::string>{""}, suggestions(r, answer));
        EXPECT_TRUE(answer);

        notFound->setOwnCallback(&own);
        for (int behaviour : {0, 1, 2}) {
            notFound->setBehavior(static_cast<no_files_found_behavior_t>(behaviour));
            EXPECT_EQ(own.supplied, noFilesFound(r));
            EXPECT_EQ(behaviour == 2 ? "/picked/lib" : "", remembered(r));
        }
    }
}
