// Searches for kernels and modules with the search options on, in a system tree made
// under a temporary system root: never this machine's /lib/modules or /boot.
#include <gtest/gtest.h>

#include <boost/filesystem.hpp>
#include <thread>
#include <vector>

#include "callback_doubles.h"
#include "compressed_files.h"
#include "ff_search.h"
#include "ff_searchenv.h"
#include "temp_dir.h"

using namespace FF_2_13;
using fftest::readFile;

namespace {

constexpr char kRelease[] = "6.1.0-99-test";

class KernelSearch : public ::testing::Test {
protected:
    KernelSearch() : env(IEditableSearchEnv::create()), options(ISearchOptions::create()) {
        ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
        info->setKernelRelease(kRelease);
        env->setEnvironmentInfo(info);
        env->setNoFilesFoundCallback(&rejections);
        options->setRecordedKernelNames(true);
        options->setUnpackedKernelsOnly(true);
        options->setSystemRoot(root.c_str());
    }
    std::string makeFile(const std::string& path, const std::string& contents) {
        return tmp.makeFile("root" + path, contents);
    }
    std::string compressed(const char* tool, const std::string& contents) {
        return fftest::compressWith(tool, contents, scratch);
    }
    std::string findBin(const ObjectPtr<IFileSearch>& search, const char* name) {
        ObjectPtr<IValidFile> found = search->findBinFile(name, nullptr, nullptr, 0);
        return found ? found->name() : "";
    }

