// The recursive scan of the directory finder.
//
// Each directory, from the search directory down, depth first:
//   1. is opened relative to its parent's descriptor (the search directory, and the
//      sub-directories of a parent whose descriptor was given up, by full name), and its
//      status is taken from the open descriptor: the inode number is the loop guard, and a
//      directory entered before is left at once;
//   2. is listed to the end: the entries that may be directories are kept, and the listing
//      tells whether the name looked for is there at all;
//   3. offers dir/fileName to the container, unless the listing showed no such entry and
//      the container does not want missing candidates (it is then only named to a
//      container that reports absent candidates); a true answer ends the scan;
//   4. settles which kept entries are directories (links and entries of unknown type are
//      stat'ed relative to it) and has them entered in listing order.
// So a directory costs an open, an fstat, the reads of its listing and a close, each of
// which resolves at most one name, and a miss checks no candidate by its full name.
#include "search/directory_descent.h"

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstring>

#include "ff_utils.h"

namespace fs = boost::filesystem;

namespace FF_2_13 {

namespace {

constexpr size_t kNone = std::string::npos;

// The directory iterator of Boost.Filesystem names its failures so; callers of a search
// are promised the same what-text when a directory cannot be listed.
constexpr char kOpenOperation[] = "boost::filesystem::directory_iterator::construct";
constexpr char kReadOperation[] = "boost::filesystem::directory_iterator::operator++";
constexpr char kStatusOperation[] = "boost::filesystem::status";

// At most this many levels keep their descriptors, and at most this share of the
// process's descriptors: the host has files of its own to open, and other searches may
// walk at the same time.
constexpr size_t kMostLevelsKept = 64;
constexpr size_t kDescriptorShareDivisor = 4;

// Listed entries wait in m_names behind one of these bytes until their type is settled.
constexpr char kListedDirectory = 'd';
constexpr char kNeedsStatus = 's';

// Search (x) permission for owner, group and others: a listing of such a directory can
// take its entries' status. For any other mode the first entry is stat'ed as a probe,
// so that a directory that can be read but not entered fails as it would if every entry
// were stat'ed. (An access list that denies one user search despite these bits is not
// seen: that directory's entries are simply not found.)
constexpr std::uint32_t kSearchableByAll = 0111;

// A missing name (or a name below a non-directory) is an ordinary "not a directory" when
// taking an entry's status; any other failure is raised.
bool isNotFound(int error) {
    return error == ENOENT || error == ENOTDIR;
}

// Whether a directory entry could bear the name: "", ".", ".." and names with a slash
// never stand in a listing, yet their candidates may exist.
bool isEntryName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

// The path append operation for an entry name (never empty, never led by a slash):
// "/d" + "x" -> /d/x, "/d/" + "x" -> /d/x.
void appendEntry(std::string& path, const char* name) {
    if (!path.empty() && path.back() != '/') path += '/';
    path += name;
}

size_t descriptorBound() {
    const size_t limit = posix::openDescriptorLimit(kMostLevelsKept * kDescriptorShareDivisor);
    return std::max<size_t>(1, std::min(kMostLevelsKept, limit / kDescriptorShareDivisor));
}

}  // namespace

DirectoryDescent::DirectoryDescent(posix::DirectoryReader& reader, const std::string& fileName,
                                   unsigned int searchStep, ISearchResultsContainer& results)
    : m_reader(reader),
      m_fileName(fileName),
      m_searchStep(searchStep),
      m_results(results),
      m_offerEveryCandidate(results.wantsMissingCandidates() || !isEntryName(fileName)),
      m_reportAbsentCandidates(!m_offerEveryCandidate && results.reportsAbsentCandidates()),
      m_descriptorBound(descriptorBound()) {}

bool DirectoryDescent::run(const std::string& searchDirectory) {
    m_root = searchDirectory;
    m_visited.clear();
    m_levels.clear();
    m_names.clear();
    m_descriptorsKept = 0;
    if (visit(kNone)) return true;
    while (!m_levels.empty()) {
        Level& top = m_levels.back();
        if (top.nextAt == m_names.size()) {
            if (top.dir.isOpen()) giveUp(top);
            m_names.resize(top.namesAt);
            m_levels.pop_back();
            continue;
        }
        const size_t nameAt = top.nextAt;
        top.nextAt = m_names.find('\0', nameAt) + 1;
        if (visit(nameAt)) return true;
    }
    return false;
}

bool DirectoryDescent::visit(size_t nameAt) {
    posix::FileDescriptor dir = open(nameAt);
    const int openError = dir.isOpen() ? 0 : errno;
    // The status, following links: from the open directory, or from the name when it does
    // not open as a directory (a regular file, an unreadable directory).
    posix::FileStatus status;
    const bool exists = dir.isOpen() ? posix::descriptorStatus(dir, status) == 0
                                     : openError != ENOENT && statusByName(nameAt, status);
    // Once its last sub-directory is open, the parent's descriptor serves no more: a chain
    // of single sub-directories, however long, keeps one or two open.
    if (nameAt != kNone && m_levels.back().nextAt == m_names.size() && m_levels.back().dir.isOpen())
        giveUp(m_levels.back());
    if (!exists) return false;  // nothing there: not even a candidate

    // The loop guard compares inode numbers alone, not devices: a directory on another
    // file system that happens to share an inode number is skipped too. Callers rely on
    // that rule, so it is kept.
    if (!m_visited.insert(status.inode).second) return false;

    const size_t entriesAt = m_names.size();
    Listing listing;
    if (dir.isOpen()) listing = list(dir, status.mode);
    const bool mayHoldCandidate =
        m_offerEveryCandidate || !dir.isOpen() || listing.error != 0 || listing.listsCandidate;
    if (mayHoldCandidate) {
        if (offerCandidate(nameAt)) return true;
    } else if (m_reportAbsentCandidates) {
        m_results.candidateAbsent(candidateName(nameAt).c_str(), m_searchStep);
    }
    // A regular file given as a directory has had its one candidate.
    if (!status.isDirectory) return false;
    if (!dir.isOpen()) {
        cannotList(kOpenOperation, fullName(nameAt), openError);
        return false;
    }
    if (!keepSubdirectories(dir, entriesAt, nameAt)) {
        m_names.resize(entriesAt);
        return false;
    }
    if (listing.error != 0) {
        m_names.resize(entriesAt);
        cannotList(kReadOperation, fullName(nameAt), listing.error);
        return false;
    }
    if (m_names.size() > entriesAt) push(std::move(dir), nameAt, entriesAt);
    return false;
}

posix::FileDescriptor DirectoryDescent::open(size_t nameAt) {
    if (nameAt == kNone) return posix::openDirectory(m_root.c_str());
    const Level& parent = m_levels.back();
    if (parent.dir.isOpen()) return posix::openDirectoryIn(parent.dir, m_names.c_str() + nameAt);
    return posix::openDirectory(fullName(nameAt).c_str());  // the parent's was given up
}

bool DirectoryDescent::statusByName(size_t nameAt, posix::FileStatus& status) {
    if (nameAt != kNone && m_levels.back().dir.isOpen())
        return posix::statusIn(m_levels.back().dir, m_names.c_str() + nameAt, status) == 0;
    return posix::statFile(fullName(nameAt).c_str(), status);
}

DirectoryDescent::Listing DirectoryDescent::list(const posix::FileDescriptor& dir,
                                                 std::uint32_t dirMode) {
    Listing listing;
    bool probe = (dirMode & kSearchableByAll) != kSearchableByAll;
    m_reader.start(dir);
    posix::DirectoryReader::Entry entry;
    while (m_reader.next(entry, listing.error)) {
        const bool isDirectory = entry.kind == posix::EntryKind::directory;
        // A directory of that name is offered only to be reported as what it is.
        if (!m_offerEveryCandidate && (!isDirectory || m_reportAbsentCandidates) &&
            m_fileName == entry.name)
            listing.listsCandidate = true;
        char kind = kListedDirectory;
        if (probe || entry.kind == posix::EntryKind::symbolicLink ||
            entry.kind == posix::EntryKind::unknown)
            kind = kNeedsStatus;
        else if (!isDirectory)
            continue;
        probe = false;
        // Hidden names are searched like any other.
        m_names.push_back(kind);
        m_names.append(entry.name).push_back('\0');
    }
    return listing;
}

bool DirectoryDescent::keepSubdirectories(const posix::FileDescriptor& dir, size_t entriesAt,
                                          size_t nameAt) {
    size_t keptEnd = entriesAt;
    for (size_t at = entriesAt; at < m_names.size();) {
        const char kind = m_names[at];
        const char* name = m_names.c_str() + at + 1;
        const size_t nameSize = std::strlen(name) + 1;  // with its '\0'
        bool isDirectory = kind == kListedDirectory;
        if (kind == kNeedsStatus) {
            posix::FileStatus target;
            const int error = posix::statusIn(dir, name, target);
            if (error == 0) {
                isDirectory = target.isDirectory;
            } else if (!isNotFound(error)) {  // else a dangling link
                // A link loop, a link into a place we may not enter, or a directory we may
                // read but not enter.
                cannotList(kStatusOperation, utils::addSubPart(fullName(nameAt).c_str(), name),
                           error);
                return false;
            }
        }
        if (isDirectory) {
            // Moved down over the kind bytes of the entries before it.
            std::copy(name, name + nameSize, &m_names[keptEnd]);
            keptEnd += nameSize;
        }
        at += 1 + nameSize;
    }
    m_names.resize(keptEnd);
    return true;
}

std::string DirectoryDescent::candidateName(size_t nameAt) const {
    // "/d" + "c.so" -> /d/c.so; joined, never normalised.
    return utils::addSubPart(fullName(nameAt).c_str(), m_fileName.c_str());
}

bool DirectoryDescent::offerCandidate(size_t nameAt) {
    return m_results.validateAndAdd(candidateName(nameAt).c_str(), m_searchStep);
}

void DirectoryDescent::push(posix::FileDescriptor dir, size_t nameAt, size_t namesAt) {
    // Over the bound, the shallowest level gives its descriptor up: its sub-directories
    // have the shortest full names to be opened by.
    if (m_descriptorsKept >= m_descriptorBound) {
        for (Level& level : m_levels) {
            if (!level.dir.isOpen()) continue;
            giveUp(level);
            break;
        }
    }
    m_levels.push_back(Level{std::move(dir), nameAt, namesAt, namesAt});
    ++m_descriptorsKept;
}

void DirectoryDescent::giveUp(Level& level) {
    level.dir.close();
    --m_descriptorsKept;
}

std::string DirectoryDescent::fullName(size_t nameAt) const {
    std::string path = m_root;
    for (size_t level = 1; level < m_levels.size(); ++level)
        appendEntry(path, m_names.c_str() + m_levels[level].nameAt);
    if (nameAt != kNone) appendEntry(path, m_names.c_str() + nameAt);
    return path;
}

void DirectoryDescent::cannotList(const char* operation, const std::string& path, int error) {
    if (m_results.skipsUnlistableDirectories()) {
        const std::string message =
            boost::system::error_code(error, boost::system::system_category()).message();
        m_results.directorySkipped(path.c_str(), message.c_str());
        return;
    }
    throw fs::filesystem_error(operation, fs::path(path),
                               boost::system::error_code(error, boost::system::system_category()));
}

}  // namespace FF_2_13
