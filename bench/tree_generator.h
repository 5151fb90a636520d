// Deterministic directory trees for the search benchmarks and the comparison script.
//
// Two shapes, each made once under a cache directory outside the clone and reused:
//
//   wide-<N>: N directories under one root, breadth first, 2 to 9 sub-directories and 1 to
//             4 empty files each; one symbolic link "loop" half-way down points back at its
//             grandparent; the last directory made (one of the deepest) holds the file
//             kDeepHitName. Directory i is named "d<i>", so the shape is the same on every
//             machine; only the order in which the file system lists entries differs.
//   deep:     8 chains of 400 to 500 nested directories "n", one empty file "f.o" in each.
//
// A tree is complete when its stamp file exists; an interrupted generation is redone.
//
//   std::string tree = ffbench::ensureWideTree("/var/cache/file_finder2/bench-trees", 20000);
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace ffbench {

/// The file name a deep hit looks for, and one that no tree holds.
constexpr char kDeepHitName[] = "ff-deep-hit.so";
constexpr char kMissName[] = "ff-no-such-file.so";
/// Chains of the deep tree and the depth range of a chain.
constexpr int kDeepChains = 8;
constexpr int kDeepMinDepth = 400;
constexpr int kDeepMaxDepth = 500;

namespace detail {

constexpr char kStampName[] = ".ff-bench-complete";

// A fixed linear congruential generator: the same numbers on every platform and library.
class Numbers {
public:
    explicit Numbers(std::uint64_t seed) : m_state(seed) {}
    unsigned below(unsigned bound) {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<unsigned>((m_state >> 33) % bound);
    }

private:
    std::uint64_t m_state;
};

inline void fail(const std::string& what, const std::string& path) {
    throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

inline void makeDirectory(const std::string& path) {
    if (::mkdir(path.c_str(), 0755) != 0) fail("cannot create directory", path);
}

inline void makeEmptyFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) fail("cannot create file", path);
    ::close(fd);
}

inline bool isComplete(const std::string& root, const std::string& description) {
    std::ifstream stamp(root + "/" + kStampName);
    std::string written;
    return stamp && std::getline(stamp, written) && written == description;
}

// Clears what an earlier, interrupted run left and returns once `make` has filled the root.
template <class Make>
std::string ensure(const std::string& root, const std::string& description, Make make) {
    if (isComplete(root, description)) return root;
    boost::filesystem::remove_all(root);
    boost::filesystem::create_directories(root);
    make(root);
    std::ofstream(root + "/" + kStampName) << description << "\n";
    return root;
}

}  // namespace detail

/// The wide tree of `directories` directories (the root counts as one) under
/// `cacheDir`/wide-<directories>; made when missing. Returns its root.
inline std::string ensureWideTree(const std::string& cacheDir, unsigned directories) {
    const std::string root = cacheDir + "/wide-" + std::to_string(directories);
    const std::string description = "wide v1 " + std::to_string(directories);
    return detail::ensure(root, description, [directories](const std::string& top) {
        detail::Numbers numbers(20240601);
        std::vector<std::string> paths{top};
        paths.reserve(directories);
        const unsigned loopAt = directories / 2;
        // Breadth first: directory `parent` gets its sub-directories before the next one.
        for (size_t parent = 0; parent < paths.size(); ++parent) {
            const std::string here = paths[parent];  // copied: push_back may move it
            const unsigned files = 1 + numbers.below(4);
            for (unsigned f = 0; f < files; ++f)
                detail::makeEmptyFile(here + "/obj" + std::to_string(f) + (f % 2 ? ".so" : ".o"));
            const unsigned children = 2 + numbers.below(8);
            for (unsigned c = 0; c < children && paths.size() < directories; ++c) {
                paths.push_back(here + "/d" + std::to_string(paths.size()));
                detail::makeDirectory(paths.back());
            }
            if (parent == loopAt && ::symlink("../..", (here + "/loop").c_str()) != 0)
                detail::fail("cannot create link", here + "/loop");
        }
        detail::makeEmptyFile(paths.back() + "/" + kDeepHitName);
    });
}

/// The deep tree under `cacheDir`/deep; made when missing. Returns its root.
inline std::string ensureDeepTree(const std::string& cacheDir) {
    const std::string root = cacheDir + "/deep";
    const std::string description = "deep v1 " + std::to_string(kDeepChains);
    return detail::ensure(root, description, [](const std::string& top) {
        for (int chain = 0; chain < kDeepChains; ++chain) {
            const int depth = kDeepMinDepth + (chain * 37) % (kDeepMaxDepth - kDeepMinDepth + 1);
            // Relative calls from the parent's descriptor: no path walk from the root.
            const std::string first = top + "/c" + std::to_string(chain);
            detail::makeDirectory(first);
            int fd = ::open(first.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            if (fd < 0) detail::fail("cannot open", first);
            for (int level = 1; level < depth; ++level) {
                const int file =
                    ::openat(fd, "f.o", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
                if (file < 0) detail::fail("cannot create f.o in", first);
                ::close(file);
                if (::mkdirat(fd, "n", 0755) != 0) detail::fail("cannot create n in", first);
                const int next = ::openat(fd, "n", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                ::close(fd);
                if (next < 0) detail::fail("cannot open n in", first);
                fd = next;
            }
            ::close(fd);
        }
    });
}

/// Number of directories of the deep tree, the root included.
inline unsigned deepTreeDirectories() {
    unsigned total = 1;
    for (int chain = 0; chain < kDeepChains; ++chain)
        total += kDeepMinDepth + (chain * 37) % (kDeepMaxDepth - kDeepMinDepth + 1);
    return total;
}

/// Where the trees live: $FF_BENCH_TREES, else $FF_CACHE_ROOT/bench-trees, else the
/// system's temporary directory.
inline std::string treeCacheDir() {
    if (const char* given = std::getenv("FF_BENCH_TREES"); given && *given) return given;
    if (const char* cache = std::getenv("FF_CACHE_ROOT"); cache && *cache)
        return std::string(cache) + "/bench-trees";
    return (boost::filesystem::temp_directory_path() / "ff-bench-trees").string();
}

}  // namespace ffbench
