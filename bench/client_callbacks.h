// The callbacks a typical client registers, doing the least a client would: go on with
// every search, take the first valid file, accept undecided files. The benchmarks register
// them so that a search pays for calling through its callback holders, as it does in use.
#pragma once

#include "ff_callbacks.h"

namespace ffbench {

class GoOnSearchStarted : public FF_2_13::ISearchStartedCallback {
public:
    ~GoOnSearchStarted() override { disconnectHolders(); }
    bool binFileSearchStarted(const char*, FF_2_13::IStringContainer&) override { return true; }
    bool symFileSearchStarted(const char*, const char*, const char*,
                              FF_2_13::IStringContainer&) override {
        return true;
    }
    bool srcFileSearchStarted(const char*, const char*, const char*,
                              FF_2_13::IStringContainer&) override {
        return true;
    }
};

class TakeFirstFilesFound : public FF_2_13::IFilesFoundCallback {
public:
    ~TakeFirstFilesFound() override { disconnectHolders(); }
    FF_2_13::ObjectPtr<FF_2_13::IValidFile> binFilesFound(
        const char*, FF_2_13::IValidFileIterator& valid) override {
        return valid.next();
    }
    FF_2_13::ObjectPtr<FF_2_13::IValidFile> symFilesFound(
        const char*, const char*, const char*, FF_2_13::IValidFileIterator& valid) override {
        return valid.next();
    }
    FF_2_13::ObjectPtr<FF_2_13::IValidFile> srcFilesFound(
        const char*, const char*, const char*, FF_2_13::IValidFileIterator& valid) override {
        return valid.next();
    }
};

class AcceptPolicy : public FF_2_13::IConfidenceLevelPolicyCallback {
public:
    ~AcceptPolicy() override { disconnectHolders(); }
    unsigned int getConfidenceLevel(FF_2_13::search_category_t, unsigned int) override { return 0; }
};

/// One set of the three, alive for the whole process (searches on any thread may use it).
struct ClientCallbacks {
    GoOnSearchStarted searchStarted;
    TakeFirstFilesFound filesFound;
    AcceptPolicy policy;
};

inline ClientCallbacks& clientCallbacks() {
    static ClientCallbacks* callbacks = new ClientCallbacks;  // never destroyed: searches
    return *callbacks;                                        // may outlive main's return
}

}  // namespace ffbench
