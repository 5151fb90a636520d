// Search strategies for binaries, symbol files and source files.
#include "search/search_strategies.h"

#include <stdlib.h>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <cstring>

#include "base/log.h"
#include "ff_kernel_image.h"
#include "ff_utils.h"
#include "files/kernel_module_names.h"
#include "files/linux_names.h"
#include "platform/posix.h"
#include "remote/remote_request.h"
#include "search/files_finder.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kSearch;
constexpr char kGuestMark[] = "[guest]";

bool containsGuestMark(const char* name) {
    return std::strstr(name, kGuestMark) != nullptr;
}

// "vmlinux [guest]" -> "[guest]/vmlinux"; "/lib/m.ko [guest]" -> "[guest]/lib/m.ko": the
// text before the mark less the blank in front of it, under a directory named after the
// mark.
std::string guestName(const std::string& name) {
    const size_t mark = name.find(kGuestMark);
    const std::string hostPart = name.substr(0, mark > 0 ? mark - 1 : 0);
    boost::filesystem::path guest(kGuestMark);
    guest /= hostPart;
    return guest.string();
}

bool hasKernelImageName(const char* name) {
    return utils::getFileNameOnly(name) == VMLINUX;
}

// True when `path`, after lexical normalisation, lies strictly below `dir`.
bool isInsideDirectory(const std::string& path, const std::string& dir) {
    const std::string normal = utils::getCanonicalName(path.c_str(), false);
    const std::string base = utils::getCanonicalName(dir.c_str(), false);
    return normal.size() > base.size() + 1 && normal.compare(0, base.size(), base) == 0 &&
           normal[base.size()] == '/';
}

// A private directory made inside the search's temporary directory for one fetch, and
// removed with whatever the fetch left in it.
class FetchDirectory {
public:
    explicit FetchDirectory(const std::string& tempDir) {
        std::string pattern = tempDir + "/fetch-XXXXXX";
        if (::mkdtemp(&pattern[0]))
            m_path = pattern;  // mode 0700
        else
            FF_LOG_ERROR(kLogSource, "Cannot create a fetch directory in " << tempDir);
    }
    ~FetchDirectory() {
        if (m_path.empty()) return;
        boost::system::error_code ignored;  // the search's directory goes at the end anyway
        boost::filesystem::remove_all(m_path, ignored);
    }
    FetchDirectory(const FetchDirectory&) = delete;
    FetchDirectory& operator=(const FetchDirectory&) = delete;
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

}  // namespace

// ---------------------------------------------------------------------------------------
// BasicFileSearchStrategy

BasicFileSearchStrategy::BasicFileSearchStrategy(ISearchEnv* env, const SearchRequest& request,
                                                 const SearchOptionValues& options)
    : m_env(env), m_fileName(request.fileName), m_options(options), m_request(request) {
    if (options.recordedKernelNames && request.category != scSourceFiles)
        m_names = moduleFileNames(request.fileName);
}

template <class Step>
bool BasicFileSearchStrategy::forEachName(Step step) {
    if (m_names.size() < 2) return step();
    const char* requested = m_fileName;
    bool found = false;
    for (auto name = m_names.begin(); !found && name != m_names.end(); ++name) {
        m_fileName = name->c_str();
        found = step();
    }
    m_fileName = requested;
    return found;
}

std::string BasicFileSearchStrategy::kernelRelease() const {
    ObjectPtr<IEnvironmentInfo> info =
        m_env ? m_env->environmentInfo() : ObjectPtr<IEnvironmentInfo>();
    if (info && !utils::isStringEmpty(info->kernelRelease())) return info->kernelRelease();
    std::string release;
    return posix::runningKernelRelease(release) ? release : std::string();
}

bool BasicFileSearchStrategy::offerAbsoluteName(ISearchResultsContainer& results) {
    if (!utils::isAbsolutePath(m_fileName)) return false;  // a relative name is no path here
    return results.validateAndAdd(m_fileName, ssAbsoluteNameLookup);
}

