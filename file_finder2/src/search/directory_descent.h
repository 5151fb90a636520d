// One recursive scan of the directory finder: offers dir/fileName in a search directory
// and in every directory below it, depth first, in the order the file system lists them,
// following links, entering no inode number twice:
//
//   DirectoryDescent descent(reader, "c.so", ssSystemDirs, results);
//   descent.run("/d");   // offers /d/c.so, /d/x/c.so, /d/x/y/c.so; true when told to stop
//
// Directories are opened relative to their parent's descriptor, so that each open and
// each status resolves one name however deep the walk: a full name is built only for
// what the results container receives and for the errors raised. A directory keeps its
// descriptor while its sub-directories are entered, up to a bound that leaves most of
// the process's descriptors to others; past the bound, the shallowest are given up and
// their sub-directories opened by full name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/posix.h"
#include "search/search_interfaces.h"

namespace FF_2_13 {

class DirectoryDescent {
public:
    /// `reader` lends its buffer; `fileName` is the bare name looked for in every directory.
    DirectoryDescent(posix::DirectoryReader& reader, const std::string& fileName,
                     unsigned int searchStep, ISearchResultsContainer& results);
    DirectoryDescent(const DirectoryDescent&) = delete;
    DirectoryDescent& operator=(const DirectoryDescent&) = delete;

    /// Scans `searchDirectory` (a name as given: relative names start at the working
    /// directory). True as soon as the container asks to stop. A directory that cannot be
    /// listed raises boost::filesystem::filesystem_error.
    bool run(const std::string& searchDirectory);

private:
    /// A directory on the way down whose sub-directories are being entered.
    struct Level {
        posix::FileDescriptor dir;  // closed once given up, or when its last one is opened
        size_t nameAt;              // its own name in m_names (none for the search directory)
        size_t namesAt;             // its sub-directories' names in m_names, up to the end
        size_t nextAt;              // the next of them to enter
    };
    /// What the listing of one directory said.
    struct Listing {
        bool listsCandidate = false;  // an entry of the candidate's name, not a directory
        int error = 0;                // why reading stopped before the end
    };

    /// Enters the search directory (`nameAt` npos) or the sub-directory at `nameAt` of the
    /// top level: offers its candidate and, when it has sub-directories, becomes the new
    /// top level. True when the container asks to stop.
    bool visit(size_t nameAt);
    posix::FileDescriptor open(size_t nameAt);
    bool statusByName(size_t nameAt, posix::FileStatus& status);
    /// Appends the listed entries that may be directories (kind byte, name, '\0') to
    /// m_names; with a `dirMode` not searchable by all, also the first entry, as a probe.
    Listing list(const posix::FileDescriptor& dir, std::uint32_t dirMode);
    /// Keeps, from the entries appended since `entriesAt`, the names of those that are
    /// directories (following links), each followed by '\0', in listing order.
    bool keepSubdirectories(const posix::FileDescriptor& dir, size_t entriesAt, size_t nameAt);
    bool offerCandidate(size_t nameAt);
    std::string candidateName(size_t nameAt) const;
    void push(posix::FileDescriptor dir, size_t nameAt, size_t namesAt);
    void giveUp(Level& level);
    /// The full name of the sub-directory at `nameAt` of the top level (npos: of the top
    /// level itself, or of the search directory before it is one).
    std::string fullName(size_t nameAt) const;
    /// The one place where a directory that cannot be listed (or an entry whose status
    /// cannot be taken) meets the walk: raised as the directory iterator of
    /// Boost.Filesystem raises it, or, when the container skips such directories, reported
    /// to it and left out.
    void cannotList(const char* operation, const std::string& path, int error);

    posix::DirectoryReader& m_reader;
    const std::string& m_fileName;
    const unsigned int m_searchStep;
    ISearchResultsContainer& m_results;
    /// Offer a candidate whatever the listing says: the container logs missing ones, or
    /// the name is not one an entry could have ("", "..", "a/b").
    const bool m_offerEveryCandidate;
    const bool m_reportAbsentCandidates;
    /// Most descriptors kept open by the levels at once.
    const size_t m_descriptorBound;

    std::string m_root;
    /// Inode numbers of the directories entered. A hash set: a scan of n directories costs
    /// n lookups of constant time.
    std::unordered_set<std::uint64_t> m_visited;
    std::vector<Level> m_levels;  // from the search directory down
    std::string m_names;          // every level's sub-directory names, each ended by '\0'
    size_t m_descriptorsKept = 0;
};

}  // namespace FF_2_13
