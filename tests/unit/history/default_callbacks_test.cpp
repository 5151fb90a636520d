// The default callbacks: registration, and every behaviour value of the three events for
// each category, with and without the client's own callback.
#include "history/default_callbacks.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/string_container.h"
#include "callback_doubles.h"
#include "search_doubles.h"
#include "temp_dir.h"
#include "validation/validated_files.h"

using namespace FF_2_13;

namespace {

enum Kind { kBin, kSym, kSrc };

// One request per category, all for the file name "lib", so that the three history maps
// can be told apart.
struct Request {
    Kind kind;
    const char* binary;
    const char* checksum;
};
const Request kRequests[] = {{kBin, nullptr, nullptr}, {kSym, "app", "sum"}, {kSrc, "app", "sum"}};
constexpr char kFile[] = "lib";

std::string remembered(ISearchHistory& history, const Request& r) {
    ObjectPtr<IFileAssociation> a =
        r.kind == kBin   ? history.findBinFileAssociation(kFile)
        : r.kind == kSym ? history.findSymFileAssociation(kFile, r.binary, r.checksum)
                         : history.findSrcFileAssociation(kFile, r.binary, r.checksum);
    return a ? a->resolvedName() : "<none>";
}

void remember(ISearchHistory& history, const Request& r, const char* name) {
    if (r.kind == kBin) history.addBinFileAssociation(kFile, name);
    if (r.kind == kSym) history.addSymFileAssociation(kFile, r.binary, r.checksum, name);
    if (r.kind == kSrc) history.addSrcFileAssociation(kFile, r.binary, r.checksum, name);
}

std::string nameOf(const ObjectPtr<IValidFile>& file) {
    return file ? file->name() : "<none>";
}

ObjectPtr<IValidFile> validFile(const char* name) {
    return ObjectPtr<IValidFile>(new ValidFile(name, cfAccepted, ssSystemDirs));
}

class Files : public IValidFileIterator {
public:
    explicit Files(std::vector<ObjectPtr<IValidFile>> files = {}) : m_files(std::move(files)) {}
    void reset() override { m_next = 0; }
    ObjectPtr<IValidFile> next() override {
        return m_next < m_files.size() ? m_files[m_next++] : ObjectPtr<IValidFile>();
    }

private:
    std::vector<ObjectPtr<IValidFile>> m_files;
    size_t m_next = 0;
};

class NoInvalidFiles : public IInvalidFileIterator {
public:
    void reset() override {}
    ObjectPtr<IInvalidFile> next() override { return {}; }
};

// The client's own callbacks.
using OwnFilesFound = fftest::FilesFoundCallback;
using OwnNoFiles = fftest::NoFilesCallback;
struct OwnStarted : fftest::StartedCallback {
    OwnStarted() { suggestion = "own suggestion"; }
};

class DefaultCallbacks : public ::testing::Test {
protected:
    DefaultCallbacks()
        : mgr(IResolutionContextMgr::create()),
          context(mgr->createFileSystemContext(tmp.path().c_str(), false)),
          history(ISearchHistory::create()),
          started(new Registered<DefaultSearchStartedCallback>(history, mgr, context, "c")),
          found(new Registered<DefaultFilesFoundCallback>(history, mgr, context, "c")),
          notFound(new Registered<DefaultNoFilesFoundCallback>(history, mgr, context, "c")) {}

    // Runs the category operation of `r` and returns the answer; `strings` collects.
    bool searchStarted(const Request& r, StringContainer& strings) {
        if (r.kind == kBin) return started->binFileSearchStarted(kFile, strings);
        if (r.kind == kSym)
            return started->symFileSearchStarted(kFile, r.binary, r.checksum, strings);
        return started->srcFileSearchStarted(kFile, r.binary, r.checksum, strings);
    }
    ObjectPtr<IValidFile> filesFound(const Request& r, IValidFileIterator& valid) {
        if (r.kind == kBin) return found->binFilesFound(kFile, valid);
        if (r.kind == kSym) return found->symFilesFound(kFile, r.binary, r.checksum, valid);
        return found->srcFilesFound(kFile, r.binary, r.checksum, valid);
    }
    ObjectPtr<IValidFile> noFilesFound(const Request& r) {
        fftest::UnusedValidator validator;
        NoInvalidFiles invalid;
        Files valid;
        if (r.kind == kBin) return notFound->noBinFilesFound(kFile, validator, invalid, valid);
        if (r.kind == kSym)
            return notFound->noSymFilesFound(kFile, r.binary, r.checksum, validator, invalid,
                                             valid);
        return notFound->noSrcFilesFound(kFile, r.binary, r.checksum, validator, invalid, valid);
    }

    fftest::TempDir tmp;
    ObjectPtr<IResolutionContextMgr> mgr;
    ObjectPtr<IResolutionContext> context;
    ObjectPtr<ISearchHistory> history;
    ObjectPtr<DefaultSearchStartedCallback> started;
    ObjectPtr<DefaultFilesFoundCallback> found;
    ObjectPtr<DefaultNoFilesFoundCallback> notFound;
};

}  // namespace

