// A temporary directory made for one test and removed with everything in it afterwards.
// Tests write nowhere else.
#pragma once

#include <string>

namespace fftest {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    /// path() + "/" + relative.
    std::string operator/(const std::string& relative) const;

    /// Creates the directories of `relative` (and its parents) under path().
    std::string makeDir(const std::string& relative) const;
    /// Creates a file (and its parent directories) holding `contents`.
    std::string makeFile(const std::string& relative, const std::string& contents = "x") const;
    /// Creates a symbolic link `relative` pointing at `target` (taken as given).
    std::string makeSymlink(const std::string& relative, const std::string& target) const;

private:
    std::string m_path;
};

}  // namespace fftest
