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
    // Give back the permissions a test took away, so that everything can be removed.
    boost::system::error_code ignored;
    for (fs::recursive_directory_iterator it(m_path, fs::directory_options::none, ignored), end;
         it != end; it.increment(ignored))
        if (fs::is_directory(it->symlink_status(ignored)))
            fs::permissions(it->path(), fs::perms::owner_all | fs::perms::add_perms, ignored);
    fs::remove_all(m_path, ignored);
}

std::string TempDir::makeDir(const std::string& relative) const {
    fs::create_directories(*this / relative);
    return *this / relative;
}

std::string TempDir::makeFile(const std::string& relative, const std::string& contents) const {
    fs::create_directories(fs::path(*this / relative).parent_path());
    std::ofstream out(*this / relative, std::ios::binary);
    if (!(out << contents)) throw std::runtime_error("cannot write " + relative);
    return *this / relative;
}

std::string TempDir::makeSymlink(const std::string& relative, const std::string& target) const {
    fs::create_directories(fs::path(*this / relative).parent_path());
    fs::create_symlink(target, *this / relative);
    return *this / relative;
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
