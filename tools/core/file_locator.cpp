// The file locator of the command: each request is a search of the library through a
// context chain made from the command's options.
//
//   user-wide context      --search-dir, --config, --archive-dir, --cache-dir, --steps,
//   │                      --kernel-release, and a no-files-found callback that keeps the
//   │                      rejected candidates for the report
//   └ result directory     --result-dir: the result's own directories and archive
//
// The search has every kernel option on (ff_search_options.h), --system-root, and the
// remote source of --debuginfod.
#include "core/file_locator.h"

#include <file_finder.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>

namespace ffcli {

namespace {

using namespace FF_2_13;

constexpr char kClientId[] = "file-finder";

// Keeps what a search turned down in the outcome of the request being answered.
class RejectionRecorder : public INoFilesFoundCallback {
public:
    ~RejectionRecorder() override { disconnectHolders(); }

    void recordInto(Outcome* outcome) { m_outcome = outcome; }

    ObjectPtr<IValidFile> noBinFilesFound(const char*, IValidator&, IInvalidFileIterator& invalid,
                                          IValidFileIterator&) override {
        return record(invalid);
    }
    ObjectPtr<IValidFile> noSymFilesFound(const char*, const char*, const char*, IValidator&,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator&) override {
        return record(invalid);
    }
    ObjectPtr<IValidFile> noSrcFilesFound(const char*, const char*, const char*, IValidator&,
                                          IInvalidFileIterator& invalid,
                                          IValidFileIterator&) override {
        return record(invalid);
    }

private:
    ObjectPtr<IValidFile> record(IInvalidFileIterator& invalid) {
        invalid.reset();
        while (ObjectPtr<IInvalidFile> file = invalid.next()) {
            if (m_outcome)
                m_outcome->rejected.push_back(
                    {file->name(), file->errorMessage(), file->severity(), file->searchStep()});
        }
        return ObjectPtr<IValidFile>();  // the command never invents an answer
    }

    Outcome* m_outcome = nullptr;
};

// Keeps every candidate a search looked at in the outcome being answered, and warns once
// on stderr about each directory the walks had to leave out.
class CandidateRecorder : public ISearchObserver {
public:
    void recordInto(Outcome* outcome) { m_outcome = outcome; }

    void candidateSeen(const char* path, search_step_t step, candidate_outcome_t outcome,
                       const char* message) override {
        if (m_outcome) m_outcome->tried.push_back({path, step, outcome, message});
    }
    void directorySkipped(const char* path, const char* error) override {
        if (m_skipped.insert(path).second)
            std::cerr << "file-finder: warning: skipped " << path << ": cannot be listed (" << error
                      << ")\n";
    }

private:
    Outcome* m_outcome = nullptr;
    std::set<std::string> m_skipped;
};

// The archive keeps each version of a file under its MD5 (<dir>/<name>/<md5>/<name>); a
// lookup without a checksum looks at <dir>/<name>/<name> only, so the versions kept there
// are named on stderr, for the user to pick one with --checksum.
void warnOfArchivedVersions(const Outcome& outcome) {
    namespace fs = std::filesystem;
    std::set<std::string> seen;
    for (const Candidate& candidate : outcome.tried) {
        if (candidate.step != ssArchiveSearchDirs) continue;
        const fs::path place(candidate.path);
        const fs::path versions = place.parent_path();
        if (!seen.insert(versions.string()).second) continue;
        std::vector<std::string> kept;
        std::error_code error;
        for (fs::directory_iterator it(versions, error), end; !error && it != end;
             it.increment(error)) {
            const fs::path version = it->path() / place.filename();
            std::error_code ignored;
            if (fs::is_regular_file(version, ignored)) kept.push_back(version.string());
        }
        if (kept.size() < 2) continue;
        std::sort(kept.begin(), kept.end());
        std::cerr << "file-finder: warning: " << kept.size() << " versions of "
                  << place.filename().string() << " are archived in " << versions.string()
                  << "; give --checksum to pick one:\n";
        for (const std::string& version : kept) std::cerr << "  " << version << '\n';
    }
}

class LibraryLocator : public FileLocator {
public:
    LibraryLocator(const SearchSettings& settings, const ObjectPtr<RemoteFetches>& remote)
        : m_remote(remote),
          m_manager(IResolutionContextMgr::create()),
          m_calculator(IChecksumCalculator::create()),
          m_identityCheck(settings.identityCheck) {
        ObjectPtr<IResolutionContext> user = m_manager->createUserWideContext();
        ObjectPtr<IResolutionContext> searchFrom = user;
        if (!settings.resultDir.empty()) {
            ObjectPtr<IResolutionContext> result =
                m_manager->createResultDirectoryContext(settings.resultDir.c_str());
            if (result) {
                m_manager->addInheritance(*result, *user);
                searchFrom = result;
            }
        }
        m_manager->registerSearchDirs(*user, settings.searchDirs, "command line");
        if (settings.configDirs)
            m_manager->registerSearchDirs(*user, settings.configDirs, "config");
        if (!settings.archiveDir.empty())
            m_manager->registerArchiveDir(*user, settings.archiveDir.c_str());
        if (!settings.cacheDir.empty())
            m_manager->registerCacheDir(*user, settings.cacheDir.c_str());

        ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
        for (search_category_t category : {scBinaryFiles, scSymbolFiles, scSourceFiles}) {
            steps->setStep(static_cast<search_step_t>(settings.steps.enable), category, true);
            steps->setStep(static_cast<search_step_t>(settings.steps.disable), category, false);
        }
        m_manager->registerSearchStepsConfigurator(*user, kClientId, steps);

        if (!settings.kernelRelease.empty()) {
            ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
            info->setOsType(osLinux);
            info->setKernelRelease(settings.kernelRelease.c_str());
            m_manager->registerEnvironmentInfo(*user, kClientId, info);
        }
        m_manager->registerNoFilesFoundCallback(*user, kClientId, &m_rejections);
        // Kernels and modules as a profiler records them: "snd_hda_intel", "[ext4]",
        // "[kernel.kallsyms]", compressed modules and kernels unpacked, or turned down
        // with the reason.
        ObjectPtr<ISearchOptions> options = ISearchOptions::create();
        options->setRecordedKernelNames(true);
        options->setUnpackedKernelsOnly(true);
        options->setSystemRoot(settings.systemRoot.c_str());
        if (m_remote) options->setRemoteSource(m_remote);
        // Every candidate reported, and a directory that cannot be listed costs a warning,
        // not the request.
        options->setObserver(&m_candidates);
        options->setSkipUnlistableDirectories(true);
        m_search = IFileSearch::create(
            m_manager->createSearchEnv(*searchFrom, kClientId, ObjectPtr<IEnvironmentInfo>()),
            options);
    }

