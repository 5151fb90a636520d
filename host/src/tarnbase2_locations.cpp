// The product's per-user data directory.
#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>

#include "tarnbase2/tarnbase2.h"

namespace tarnbase2 {

namespace {

// Texts handed out must stay valid while the directory changes under other threads, so
// every text is interned: one copy per distinct value, never freed.
const char* intern(const std::string& text) {
    static std::mutex guard;
    static std::set<std::string> texts;
    std::lock_guard<std::mutex> lock(guard);
    return texts.insert(text).first->c_str();
}

std::atomic<const char*> g_userDataDirOverride{nullptr};

std::string defaultUserDataDir() {
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    // A relative XDG_DATA_HOME is invalid and must be ignored.
    if (dataHome && dataHome[0] == '/') return std::string(dataHome) + "/file_finder2";
    const char* home = std::getenv("HOME");
    if (home && home[0] != '\0') return std::string(home) + "/.local/share/file_finder2";
    boost::system::error_code error;
    // No temporary directory configured or usable: "/tmp" is the last word.
    const boost::filesystem::path temp = boost::filesystem::temp_directory_path(error);
    return error || temp.empty() ? std::string("/tmp") : temp.string();
}

class ProductLocations : public IProductLocations {
public:
    const char* userDataDir() const override {
        if (const char* chosen = g_userDataDirOverride.load()) return chosen;
        return intern(defaultUserDataDir());
    }
};

}  // namespace

IProductLocations* IProductLocations::get() {
    static ProductLocations locations;
    return &locations;
}

void IProductLocations::setUserDataDir(const char* dir) {
    g_userDataDirOverride.store(dir ? intern(dir) : nullptr);
}

}  // namespace tarnbase2