bool BasicFileSearchStrategy::lookUpAbsoluteName(ISearchResultsContainer& results) {
    return offerAbsoluteName(results);
}

bool BasicFileSearchStrategy::lookUpAroundBinary(ISearchResultsContainer&) {
    return false;  // only a symbol file has a binary to look around
}

bool BasicFileSearchStrategy::findInHighPriorityDirs(ISearchResultsContainer& results) {
    return forEachName([&] { return findInPriorityDirs(results, true); });
}

bool BasicFileSearchStrategy::findInLowPriorityDirs(ISearchResultsContainer& results) {
    return forEachName([&] { return findInPriorityDirs(results, false); });
}

bool BasicFileSearchStrategy::findInPriorityDirs(ISearchResultsContainer& results,
                                                 bool highPriority) {
    if (!m_env) return false;
    // The category's own directories first, then those registered for every category.
    if (findInSearchDirs(results, m_env->searchDirs(getCategorySpecific()), highPriority))
        return true;
    return findInSearchDirs(results, m_env->searchDirs(scAllFiles), highPriority);
}

bool BasicFileSearchStrategy::findInSearchDirs(ISearchResultsContainer& results,
                                               const ObjectPtr<ISearchDirIterator>& dirs,
                                               bool highPriority) {
    FilesFinder finder(highPriority ? ssHighPrioritySearchDirs : ssLowPrioritySearchDirs);
    if (dirs) {
        dirs->reset();
        const char* dir = nullptr;
        bool recursive = false;
        bool isHighPriority = false;
        while (dirs->getCurrentRecord(dir, recursive, isHighPriority)) {
            if (isHighPriority == highPriority) finder.addSearchDirectory(dir, recursive);
            dirs->next();
        }
    }
    if (finder.find(fileToSearch(), results)) return true;
    // A guest system's file, recorded as "name [guest]", may have been copied under a
    // "[guest]" directory.
    if (!containsGuestMark(fileToSearch())) return false;
    return finder.find(guestName(fileToSearch()).c_str(), results);
}

bool BasicFileSearchStrategy::findInArchiveDirs(ISearchResultsContainer& results) {
    if (!m_env) return false;
    return forEachName([&] {
        FilesFinder finder(ssArchiveSearchDirs);
        const std::string baseName = utils::getFileNameOnly(fileToSearch());
        fillArchiveDirs(m_env->archiveDirs(getCategorySpecific()), finder, baseName);
        fillArchiveDirs(m_env->archiveDirs(scAllFiles), finder, baseName);
        return finder.find(baseName.c_str(), results);
    });
}

void BasicFileSearchStrategy::fillArchiveDirs(const ObjectPtr<ISearchDirIterator>& dirs,
                                              ISearchDirectoryContainer& container,
                                              const std::string& baseName) {
    if (!dirs) return;
    // An archive keeps each file under a directory named after it:
    // <archive>/libx.so/<md5>/libx.so, searched recursively from <archive>/libx.so.
    dirs->reset();
    const char* dir = nullptr;
    bool recursive = false;
    bool highPriority = false;
    while (dirs->getCurrentRecord(dir, recursive, highPriority)) {
        container.addSearchDirectory(utils::addSubPart(dir, baseName.c_str()).c_str(), true);
        dirs->next();
    }
}

bool BasicFileSearchStrategy::findInCacheDir(ISearchResultsContainer& results) {
    if (!m_env) return false;
    const char* cacheDir = m_env->cacheDir();
    if (utils::isStringEmpty(cacheDir)) {
        FF_LOG_ERROR(kLogSource, "Empty directory name.");
        return false;
    }
    return forEachName([&] {
        FilesFinder finder(ssCacheSearchDir);
        const std::string baseName = utils::getFileNameOnly(fileToSearch());
        finder.addSearchDirectory(cacheDir, true);
        return finder.find(baseName.c_str(), results);
    });
}

