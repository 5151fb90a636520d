// Recording doubles of the client callbacks and a reader of directory iterators, shared by
// the search, validation, context, manipulator and environment tests.
#pragma once

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "ff_callbacks.h"
#include "ff_searchdirs.h"

namespace fftest {

using FF_2_13::IInvalidFileIterator;
using FF_2_13::IStringContainer;
using FF_2_13::IValidator;
using FF_2_13::IValidFile;
using FF_2_13::IValidFileIterator;
using FF_2_13::ObjectPtr;

/// Records every start as "file|binary|checksum", offers `suggestion` when set, answers
/// `answer`.
class StartedCallback : public FF_2_13::ISearchStartedCallback {
public:
    ~StartedCallback() override { disconnectHolders(); }
    bool binFileSearchStarted(const char* f, IStringContainer& s) override {
        return record("bin", f, "", "", s);
    }
    bool symFileSearchStarted(const char* f, const char* b, const char* c,
                              IStringContainer& s) override {
        return record("sym", f, b, c, s);
    }
    bool srcFileSearchStarted(const char* f, const char* b, const char* c,
                              IStringContainer& s) override {
        return record("src", f, b, c, s);
    }
    std::vector<std::string> names, calls;
    std::string suggestion;
    bool answer = true;

private:
    bool record(const char* kind, const char* f, const char* b, const char* c,
                IStringContainer& s) {
        names.push_back(f);
        calls.push_back(std::string(kind) + " " + f + "|" + b + "|" + c);
        if (!suggestion.empty()) s.add(suggestion.c_str());
        return answer;
    }
};

/// Returns `choice` when set; otherwise takes the n-th valid file (1-based, 0 takes none),
/// recording the names it went past.
class FilesFoundCallback : public FF_2_13::IFilesFoundCallback {
public:
    explicit FilesFoundCallback(int n = 0) : m_n(n) {}
    ~FilesFoundCallback() override { disconnectHolders(); }
    ObjectPtr<IValidFile> binFilesFound(const char*, IValidFileIterator& valid) override {
        return take(valid);
    }
    ObjectPtr<IValidFile> symFilesFound(const char*, const char*, const char*,
                                        IValidFileIterator& valid) override {
        return take(valid);
    }
    ObjectPtr<IValidFile> srcFilesFound(const char*, const char*, const char*,
                                        IValidFileIterator& valid) override {
        return take(valid);
    }
    std::vector<std::string> seen;
    ObjectPtr<IValidFile> choice;

private:
    ObjectPtr<IValidFile> take(IValidFileIterator& valid) {
        if (choice) return choice;
        ObjectPtr<IValidFile> file;
        for (int i = 0; i < m_n; ++i) {
            file = valid.next();
            if (!file) break;
            seen.push_back(file->name());
        }
        return file;
    }
    int m_n;
};

/// Records the invalid and valid candidates it is shown; returns `supplied`, or with
/// `forceFirstInvalid` the first invalid candidate forced to count as valid.
class NoFilesCallback : public FF_2_13::INoFilesFoundCallback {
public:
    ~NoFilesCallback() override { disconnectHolders(); }
    ObjectPtr<IValidFile> noBinFilesFound(const char*, IValidator&, IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override {
        return look(invalid, valid);
    }
    ObjectPtr<IValidFile> noSymFilesFound(const char*, const char*, const char*, IValidator&,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override {
        return look(invalid, valid);
    }
    ObjectPtr<IValidFile> noSrcFilesFound(const char*, const char*, const char*, IValidator&,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator& valid) override {
        return look(invalid, valid);
    }
    std::vector<std::string> invalidNames, invalidMessages, validNames;
    bool forceFirstInvalid = false;
    ObjectPtr<IValidFile> supplied;

private:
    ObjectPtr<IValidFile> look(IInvalidFileIterator& invalid, IValidFileIterator& valid) {
        ObjectPtr<IValidFile> result = supplied;
        while (ObjectPtr<FF_2_13::IInvalidFile> file = invalid.next()) {
            invalidNames.push_back(file->name());
            invalidMessages.push_back(file->errorMessage());
            if (forceFirstInvalid && !result) result = file->forceTreatAsValid();
        }
        while (ObjectPtr<IValidFile> file = valid.next()) validNames.push_back(file->name());
        return result;
    }
};

/// Answers `answer` and records the values and the category it was asked about.
class PolicyCallback : public FF_2_13::IConfidenceLevelPolicyCallback {
public:
    explicit PolicyCallback(unsigned int answer = 0) : answer(answer) {}
    ~PolicyCallback() override { disconnectHolders(); }
    unsigned int getConfidenceLevel(FF_2_13::search_category_t category,
                                    unsigned int value) override {
        asked.push_back(value);
        lastCategory = category;
        return answer;
    }
    unsigned int answer;
    std::vector<unsigned int> asked;
    FF_2_13::search_category_t lastCategory = FF_2_13::scAllFiles;
};

/// Answers `answer` for the names that contain `part` (every name when it is empty), with
/// severity svMild and the message "rejected by test" when that answer is vrInvalid, and
/// vrValid for the others. Records every name it is asked about.
class ValidatorCallback : public FF_2_13::IValidatorCallback {
public:
    explicit ValidatorCallback(unsigned int answer, std::string part = "")
        : m_answer(answer), m_part(std::move(part)) {}
    unsigned int validate(const char* name, FF_2_13::IErrorInfoContainer& info) override {
        asked.push_back(name);
        if (asked.back().find(m_part) == std::string::npos) return FF_2_13::vrValid;
        if (m_answer == FF_2_13::vrInvalid) {
            info.setSeverity(FF_2_13::svMild);
            info.setErrorMessage("rejected by test");
        }
        return m_answer;
    }
    std::vector<std::string> asked;

private:
    unsigned int m_answer;
    std::string m_part;
};

/// The directory names an iterator yields, from the start; none for a null iterator.
inline std::vector<std::string> dirNames(const ObjectPtr<FF_2_13::ISearchDirIterator>& it) {
    std::vector<std::string> out;
    if (!it) return out;
    const char* name = nullptr;
    bool recursive = false, high = false;
    for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next()) out.push_back(name);
    return out;
}

/// Category, name, recursive, high priority.
using DirRecord = std::tuple<FF_2_13::search_category_t, std::string, bool, bool>;

/// Every record of a container, category by category.
inline std::vector<DirRecord> dirRecords(const FF_2_13::ISearchDirContainer& dirs) {
    std::vector<DirRecord> out;
    for (auto c : {FF_2_13::scBinaryFiles, FF_2_13::scSymbolFiles, FF_2_13::scSourceFiles,
                   FF_2_13::scAllFiles}) {
        ObjectPtr<FF_2_13::ISearchDirIterator> it = dirs.enumerate(c);
        const char* name = nullptr;
        bool recursive = false, high = false;
        if (it)
            for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
                out.emplace_back(c, name, recursive, high);
    }
    return out;
}

}  // namespace fftest
