// Test doubles for the search: a results container that records what it is offered, a
// directory container that records what it is filled with, and a validator that is
// never meant to be asked.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ff_validation.h"
#include "search/search_interfaces.h"

namespace fftest {

struct Offer {
    std::string path;
    unsigned int step;
    bool operator==(const Offer& other) const { return path == other.path && step == other.step; }
};

/// Records every candidate; answers true (stop) for the paths `stopAt` accepts. Wants
/// candidates that do not exist unless `missingWanted` is cleared.
class RecordingResults : public FF_2_13::ISearchResultsContainer {
public:
    bool validateAndAdd(const char* fileName, unsigned int searchStep) override {
        offers.push_back({fileName, searchStep});
        return stopAt && stopAt(fileName);
    }
    bool wantsMissingCandidates() const override { return missingWanted; }
    bool reportsAbsentCandidates() const override { return absentReported; }
    void candidateAbsent(const char* fileName, unsigned int) override {
        absent.push_back(fileName);
    }
    std::vector<std::string> paths() const {
        std::vector<std::string> result;
        for (const Offer& offer : offers) result.push_back(offer.path);
        return result;
    }
    std::vector<Offer> offers;
    std::function<bool(const std::string&)> stopAt;
    bool missingWanted = true;
    bool absentReported = false;
    std::vector<std::string> absent;
};

class RecordingDirs : public FF_2_13::ISearchDirectoryContainer {
public:
    void addSearchDirectory(const char* name, bool recursive) override {
        dirs.emplace_back(name, recursive);
    }
    std::vector<std::pair<std::string, bool>> dirs;
};

class UnusedValidator : public FF_2_13::IValidator {
public:
    FF_2_13::ObjectPtr<FF_2_13::IValidatedFile> validate(const char*) override {
        return FF_2_13::ObjectPtr<FF_2_13::IValidatedFile>();
    }
};

}  // namespace fftest