bool BasicFileSearchStrategy::findInRemoteSource(ISearchResultsContainer& results) {
    if (!m_options.remoteSource) return false;
    const std::optional<RemoteRequest> remote = remoteRequestOf(m_request);
    if (!remote) {
        FF_LOG_INFO(kLogSource, "Remote source not asked: no build-id known for " << m_fileName);
        return false;
    }
    ObjectPtr<IRemoteFile> file = fetchFrom(*m_options.remoteSource, *remote);
    if (!*file->path()) {
        FF_LOG_INFO(kLogSource, "Remote source: " << m_fileName << ": " << file->reason());
        return false;
    }
    return results.validateAndAdd(file->path(), ssRemoteSource);
}

bool BasicFileSearchStrategy::findInSystemDirs(ISearchResultsContainer& results) {
    return forEachName([&] { return findInSystemDirsAs(fileToSearch(), results); });
}

bool BasicFileSearchStrategy::findInSystemDirsAs(const std::string& name,
                                                 ISearchResultsContainer& results) {
    // This machine's system directories say nothing about a guest system.
    if (containsGuestMark(fileToSearch())) return false;
    FilesFinder finder(ssSystemDirs);
    fillSystemDirs(finder);
    return finder.find(name.c_str(), results);
}

// ---------------------------------------------------------------------------------------
// BasicLocalAndRemoteFileSearchStrategy

BasicLocalAndRemoteFileSearchStrategy::BasicLocalAndRemoteFileSearchStrategy(
    ISearchEnv* env, const SearchRequest& request, const std::string& tempDir,
    const SearchOptionValues& options)
    : BasicFileSearchStrategy(env, request, options), m_tempDir(tempDir) {}

bool BasicLocalAndRemoteFileSearchStrategy::lookUpAbsoluteName(ISearchResultsContainer& results) {
    std::string name = fileToSearch();
    fixLinuxName(name);
    IFileRetriever* retriever = m_env ? m_env->fileRetriever() : nullptr;
    if (retriever && !retriever->isLocal(name.c_str())) {
        std::string localCopy;
        if (!fetchRemoteFile(*m_env, m_tempDir, name, localCopy)) return false;
        return results.validateAndAdd(localCopy.c_str(), ssAbsoluteNameLookup);
    }
    return offerAbsoluteName(results);
}

// ---------------------------------------------------------------------------------------
// BinFileSearchStrategy

bool BinFileSearchStrategy::findInSystemDirs(ISearchResultsContainer& results) {
    return forEachName([&] {
        const char* name = fileToSearch();
        // A name without directory and extension ("ext4") is a kernel module as the kernel
        // reports it: its file is "ext4.ko" somewhere under /lib/modules.
        const bool moduleName = boost::filesystem::path(name).stem().string() == name;
        return findInSystemDirsAs(moduleName ? std::string(name) + ".ko" : std::string(name),
                                  results);
    });
}

void BinFileSearchStrategy::fillSystemDirs(ISearchDirectoryContainer& dirs) {
    dirs.addSearchDirectory(systemDir("/lib/modules").c_str(), false);
    if (m_options.recordedKernelNames) {
        // The recorded kernel's modules: /lib/modules/6.1.0-18-amd64/kernel/, and where
        // packages and local builds put theirs, updates/ and extra/.
        const std::string release = kernelRelease();
        if (!release.empty())
            for (const char* part : {"/kernel/", "/updates/", "/extra/"})
                dirs.addSearchDirectory(systemDir("/lib/modules/" + release + part).c_str(), true);
    } else {
        std::string release;
        if (posix::runningKernelRelease(release))  // /lib/modules/6.1.0-18-amd64/kernel/
            dirs.addSearchDirectory(systemDir("/lib/modules/" + release + "/kernel/").c_str(),
                                    true);
    }
    if (!hasKernelImageName(fileToSearch())) return;
    dirs.addSearchDirectory(systemDir("/boot").c_str(), false);
    // The debug image of the recorded kernel, not of the running one.
    ObjectPtr<IEnvironmentInfo> info =
        m_env ? m_env->environmentInfo() : ObjectPtr<IEnvironmentInfo>();
    if (info && !utils::isStringEmpty(info->kernelRelease()))
        dirs.addSearchDirectory(
            systemDir(std::string("/usr/lib/debug/lib/modules/") + info->kernelRelease()).c_str(),
            false);
}

