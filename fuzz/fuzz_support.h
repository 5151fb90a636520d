// What the fuzzers share: a scratch directory of the process for the files an input is
// written to, and FUZZ_CHECK, which turns a broken property into a crash that libFuzzer
// records together with the input that caused it.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#define FUZZ_CHECK(condition, what)                                                          \
    do {                                                                                     \
        if (!(condition)) {                                                                  \
            std::fprintf(stderr, "property broken: %s (%s:%d)\n", what, __FILE__, __LINE__); \
            std::abort();                                                                    \
        }                                                                                    \
    } while (0)

namespace fffuzz {

namespace fs = std::filesystem;

/// A directory of this process under $TMPDIR (or /tmp), made on first use and removed
/// with everything in it when the process exits normally.
inline const std::string& scratchDir() {
    struct Scratch {
        Scratch() {
            std::string pattern = (fs::temp_directory_path() / "fffuzz-XXXXXX").string();
            if (!::mkdtemp(pattern.data())) {
                std::perror("fffuzz: mkdtemp");
                std::abort();
            }
            path = pattern;
        }
        ~Scratch() {
            std::error_code ignored;  // nothing to do about a leftover at exit
            fs::remove_all(path, ignored);
        }
        std::string path;
    };
    static Scratch scratch;
    return scratch.path;
}

/// scratchDir() + "/" + name.
inline std::string scratchPath(const std::string& name) {
    return scratchDir() + "/" + name;
}

/// Writes the bytes to scratchPath(name), replacing the file; returns the path.
inline std::string writeScratchFile(const std::string& name, const uint8_t* data, size_t size) {
    const std::string path = scratchPath(name);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    out.close();
    FUZZ_CHECK(!out.fail(), "the scratch file could not be written");
    return path;
}

/// The first `size` bytes of scratchPath(name).
inline std::string readScratchFile(const std::string& name, size_t size = 16) {
    std::ifstream in(scratchPath(name), std::ios::binary);
    std::string bytes(size, '\0');
    in.read(&bytes[0], static_cast<std::streamsize>(size));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

/// The names in the scratch directory, sorted.
inline std::vector<std::string> scratchEntries() {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(scratchDir()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

/// Empties the scratch directory, so that one input never sees another's files.
inline void clearScratch() {
    for (const fs::directory_entry& entry : fs::directory_iterator(scratchDir()))
        fs::remove_all(entry.path());
}

/// The whole file as bytes; "" when it cannot be read.
inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace fffuzz
