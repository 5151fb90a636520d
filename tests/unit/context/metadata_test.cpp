// Context metadata: keys, replace-on-store, callback sets, and the key iterator's lock.
#include "context/metadata.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "backoff_watch.h"
#include "callback_doubles.h"

using namespace FF_2_13;

TEST(Metadata, KeysAreExactByteStringsInByteOrderAndKeptWhenEmptied) {
    ObjectPtr<IMetadata> metadata(new Metadata);
    auto keys = [&] {
        std::vector<std::string> out;
        ObjectPtr<ISearchDirKeyIterator> it = metadata->searchDirsKeyIterator();
        const char* key = nullptr;
        ObjectPtr<ISearchDirContainer> dirs;
        for (bool more = it->getCurrentRecord(key, dirs); more;
             more = it->next() && it->getCurrentRecord(key, dirs))
            out.push_back(key);
        return out;
    };
    EXPECT_TRUE(keys().empty());
    EXPECT_THROW(metadata->getSearchDirs(nullptr), std::logic_error);
    ObjectPtr<ISearchDirContainer> a = IEditableSearchDirContainer::create(),
                                   b = IEditableSearchDirContainer::create();
    for (const char* key : {"abc", "ab", "Abc", "a", "B"}) metadata->setSearchDirs(a, key);
    metadata->setSearchDirs(b, "abc");
    EXPECT_EQ((std::vector<std::string>{"Abc", "B", "a", "ab", "abc"}), keys());
    EXPECT_EQ(b, metadata->getSearchDirs("abc"));
    EXPECT_FALSE(metadata->getSearchDirs("ABC"));
    metadata->setSearchDirs(ObjectPtr<ISearchDirContainer>(), "abc");
    EXPECT_EQ(5u, keys().size());
}

TEST(Metadata, RegisteringOneCallbackKeepsTheOthersOfTheClient) {
    ObjectPtr<IMetadata> metadata(new Metadata);
    fftest::StartedCallback started;
    fftest::FilesFoundCallback found;
    metadata->registerSearchStartedCallback("c", &started);
    metadata->registerFilesFoundCallback("c", &found);
    EXPECT_EQ(&started, metadata->getCallbacks("c").searchStarted.get());
    EXPECT_EQ(&found, metadata->getCallbacks("c").filesFound.get());
    EXPECT_EQ(nullptr, metadata->getCallbacks("C").searchStarted.get());
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
