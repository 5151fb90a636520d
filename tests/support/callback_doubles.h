// Recording doubles of the client callbacks, and readers of directory lists, shared by the
// search, validation, context, manipulator and environment tests.
#pragma once

#include <string>
#include <tuple>
#include <vector>

#include "ff_callbacks.h"
#include "ff_searchdirs.h"

namespace fftest {

using namespace FF_2_13;

/// Records every start as "kind file|binary|checksum", offers `suggestion` when set, answers
/// `answer`.
class StartedCallback : public ISearchStartedCallback {
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
    std::vector<std::string> calls;
    std::string suggestion;
    bool answer = true;

private:
    bool record(const char* kind, const char* f, const char* b, const char* c,
                IStringContainer& s) {
        calls.push_back(std::string(kind) + " " + f + "|" + b + "|" + c);
        if (!suggestion.empty()) s.add(suggestion.c_str());
        return answer;
    }
};

/// Returns `choice` when set; otherwise takes the n-th valid file (1-based, 0 takes none),
/// recording the names it went past in `seen`.
class FilesFoundCallback : public IFilesFoundCallback {
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
        ObjectPtr<IValidFile> file;
        for (int i = 0; !choice && i < m_n && (file = valid.next()); ++i)
            seen.push_back(file->name());
        return choice ? choice : file;
    }
    int m_n;
};

/// Records the invalid candidates (name and message) and valid ones it is shown; returns
/// `supplied`, or with `forceFirstInvalid` the first invalid candidate forced valid.
class NoFilesCallback : public INoFilesFoundCallback {
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
    std::vector<std::string> invalid, valid;
    bool forceFirstInvalid = false;
    ObjectPtr<IValidFile> supplied;

private:
    ObjectPtr<IValidFile> look(IInvalidFileIterator& invalidFiles, IValidFileIterator& validFiles) {
        ObjectPtr<IValidFile> result = supplied;
        while (ObjectPtr<IInvalidFile> file = invalidFiles.next()) {
            invalid.push_back(std::string(file->name()) + ": " + file->errorMessage());
            if (forceFirstInvalid && !result) result = file->forceTreatAsValid();
        }
        while (ObjectPtr<IValidFile> file = validFiles.next()) valid.push_back(file->name());
        return result;
    }
};

/// Answers `answer`; records the values and the category it was asked about.
class PolicyCallback : public IConfidenceLevelPolicyCallback {
public:
    explicit PolicyCallback(unsigned int answer = 0) : answer(answer) {}
    ~PolicyCallback() override { disconnectHolders(); }
    unsigned int getConfidenceLevel(search_category_t category, unsigned int value) override {
        asked.push_back(value);
        lastCategory = category;
        return answer;
    }
    unsigned int answer;
    std::vector<unsigned int> asked;
    search_category_t lastCategory = scAllFiles;
};

/// Answers `answer` for the names that contain `part` (every name when empty), vrValid for
/// the others; a vrInvalid answer comes with svMild and "rejected by test". Records the
/// names it is asked about.
class ValidatorCallback : public IValidatorCallback {
public:
    explicit ValidatorCallback(unsigned int answer, std::string part = "")
        : m_answer(answer), m_part(std::move(part)) {}
    unsigned int validate(const char* name, IErrorInfoContainer& info) override {
        asked.push_back(name);
        if (asked.back().find(m_part) == std::string::npos) return vrValid;
        if (m_answer == vrInvalid) {
            info.setSeverity(svMild);
            info.setErrorMessage("rejected by test");
        }
        return m_answer;
    }
    std::vector<std::string> asked;

private:
    unsigned int m_answer;
    std::string m_part;
};

/// Category, name, recursive, high priority.
using DirRecord = std::tuple<search_category_t, std::string, bool, bool>;

/// The records an iterator yields, from the start; none for a null iterator.
inline std::vector<DirRecord> records(const ObjectPtr<ISearchDirIterator>& it,
                                      search_category_t category = scAllFiles) {
    std::vector<DirRecord> out;
    const char* name = nullptr;
    bool recursive = false, high = false;
    if (it)
        for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
            out.emplace_back(category, name, recursive, high);
    return out;
}

/// The directory names an iterator yields, from the start.
inline std::vector<std::string> dirNames(const ObjectPtr<ISearchDirIterator>& it) {
    std::vector<std::string> names;
    for (const DirRecord& r : records(it)) names.push_back(std::get<1>(r));
    return names;
}

/// Every record of a container, category by category.
inline std::vector<DirRecord> dirRecords(const ISearchDirContainer& dirs) {
    std::vector<DirRecord> out;
    for (auto c : {scBinaryFiles, scSymbolFiles, scSourceFiles, scAllFiles})
        for (const DirRecord& r : records(dirs.enumerate(c), c)) out.push_back(r);
    return out;
}

}  // namespace fftest