    Outcome locate(const Request& request) override {
        Outcome outcome;
        // The identity first: it reads a few headers where a checksum reads the whole file,
        // and its refusal says more.
        ValidatorChain validators;
        std::unique_ptr<IValidatorCallback> identity = identityValidator(request);
        validators.add(identity.get());
        std::unique_ptr<ChecksumValidator> checksum;
        std::unique_ptr<SourceFileTimeAndSizeMatchValidator> timeAndSize;
        std::string checksumText;
        if (request.checksum) {
            checksumText = request.checksum->hex;
            checksum = std::make_unique<ChecksumValidator>(
                categoryOf(request.kind),
                m_calculator->fromString(request.checksum->type, request.checksum->hex.c_str()));
            validators.add(checksum.get());
        }
        if (request.modificationTime || request.size) {
            timeAndSize = std::make_unique<SourceFileTimeAndSizeMatchValidator>(
                request.modificationTime.value_or(0), request.size.value_or(0));
            validators.add(timeAndSize.get());
        }
        IValidatorCallback* validator = validators.empty() ? nullptr : &validators;

        m_rejections.recordInto(&outcome);
        m_candidates.recordInto(&outcome);
        struct StopRecording {
            LibraryLocator& locator;
            ~StopRecording() {
                locator.m_rejections.recordInto(nullptr);
                locator.m_candidates.recordInto(nullptr);
            }
        } stop{*this};

        const char* name = request.name.c_str();
        const char* binary = request.binary.c_str();
        const char* sum = checksumText.empty() ? nullptr : checksumText.c_str();
        ObjectPtr<IValidFile> found;
        switch (request.kind) {
            case RequestKind::kBinary:
                found = m_search->findBinFile(name, validator, nullptr, 0);
                break;
            case RequestKind::kSymbol:
                found =
                    m_search->findSymFile(name, binary, sum, validator, nullptr, nullptr, nullptr);
                break;
            case RequestKind::kSource:
                found = m_search->findSrcFile(name, binary, sum, validator, nullptr);
                break;
        }
        if (found) {
            outcome.path = found->name();
            outcome.confidence = found->confidence();
            outcome.step = found->searchStep();
        }
        if (ObjectPtr<IRemoteFile> fetched =
                m_remote ? m_remote->takeLastAnswer() : ObjectPtr<IRemoteFile>()) {
            if (outcome.step == ssRemoteSource)
                outcome.server = m_remote->originOf(outcome.path);
            else if (!outcome.found())
                outcome.serverMiss = fetched->reason();
        }
        // Not in the first of two runs (debuginfod on): the second would say it again.
        const bool rehearsal = m_remote && m_remote->recordOnly();
        if (!request.checksum && !rehearsal) warnOfArchivedVersions(outcome);
        return outcome;
    }

private:
    std::unique_ptr<IValidatorCallback> identityValidator(const Request& request) const {
        if (!m_identityCheck) return nullptr;
        switch (request.kind) {
            case RequestKind::kBinary:
                if (!request.identity) return nullptr;
                return std::make_unique<BinaryIdentityValidator>(request.identity);
            case RequestKind::kSymbol:
                return std::make_unique<SymbolFileIdentityValidator>(
                    request.identity ? request.identity
                                     : IFileIdentity::readFile(request.binary.c_str()),
                    request.binary.c_str());
            case RequestKind::kSource:
                break;
        }
        return nullptr;
    }

    ObjectPtr<RemoteFetches> m_remote;
    ObjectPtr<IResolutionContextMgr> m_manager;
    ObjectPtr<IChecksumCalculator> m_calculator;
    const bool m_identityCheck;
    RejectionRecorder m_rejections;
    CandidateRecorder m_candidates;  // before the search, which calls it
    ObjectPtr<IFileSearch> m_search;
};

}  // namespace

std::unique_ptr<FileLocator> makeLibraryLocator(const SearchSettings& settings,
                                                const ObjectPtr<RemoteFetches>& remote) {
    return std::make_unique<LibraryLocator>(settings, remote);
}

}  // namespace ffcli
