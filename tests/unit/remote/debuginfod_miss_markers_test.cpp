// Where the client library's cache is, as it chooses it, and which of its miss markers a
// stopped transfer takes away.
#include "remote/debuginfod_miss_markers.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>

#include "temp_dir.h"

using namespace FF_2_13;

namespace {

void setOrUnset(const char* name, const std::string& value) {
    value.empty() ? ::unsetenv(name) : ::setenv(name, value.c_str(), 1);
}

TEST(DebuginfodMissMarkers, TheCacheIsWhereTheClientLibraryPutsIt) {
    fftest::TempDir home;
    const struct {
        std::string cachePath, xdg;
        bool legacy;
        std::string expected;
    } cases[] = {
        {"/own", "/xdg", true, "/own"},
        {"", "/xdg", true, home / ".debuginfod_client_cache"},
        {"", "/xdg", false, "/xdg/debuginfod_client"},
        {"", "", false, home / ".cache/debuginfod_client"},
    };
    ::setenv("HOME", home.path().c_str(), 1);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        setOrUnset("DEBUGINFOD_CACHE_PATH", c.cachePath);
        setOrUnset("XDG_CACHE_HOME", c.xdg);
        c.legacy ? void(home.makeDir(".debuginfod_client_cache"))
                 : void(::rmdir((home / ".debuginfod_client_cache").c_str()));
        EXPECT_EQ(c.expected, debuginfodCacheDirectory());
    }
}

TEST(DebuginfodMissMarkers, OnlyNewEmptyFilesOfTheKindAskedForGo) {
    fftest::TempDir cache;
    ::setenv("DEBUGINFOD_CACHE_PATH", cache.path().c_str(), 1);
    for (const char* name : {"debuginfo", "executable", "source-##src#a.c", "source-##src#b.c"})
        cache.makeFile(std::string("ab12/") + name, "");
    cache.makeFile("ab12/old/executable", "");
    const std::time_t now = std::time(nullptr);
    forgetMissMarkers(rfDebugFile, "ab12", now + 3600);  // made before: kept
    forgetMissMarkers(rfExecutable, "ab12", now - 60);
    forgetMissMarkers(rfSource, "ab12", now - 60);
    EXPECT_EQ((std::vector<std::string>{"debuginfo", "old"}), fftest::entryNames(cache / "ab12"));
    cache.makeFile("cd34/debuginfo", "a fetched file");
    forgetMissMarkers(rfDebugFile, "cd34", now - 60);
    EXPECT_EQ(std::vector<std::string>{"debuginfo"}, fftest::entryNames(cache / "cd34"));
}

}  // namespace
