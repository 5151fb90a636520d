// The directory finder.
//
// find(name) walks the search directories in the order they were added. For each one:
//   1. findIteratively offers the name and its shorter tails under the directory:
//      "/d" + "a/b/c.so" -> /d/a/b/c.so, /d/b/c.so, /d/c.so;
//   2. for a recursive directory, the loop guard is emptied and findRecursively offers
//      the bare file name in the directory and in every directory below it:
//      "/d" + "c.so" -> /d/c.so, /d/x/c.so, /d/x/y/c.so.
// Every candidate goes to the results container, which validates it; the first true
// answer ends the search at once, so a file found early costs no further listing.
//
// findRecursively is the hot path of every recursive search, so each directory costs
// only the calls it needs: open (which also resolves the name once), fstat of the open
// directory for the loop guard, the reads of the listing, close. Entry types come from
// the listing itself; only symbolic links and entries of unknown type are stat'ed, and
// those relative to the open directory. The container's own check of the candidate is
// the only other call.
#include "search/files_finder.h"

#include <boost/filesystem.hpp>
#include <cerrno>

#include "ff_utils.h"

namespace fs = boost::filesystem;

namespace FF_2_13 {

namespace {

// Failures are raised as the directory iterator of Boost.Filesystem raises them (same
// what-text, path and system error code), because that is what callers of a search are
// promised to see when a directory cannot be listed.
[[noreturn]] void raise(const char* operation, const std::string& path, int error) {
    throw fs::filesystem_error(operation, fs::path(path),
                               boost::system::error_code(error, boost::system::system_category()));
}

// A missing name (or a name below a non-directory) is an ordinary "not a directory" when
// taking an entry's status; any other failure is raised.
bool isNotFound(int error) {
    return error == ENOENT || error == ENOTDIR;
}

// Search (x) permission for owner, group and others: a listing of such a directory can
// take its entries' status. For any other mode the first entry is stat'ed as a probe,
// so that a directory that can be read but not entered fails as it would if every entry
// were stat'ed. (An access list that denies one user search despite these bits is not
// seen: that directory's entries are simply not found.)
constexpr std::uint32_t kSearchableByAll = 0111;

// Closes the finder's one listing when a directory's turn is over, however it ends.
class ListingCloser {
public:
    explicit ListingCloser(posix::DirectoryListing& listing) : m_listing(listing) {}
    ~ListingCloser() { m_listing.close(); }
    ListingCloser(const ListingCloser&) = delete;
    ListingCloser& operator=(const ListingCloser&) = delete;

private:
    posix::DirectoryListing& m_listing;
};

// The first tail of `elements` whose candidate the system could open. Normalising a
// candidate removes only "." elements and "x/.." pairs, so the elements of a tail that
// no ".." of the tail itself cancels stay in its candidate whatever the directory: when
// they alone make PATH_MAX bytes, the candidate names nothing the container could accept.
// Those tails are not built: building and normalising every tail of a long name costs the
// square of its length (seconds for a 64 KiB name, per directory and step). Going left,
// the kept length only grows, so the tails left out are the longest ones.
size_t firstOpenableTail(const std::vector<fs::path>& elements) {
    size_t kept = 0;
    size_t pendingParents = 0;
    for (size_t k = elements.size(); k-- > 0;) {
        const std::string& element = elements[k].native();
        if (element == "..") {
            ++pendingParents;
        } else if (element == "." || element == "/") {
            continue;
        } else if (pendingParents > 0) {
            --pendingParents;
        } else if ((kept += element.size() + 1) > posix::kPathMax) {
            return k + 1;
        }
    }
    return 0;
}

}  // namespace

FilesFinder::FilesFinder(unsigned int searchStep) noexcept : m_searchStep(searchStep) {}

FilesFinder::~FilesFinder() = default;

void FilesFinder::addSearchDirectory(const char* name, bool recursive) {
    m_dirs.push_back(search_dir{std::string(name), recursive});
}

bool FilesFinder::find(const char* fileName, ISearchResultsContainer& results) {
    const std::string name(fileName);
    for (const search_dir& dir : m_dirs) {
        if (findIteratively(dir.name, name, results)) return true;
        if (dir.recursive) {
            // Each recursive directory is a scan of its own: a directory entered by an
            // earlier scan is entered again by this one.
            m_visited.clear();
            if (findRecursively(dir.name, fs::path(name).filename().string(), results)) return true;
        }
    }
    return false;
}

bool FilesFinder::findIteratively(const std::string& dir, const std::string& fileName,
                                  ISearchResultsContainer& results) {
    const fs::path name(fileName);
    const std::vector<fs::path> elements(name.begin(), name.end());
    for (size_t first = firstOpenableTail(elements); first < elements.size(); ++first) {
        fs::path candidate(dir);
        for (size_t element = first; element < elements.size(); ++element)
            candidate /= elements[element];
        // The root element of an absolute name adds nothing: "/d" + "/usr/lib/x.so" offers
        // /d/usr/lib/x.so twice (the container drops the second), then /d/lib/x.so, /d/x.so.
        if (results.validateAndAdd(candidate.lexically_normal().c_str(), m_searchStep)) return true;
    }
    return false;
}

bool FilesFinder::findRecursively(const std::string& dir, const std::string& fileName,
                                  ISearchResultsContainer& results) {
    std::string subdirectories;
    {
        // The listing is read to the end and closed before descending: however deep the
        // tree, at most one listing is open.
        ListingCloser closer(m_listing);

        // The status of dir, following links: from the opened listing when dir opens as a
        // directory, from the name otherwise (a regular file, an unreadable directory).
        posix::FileStatus status;
        const int openError = m_listing.open(dir.c_str());
        const bool exists = openError == 0
                                ? m_listing.status(status) == 0
                                : openError != ENOENT && posix::statFile(dir.c_str(), status);
        if (!exists) return false;  // nothing there: not even a candidate

        // The loop guard compares inode numbers alone, not devices: a directory on another
        // file system that happens to share an inode number is skipped too. Callers rely
        // on that rule, so it is kept.
        if (!m_visited.insert(status.inode).second) return false;

        // "/d" + "c.so" -> /d/c.so; joined, never normalised.
        if (results.validateAndAdd(utils::addSubPart(dir.c_str(), fileName.c_str()).c_str(),
                                   m_searchStep))
            return true;
        // The status taken above also says whether dir is a directory: no second look. A
        // regular file given as a directory has had its one candidate.
        if (!status.isDirectory) return false;
        if (openError != 0)
            raise("boost::filesystem::directory_iterator::construct", dir, openError);
        subdirectories = listSubdirectories(dir, status.mode);
    }
    // The names, each ended by '\0', in listing order.
    for (size_t at = 0; at < subdirectories.size(); at = subdirectories.find('\0', at) + 1) {
        const char* name = subdirectories.c_str() + at;
        if (findRecursively(utils::addSubPart(dir.c_str(), name), fileName, results)) return true;
    }
    return false;
}

std::string FilesFinder::listSubdirectories(const std::string& dir, std::uint32_t dirMode) {
    std::string names;
    bool probe = (dirMode & kSearchableByAll) != kSearchableByAll;
    posix::DirectoryListing::Entry entry;
    int error = 0;
    while (m_listing.next(entry, error)) {
        bool isDirectory = entry.kind == posix::EntryKind::directory;
        if (probe || entry.kind == posix::EntryKind::symbolicLink ||
            entry.kind == posix::EntryKind::unknown) {
            probe = false;
            posix::FileStatus target;
            const int statError = m_listing.entryStatus(entry.name, target);
            if (statError == 0) {
                isDirectory = target.isDirectory;
            } else if (isNotFound(statError)) {
                isDirectory = false;  // a dangling link
            } else {
                // A link loop, a link into a place we may not enter, or a directory we may
                // read but not enter.
                raise("boost::filesystem::status", utils::addSubPart(dir.c_str(), entry.name),
                      statError);
            }
        }
        // Hidden names are searched like any other.
        if (isDirectory) names.append(entry.name).push_back('\0');
    }
    if (error != 0) raise("boost::filesystem::directory_iterator::operator++", dir, error);
    return names;
}

}  // namespace FF_2_13