    fftest::TempDir tmp, scratch, userData;
    fftest::ScopedUserDataDir userDataDir{userData.path()};
    const std::string root = tmp / "root";
    const std::string lib = std::string("/lib/modules/") + kRelease;
    const std::string debug = std::string("/usr/lib/debug/lib/modules/") + kRelease;
    fftest::NoFilesCallback rejections;
    ObjectPtr<IEditableSearchEnv> env;
    ObjectPtr<ISearchOptions> options;
};

TEST_F(KernelSearch, ModulesAndTheKernelByTheirRecordedNames) {
    const std::string module = fftest::elfLikeFile(5000, 1);
    const std::string kernel = fftest::elfLikeFile(50000, 2);
    const std::string hda = makeFile(lib + "/kernel/sound/pci/hda/snd-hda-intel.ko", module);
    makeFile(lib + "/updates/fs/ext4.ko.xz", compressed("xz -c", module + "ext4"));
    makeFile(lib + "/extra/nf_conntrack.ko.zst", compressed("zstd -c", module + "nf"));
    makeFile(std::string("/boot/vmlinuz-") + kRelease, compressed("lz4 -l -c", kernel));
    const std::string debugHda = makeFile(debug + "/kernel/sound/snd-hda-intel.ko", module);
    const std::string debugKernel =
        makeFile(std::string("/usr/lib/debug/boot/vmlinux-") + kRelease, kernel);

    ObjectPtr<IFileSearch> search = IFileSearch::create(env, options);
    for (const char* name : {"snd_hda_intel", "[snd_hda_intel]", "snd-hda-intel.ko.xz"})
        EXPECT_EQ(findBin(search, name), hda) << name;
    // Compressed modules and kernels come unpacked, from the cache.
    const struct {
        const char* name;
        std::string contents;
        const char* cached;
    } unpacked[] = {{"ext4", module + "ext4", "/ext4.ko"},
                    {"[nf-conntrack]", module + "nf", "/nf_conntrack.ko"},
                    {"vmlinux", kernel, "/vmlinux"},
                    {"[kernel.kallsyms]", kernel, "/vmlinux"}};
    for (const auto& u : unpacked) {
        const std::string found = findBin(search, u.name);
        EXPECT_EQ(found.compare(0, userData.path().size(), userData.path()), 0) << found;
        EXPECT_EQ(found.substr(found.rfind('/')), u.cached);
        EXPECT_TRUE(readFile(found) == u.contents) << u.name;
    }
    // Symbol files: the debug tree of the release, and the debug kernel.
    ObjectPtr<IValidFile> sym = search->findSymFile("snd_hda_intel", hda.c_str(), nullptr, nullptr,
                                                    nullptr, nullptr, nullptr);
    ASSERT_TRUE(sym);
    EXPECT_EQ(sym->name(), debugHda);
    sym = search->findSymFile("[kernel.kallsyms]", "/x/vmlinux", nullptr, nullptr, nullptr, nullptr,
                              nullptr);
    ASSERT_TRUE(sym);
    EXPECT_EQ(sym->name(), debugKernel);

    // Without options: the names as given, this machine's root.
    ObjectPtr<IFileSearch> plain = IFileSearch::create(env);
    for (const char* name : {"snd_hda_intel", "[kernel.kallsyms]", "ext4"})
        EXPECT_EQ(findBin(plain, name), "") << name;
}

TEST_F(KernelSearch, AnImageThatCannotBeUnpackedIsRejectedWithTheReason) {
    const std::string stream = compressed("xz -c", fftest::elfLikeFile(50000));
    const std::string image =
        makeFile(std::string("/boot/vmlinuz-") + kRelease, stream.substr(0, stream.size() / 2));
    // A gzip header, then a deflate block of the reserved type 3.
    const std::string module = makeFile(lib + "/kernel/bad.ko.gz",
                                        std::string("\x1F\x8B\x08\0\0\0\0\0\0\x03\x07junk", 15));
    ObjectPtr<IFileSearch> search = IFileSearch::create(env, options);
    EXPECT_EQ(findBin(search, "vmlinux"), "");
    EXPECT_EQ(rejections.invalid,
              std::vector<std::string>{image + ": cannot be unpacked: truncated xz stream"});
    EXPECT_EQ(findBin(search, "bad"), "");
    EXPECT_EQ(rejections.invalid.back(), module + ": cannot be unpacked: corrupt gzip stream");
    // An ELF kernel named vmlinuz, as some architectures boot it, is a kernel as it is.
    makeFile(std::string("/boot/vmlinuz-") + kRelease, fftest::elfLikeFile(5000));
    EXPECT_EQ(findBin(search, "vmlinux"), image);
}

// Every compression of modules, damaged each way: a miss whose rejection says why, and
// nothing left in the cache or beside the module.
TEST_F(KernelSearch, DamagedModulesOfEveryCompressionAreMissesWithTheReason) {
    const std::string module = fftest::elfLikeFile(20000);
    // The compressions modules come in.
    const char* tools[][2] = {{"gz", "gzip -nc"}, {"xz", "xz -c"}, {"zst", "zstd -c"}};
    std::vector<std::pair<std::string, std::string>> damaged;  // extension, contents
    for (const auto& tool : tools) {
        const std::string stream = compressed(tool[1], module);
        std::string flipped = stream;
        flipped[stream.size() / 2] ^= 0x01;
        damaged.insert(
            damaged.end(),
            {{tool[0], stream.substr(0, stream.size() / 2)}, {tool[0], flipped}, {tool[0], ""}});
    }
    damaged.push_back({"gz", std::string("\x1F\x8B\x08\x04\0\0\0\0\0\x03\xFF\xFF", 12) + "short"});
    damaged.push_back({"zst", std::string("\x28\xB5\x2F\xFD\x00\xA8", 6) + module});

    ObjectPtr<IFileSearch> search = IFileSearch::create(env, options);
    for (size_t i = 0; i < damaged.size(); ++i) {
        const std::string name = "m" + std::to_string(i);
        SCOPED_TRACE(name + ".ko." + damaged[i].first);
        const std::string path =
            makeFile(lib + "/kernel/" + name + ".ko." + damaged[i].first, damaged[i].second);
        const size_t before = rejections.invalid.size();
        EXPECT_EQ(findBin(search, name.c_str()), "");
        ASSERT_EQ(rejections.invalid.size(), before + 1);
        EXPECT_EQ(rejections.invalid.back().find(path + ": cannot be unpacked: "), 0u)
            << rejections.invalid.back();
    }
    EXPECT_EQ(fftest::entryNames(root + lib + "/kernel").size(), damaged.size());
    for (boost::filesystem::recursive_directory_iterator it(userData.path()), end; it != end; ++it)
        EXPECT_FALSE(boost::filesystem::is_regular_file(it->path())) << it->path();
}

// One search shared by threads that all find the same compressed module at once: each
// gets the whole unpacked file, whoever unpacked it.
TEST_F(KernelSearch, ThreadsUnpackingOneModuleAllGetItWhole) {
    const std::string module = fftest::elfLikeFile(300000);
    makeFile(lib + "/kernel/fs/ext4.ko.zst", compressed("zstd -c", module));
    ObjectPtr<IFileSearch> search = IFileSearch::create(env, options);
    std::vector<std::string> found(4);
    std::vector<std::thread> threads;
    for (std::string& path : found) threads.emplace_back([&] { path = findBin(search, "ext4"); });
    for (std::thread& thread : threads) thread.join();
    for (const std::string& path : found) EXPECT_TRUE(readFile(path) == module) << path;
}

TEST_F(KernelSearch, ASearchKeepsTheOptionsItWasMadeWith) {
    const std::string hda = makeFile(lib + "/kernel/snd-hda-intel.ko", fftest::elfLikeFile(5000));
    ObjectPtr<IFileSearch> search = IFileSearch::create(env, options);
    options->setRecordedKernelNames(false);
    options->setSystemRoot("/");
    EXPECT_EQ(findBin(search, "snd_hda_intel"), hda);
    EXPECT_EQ(findBin(IFileSearch::create(env, options), "snd_hda_intel"), "");
}

}  // namespace
