// The directory finder.
//
// find(name) walks the search directories in the order they were added. For each one:
//   1. findIteratively offers the name and its shorter tails under the directory:
//      "/d" + "a/b/c.so" -> /d/a/b/c.so, /d/b/c.so, /d/c.so;
//   2. for a recursive directory, findRecursively offers the bare file name in the
//      directory and in every directory below it, in a scan with a loop guard of its own:
//      "/d" + "c.so" -> /d/c.so, /d/x/c.so, /d/x/y/c.so.
// Every candidate goes to the results container, which validates it; the first true
// answer ends the search at once, so a file found early costs no further listing.
//
// findRecursively is the hot path of every recursive search: DirectoryDescent walks the
// tree by descriptors, so that no call resolves more than one name.
#include "search/files_finder.h"

#include <boost/filesystem.hpp>

#include "search/directory_descent.h"

namespace fs = boost::filesystem;

namespace FF_2_13 {

namespace {

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
        if (dir.recursive && findRecursively(dir.name, fs::path(name).filename().string(), results))
            return true;
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
    // Each recursive directory is a scan of its own: a directory entered by an earlier scan
    // is entered again by this one.
    DirectoryDescent descent(m_reader, fileName, m_searchStep, results);
    return descent.run(dir);
}

}  // namespace FF_2_13