TEST_F(DefaultCallbacks, SearchStartedBehaviourDecidesSuggestionAndAnswer) {
    struct Case {
        int behaviour;
        bool inHistory;
        bool answer;
        std::vector<std::string> suggestions;
    };
    const Case cases[] = {
        {0, true, true, {}},                // the history is not asked
        {1, true, true, {"/found/lib"}},    // suggested, and the search goes on
        {2, true, false, {"/found/lib"}},   // suggested instead of searching
        {-5, true, false, {"/found/lib"}},  // any other value as 2
        {1, false, true, {}},               // nothing remembered: the search goes on
        {2, false, true, {}},
    };
    for (const Request& r : kRequests) {
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << "kind " << r.kind << ", behaviour " << c.behaviour
                                            << ", in history " << c.inHistory);
            history->clear(scAllFiles);
            if (c.inHistory) remember(*history, r, "/found/lib");
            started->setBehavior(static_cast<search_started_behavior_t>(c.behaviour));
            StringContainer strings;
            EXPECT_EQ(c.answer, searchStarted(r, strings));
            EXPECT_EQ(c.suggestions,
                      std::vector<std::string>(strings.m_list.begin(), strings.m_list.end()));
        }
    }
}

TEST_F(DefaultCallbacks, AnOwnCallbackThatAnswersFalseStopsTheHistoryLookup) {
    OwnStarted own;
    started->setOwnCallback(&own);
    for (const Request& r : kRequests) {
        remember(*history, r, "/found/lib");
        for (int behaviour : {1, 2}) {
            started->setBehavior(static_cast<search_started_behavior_t>(behaviour));
            own.answer = false;
            StringContainer stopped;
            EXPECT_FALSE(searchStarted(r, stopped));
            EXPECT_EQ(std::deque<std::string>{"own suggestion"}, stopped.m_list);
            own.answer = true;
            StringContainer both;
            EXPECT_EQ(behaviour == 1, searchStarted(r, both));
            EXPECT_EQ((std::deque<std::string>{"own suggestion", "/found/lib"}), both.m_list);
        }
    }
    // The own callback sees the request's names as the search gave them.
    EXPECT_EQ("bin lib||", own.calls.front());
    EXPECT_EQ("src lib|app|sum", own.calls.back());
}

TEST_F(DefaultCallbacks, FilesFoundRemembersTheOwnChoiceElseTheNextValidFileFromOne) {
    OwnFilesFound own;
    for (int behaviour : {0, 1, 3}) {
        found->setBehavior(static_cast<files_found_behavior_t>(behaviour));
        const bool remembers = behaviour != 0;
        for (const Request& r : kRequests) {
            SCOPED_TRACE(testing::Message() << "kind " << r.kind << ", behaviour " << behaviour);
            history->clear(scAllFiles);
            Files none;
            EXPECT_EQ("<none>", nameOf(filesFound(r, none)));
            EXPECT_EQ("<none>", remembered(*history, r));

            // Without an own callback behaviour 0 chooses nothing.
            Files valid({validFile("/a/lib"), validFile("/b/lib")});
            EXPECT_EQ(remembers ? "/a/lib" : "<none>", nameOf(filesFound(r, valid)));
            EXPECT_EQ(remembers ? "/a/lib" : "<none>", remembered(*history, r));

            found->setOwnCallback(&own);
            own.choice = validFile("/b/lib");
            EXPECT_EQ(own.choice, filesFound(r, valid));
            EXPECT_EQ(remembers ? "/b/lib" : "<none>", remembered(*history, r));
            found->setOwnCallback(nullptr);
        }
    }
}

// From behaviour 2 on, the result is remembered in the request's own category; a failed
// search as an empty name, which a later search-started suggests as it is.
TEST_F(DefaultCallbacks, NoFilesFoundRemembersOnlyFromBehaviourTwoAndAFailureAsEmpty) {
    started->setBehavior(ssbSuggestRememberedAndSearch);
    OwnNoFiles own;
    own.supplied = validFile("/picked/lib");
    for (const Request& r : kRequests) {
        SCOPED_TRACE(testing::Message() << "kind " << r.kind);
        history->clear(scAllFiles);
        notFound->setOwnCallback(nullptr);
        notFound->setBehavior(nfbRememberResultOrFailure);
        EXPECT_FALSE(noFilesFound(r));
        for (const Request& other : kRequests)
            EXPECT_EQ(other.kind == r.kind ? "" : "<none>", remembered(*history, other));
        StringContainer strings;
        EXPECT_TRUE(searchStarted(r, strings));
        EXPECT_EQ(std::deque<std::string>{""}, strings.m_list);

        notFound->setOwnCallback(&own);
        for (int behaviour : {0, 1}) {
            notFound->setBehavior(static_cast<no_files_found_behavior_t>(behaviour));
            EXPECT_EQ(own.supplied, noFilesFound(r));
            EXPECT_EQ("", remembered(*history, r));
        }
        notFound->setBehavior(nfbRememberResultOrFailure);
        EXPECT_EQ(own.supplied, noFilesFound(r));
        EXPECT_EQ("/picked/lib", remembered(*history, r));
    }
}