// ---------------------------------------------------------------------------------------
// SymFileSearchStrategy

SymFileSearchStrategy::SymFileSearchStrategy(ISearchEnv* env, const SearchRequest& request,
                                             const std::string& tempDir,
                                             const SearchOptionValues& options)
    : BasicLocalAndRemoteFileSearchStrategy(env, request, tempDir, options),
      m_binaryFile(request.binaryFile ? request.binaryFile : ""),
      m_remoteBinaryFile(request.remoteBinaryFile ? request.remoteBinaryFile : "") {}

bool SymFileSearchStrategy::isRemoteLinuxResult() const {
    if (!m_env) return false;
    ObjectPtr<IEnvironmentInfo> info = m_env->environmentInfo();
    return info && info->osType() == osLinux;
}

bool SymFileSearchStrategy::lookUpAbsoluteName(ISearchResultsContainer& results) {
    // Only a result recorded on Linux names Linux paths worth fetching.
    if (isRemoteLinuxResult())
        return BasicLocalAndRemoteFileSearchStrategy::lookUpAbsoluteName(results);
    return offerAbsoluteName(results);
}

bool SymFileSearchStrategy::lookUpAroundBinary(ISearchResultsContainer& results) {
    if (m_binaryFile.empty()) return false;
    const char* binary = m_binaryFile.c_str();
    const std::string binaryDir = utils::getFileNamePath(binary);
    const std::string symbolName = utils::getFileNameOnly(fileToSearch());
    // /opt/a/libx.so with libx.so.debug: /opt/a/libx.so.debug
    if (results.validateAndAdd(utils::addSubPart(binaryDir.c_str(), symbolName.c_str()).c_str(),
                               ssAroundBinaryLookup))
        return true;
    // /opt/a/libx.so with libx-1.2.debug: /opt/a/libx.debug
    if (utils::getFileNameBase(binary) != utils::getFileNameBase(fileToSearch())) {
        const std::string renamed = utils::changeFileNameExtension(
            binary, utils::getFileNameExtension(fileToSearch()).c_str());
        if (results.validateAndAdd(renamed.c_str(), ssAroundBinaryLookup)) return true;
    }
    // /opt/a/libx.so with libx.so.debug: /opt/a/.debug/libx.so.debug
    const std::string debugDir = binaryDir + "/.debug";
    if (results.validateAndAdd(utils::addSubPart(debugDir.c_str(), symbolName.c_str()).c_str(),
                               ssAroundBinaryLookup))
        return true;
    return lookUpAroundRemoteBinary(results);
}

bool SymFileSearchStrategy::lookUpAroundRemoteBinary(ISearchResultsContainer& results) {
    if (m_remoteBinaryFile.empty() || m_tempDir.empty() || !isRemoteLinuxResult()) return false;
    IFileRetriever* retriever = m_env->fileRetriever();
    if (!retriever || retriever->isLocal(m_remoteBinaryFile.c_str())) return false;

    std::string name = fileToSearch();
    fixLinuxName(name);
    const std::string remoteDir = utils::getFileNamePath(m_remoteBinaryFile.c_str());
    const std::string symbolName = utils::getFileNameOnly(name.c_str());
    std::vector<std::string> candidates;
    candidates.push_back(utils::addSubPart(remoteDir.c_str(), symbolName.c_str()));
    if (utils::getFileNameBase(m_remoteBinaryFile.c_str()) != utils::getFileNameBase(name.c_str()))
        candidates.push_back(utils::changeFileNameExtension(
            m_remoteBinaryFile.c_str(), utils::getFileNameExtension(name.c_str()).c_str()));
    candidates.push_back(utils::addSubPart((remoteDir + "/.debug").c_str(), symbolName.c_str()));

    for (const std::string& candidate : candidates) {
        std::string localCopy;
        if (!fetchRemoteFile(*m_env, m_tempDir, candidate, localCopy)) continue;
        if (results.validateAndAdd(localCopy.c_str(), ssAroundBinaryLookup)) return true;
    }
    return false;
}

