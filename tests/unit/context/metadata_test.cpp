// Context metadata: keys, replace-on-store, callback sets, and the key iterator's lock.
#include "context/metadata.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "backoff_watch.h"
#include "callback_doubles.h"

using namespace FF_2_13;

namespace {

using Started = fftest::StartedCallback;
using Found = fftest::FilesFoundCallback;

std::vector<std::string> keysOf(IMetadata& metadata) {
    std::vector<std::string> keys;
    ObjectPtr<ISearchDirKeyIterator> it = metadata.searchDirsKeyIterator();
    const char* key = nullptr;
    ObjectPtr<ISearchDirContainer> dirs;
    for (bool more = it->getCurrentRecord(key, dirs); more;
         more = it->next() && it->getCurrentRecord(key, dirs))
        keys.push_back(key);
    return keys;
}

}  // namespace

TEST(Metadata, KeysAreExactByteStringsInByteOrder) {
    ObjectPtr<IMetadata> metadata(new Metadata);
    EXPECT_TRUE(keysOf(*metadata).empty());
    EXPECT_THROW(metadata->getSearchDirs(nullptr), std::logic_error);
    EXPECT_THROW(metadata->registerMessenger(nullptr, nullptr), std::logic_error);
    ObjectPtr<ISearchDirContainer> a = IEditableSearchDirContainer::create();
    ObjectPtr<ISearchDirContainer> b = IEditableSearchDirContainer::create();
    for (const char* key : {"abc", "ab", "Abc", "a", "B"}) metadata->setSearchDirs(a, key);
    metadata->setSearchDirs(b, "abc");
    EXPECT_EQ((std::vector<std::string>{"Abc", "B", "a", "ab", "abc"}), keysOf(*metadata));
    EXPECT_EQ(b, metadata->getSearchDirs("abc"));
    EXPECT_EQ(a, metadata->getSearchDirs("Abc"));
    EXPECT_FALSE(metadata->getSearchDirs("ABC"));

    // An empty value keeps its key.
    metadata->setSearchDirs(ObjectPtr<ISearchDirContainer>(), "abc");
    EXPECT_FALSE(metadata->getSearchDirs("abc"));
    EXPECT_EQ(5u, keysOf(*metadata).size());
}

TEST(Metadata, RegisteringOneCallbackKeepsTheOthersOfTheClient) {
    ObjectPtr<IMetadata> metadata(new Metadata);
    Started started;
    Found found;
    metadata->registerSearchStartedCallback("c", &started);
    metadata->registerFilesFoundCallback("c", &found);
    file_finder_callbacks_t callbacks = metadata->getCallbacks("c");
    EXPECT_EQ(&started, callbacks.searchStarted.get());
    EXPECT_EQ(&found, callbacks.filesFound.get());
    EXPECT_EQ(nullptr, metadata->getCallbacks("C").searchStarted.get());
    {
        Started dying;
        metadata->registerSearchStartedCallback("d", &dying);
    }
    EXPECT_EQ(nullptr, metadata->getCallbacks("d").searchStarted.get());
}

TEST(Metadata, AWriterWaitsForALiveKeyIterator) {
    ObjectPtr<IMetadata> metadata(new Metadata);
    fftest::BackoffWatch backoffs;
    std::atomic<bool> written{false};
    std::thread writer;
    {
        ObjectPtr<ISearchDirKeyIterator> keys = metadata->searchDirsKeyIterator();
        writer = std::thread([&] {
            metadata->setArchiveDir("/archive");
            written = true;
        });
        backoffs.waitFor(1);  // the writer is waiting
        EXPECT_FALSE(written);
    }
    writer.join();
    EXPECT_EQ("/archive", metadata->getArchiveDir());
}
