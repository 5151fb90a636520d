// A temporary directory made for one test and removed with everything in it afterwards.
// Tests write nowhere else.
#pragma once

#include <string>
#include <vector>

namespace fftest {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    /// path() + "/" + relative.
    std::string operator/(const std::string& relative) const { return m_path + "/" + relative; }
    /// Each makes the parent directories of `relative` under path() and returns its path:
    /// a directory, a file holding `contents`, a symbolic link to `target` (taken as given).
    std::string makeDir(const std::string& relative) const;
    std::string makeFile(const std::string& relative, const std::string& contents = "x") const;
    std::string makeSymlink(const std::string& relative, const std::string& target) const;

private:
    std::string m_path;
};

/// The whole contents of the file `path`; empty when it cannot be read.
std::string readFile(const std::string& path);

/// The names of the entries of the directory `dir`, sorted.
std::vector<std::string> entryNames(const std::string& dir);

/// Points the host's per-user data directory (kernel image cache, private temporary
/// directories) at `dir` while it lives, so that searches write under a test's TempDir.
class ScopedUserDataDir {
public:
    explicit ScopedUserDataDir(const std::string& dir);
    ~ScopedUserDataDir();
    ScopedUserDataDir(const ScopedUserDataDir&) = delete;
    ScopedUserDataDir& operator=(const ScopedUserDataDir&) = delete;
};

}  // namespace fftest
