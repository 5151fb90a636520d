// The directory finder: turns one requested name and a list of search directories into a
// stream of candidate paths for a results container, which validates them and says when
// to stop.
//
//   FilesFinder finder(ssSystemDirs);
//   finder.addSearchDirectory("/usr/lib", false);
//   finder.addSearchDirectory("/opt/debug", true);
//   finder.find("x86_64/libm.so.6", iterator);   // iterator: an ISearchResultsContainer
//
// A finder is a short-lived value: built on the stack of one search step, filled, asked
// once and destroyed. One thread uses it from construction to destruction.
#pragma once

#include <string>
#include <vector>

#include "platform/posix.h"
#include "search/search_interfaces.h"

namespace FF_2_13 {

class FilesFinder : public ISearchDirectoryContainer {
public:
    struct search_dir {
        std::string name;  // exactly as added
        bool recursive;
    };

    /// `searchStep` tags every candidate.
    explicit FilesFinder(unsigned int searchStep) noexcept;
    /// Not virtual: a finder is always destroyed as its concrete type.
    ~FilesFinder();
    FilesFinder(const FilesFinder&) = delete;
    FilesFinder& operator=(const FilesFinder&) = delete;

    /// Appends a search directory; duplicates and empty names are kept, in order.
    void addSearchDirectory(const char* name, bool recursive) override;

    /// Searches every directory in the order added: true as soon as the container asks
    /// to stop, false when all were searched. A directory that cannot be listed raises
    /// boost::filesystem::filesystem_error, which is not caught here.
    bool find(const char* fileName, ISearchResultsContainer& results);

private:
    /// Offers dir/fileName in `dir` and in every directory below it, depth first, in the
    /// order the file system lists them, following links, entering no inode number twice
    /// in one scan: ("/d", "c.so") offers /d/c.so, /d/x/c.so, /d/x/y/c.so (only those
    /// whose directory lists c.so, when the container wants no missing candidates).
    bool findRecursively(const std::string& dir, const std::string& fileName,
                         ISearchResultsContainer& results);
    /// Offers `fileName` and its shorter tails directly under `dir`:
    /// ("/d", "a/b/c.so") offers /d/a/b/c.so, /d/b/c.so, /d/c.so.
    bool findIteratively(const std::string& dir, const std::string& fileName,
                         ISearchResultsContainer& results);

    unsigned int m_searchStep;
    std::vector<search_dir> m_dirs;
    posix::DirectoryReader m_reader;  // its buffer serves every recursive scan
};

}  // namespace FF_2_13
