#include "temp_dir.h"

#include <tarnbase2/tarnbase2.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = boost::filesystem;

namespace fftest {

TempDir::TempDir() {
    fs::path base = fs::temp_directory_path() / fs::unique_path("fftest-%%%%-%%%%-%%%%");
    fs::create_directories(base);
    m_path = base.string();
}

TempDir::~TempDir() {
    boost::system::error_code ignored;  // a test that changed permissions may leave some
    // Give back permissions a test took away, so that everything can be removed.
    for (fs::recursive_directory_iterator it(m_path, fs::directory_options::none, ignored), end;
         it != end; it.increment(ignored)) {
        if (fs::is_directory(it->symlink_status(ignored)))
            fs::permissions(it->path(), fs::perms::owner_all | fs::perms::add_perms, ignored);
    }
    fs::remove_all(m_path, ignored);
}

std::string TempDir::operator/(const std::string& relative) const {
    return m_path + "/" + relative;
}

std::string TempDir::makeDir(const std::string& relative) const {
    std::string path = *this / relative;
    fs::create_directories(path);
    return path;
}

std::string TempDir::makeFile(const std::string& relative, const std::string& contents) const {
    std::string path = *this / relative;
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream out(path, std::ios::binary);
    out << contents;
    if (!out) throw std::runtime_error("cannot write " + path);
    return path;
}

std::string TempDir::makeSymlink(const std::string& relative, const std::string& target) const {
    std::string path = *this / relative;
    fs::create_directories(fs::path(path).parent_path());
    fs::create_symlink(target, path);
    return path;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::vector<std::string> entryNames(const std::string& dir) {
    std::vector<std::string> names;
    for (fs::directory_iterator it(dir), end; it != end; ++it)
        names.push_back(it->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

ScopedUserDataDir::ScopedUserDataDir(const std::string& dir) {
    tarnbase2::IProductLocations::setUserDataDir(dir.c_str());
}

ScopedUserDataDir::~ScopedUserDataDir() {
    tarnbase2::IProductLocations::setUserDataDir(nullptr);
}

}  // namespace fftest