bool SymFileSearchStrategy::findInSystemDirs(ISearchResultsContainer& results) {
    if (BasicFileSearchStrategy::findInSystemDirs(results)) return true;
    if (!m_options.recordedKernelNames || !hasKernelImageName(fileToSearch()) ||
        containsGuestMark(fileToSearch()))
        return false;
    // The debug kernel as a distribution's debug package installs it:
    // /usr/lib/debug/boot/vmlinux-6.1.0-18-amd64
    const std::string release = kernelRelease();
    return !release.empty() &&
           results.validateAndAdd(systemDir("/usr/lib/debug/boot/vmlinux-" + release).c_str(),
                                  ssSystemDirs);
}

void SymFileSearchStrategy::fillSystemDirs(ISearchDirectoryContainer& dirs) {
    dirs.addSearchDirectory(systemDir("/usr/lib/debug").c_str(), false);
    // A symbol file named by a path inside the binary's own directory is not looked for
    // in the mirror tree. The joined text keeps the doubled slash of an absolute
    // directory: /usr/lib/debug//usr/lib for a binary in /usr/lib.
    if (std::strncmp(fileToSearch(), m_binaryFile.c_str(), m_binaryFile.size()) != 0)
        dirs.addSearchDirectory(
            systemDir("/usr/lib/debug/" + utils::getFileNamePath(m_binaryFile.c_str())).c_str(),
            false);
    if (!m_options.recordedKernelNames) return;
    // Debug modules, and the debug kernel as "vmlinux":
    // /usr/lib/debug/lib/modules/6.1.0-18-amd64/kernel/sound/pci/hda/snd-hda-intel.ko
    const std::string release = kernelRelease();
    if (!release.empty())
        dirs.addSearchDirectory(systemDir("/usr/lib/debug/lib/modules/" + release).c_str(), true);
}

// ---------------------------------------------------------------------------------------
// SrcFileSearchStrategy

void SrcFileSearchStrategy::fillSystemDirs(ISearchDirectoryContainer& dirs) {
    dirs.addSearchDirectory(systemDir("/usr/src").c_str(), false);
    std::string release;
    if (posix::runningKernelRelease(release))  // /usr/src/linux-headers-6.1.0-18-amd64
        dirs.addSearchDirectory(systemDir("/usr/src/linux-headers-" + release).c_str(), false);
}

// ---------------------------------------------------------------------------------------
// Remote files

bool fetchRemoteFile(ISearchEnv& env, const std::string& tempDir, const std::string& remoteName,
                     std::string& localName) {
    const char* cacheDir = env.cacheDir();
    if (utils::isStringEmpty(cacheDir)) {
        FF_LOG_ERROR(kLogSource, "Empty directory name.");
        return false;
    }
    IFileRetriever* retriever = env.fileRetriever();
    if (tempDir.empty() || !retriever) return false;

    // Threads sharing the search may fetch the same name at once: each fetch writes into
    // a private directory of its own, so no copy is archived while another thread still
    // writes it, and none vanishes under a thread that is about to archive it.
    const FetchDirectory fetchDir(tempDir);
    if (fetchDir.path().empty()) return false;
    // A recorded name is untrusted: it must not lead the copy out of that directory.
    const std::string fetchedCopy = utils::addSubPart(fetchDir.path().c_str(), remoteName.c_str());
    if (!isInsideDirectory(fetchedCopy, fetchDir.path())) {
        FF_LOG_ERROR(kLogSource, "Remote name leaves the temporary directory: " << remoteName);
        return false;
    }
    if (retriever->retrieve(remoteName.c_str(), fetchDir.path().c_str()) != 0) return false;

    // Already cached (6), by this thread or another: the copy is a duplicate.
    const unsigned int archived =
        utils::archiveFile(fetchedCopy.c_str(), cacheDir, nullptr, localName, true);
    return archived == utils::kArchiveDone || archived == utils::kArchiveAlreadyThere;
}

}  // namespace FF_2_13
