// Eight threads share one IFileSearch made with the module-name option and one identity
// validator: half find a binary by its build-id among copies of other builds, half find
// modules by their recorded names, plain and compressed (unpacked into the cache by
// whichever thread comes first). Every answer must be the right file, whole. Built with
// ThreadSanitizer by ./test.sh (label stress), where any race report fails the run.
//   identity_module_stress [--gtest_repeat=N]
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "compressed_files.h"
#include "ff_identity.h"
#include "ff_search.h"
#include "ff_search_options.h"
#include "ff_searchenv.h"
#include "temp_dir.h"

using namespace FF_2_13;

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 40;
constexpr char kRelease[] = "6.1.0-99-stress";

// A copy of `elf` whose build-id has one byte changed: another build of the same binary.
std::string otherBuild(std::string elf, const std::string& buildIdHex, int which) {
    std::string raw;
    for (size_t i = 0; i + 1 < buildIdHex.size(); i += 2)
        raw.push_back(static_cast<char>(std::stoi(buildIdHex.substr(i, 2), nullptr, 16)));
    const size_t at = elf.find(raw);
    if (at != std::string::npos) elf[at + raw.size() - 1] ^= static_cast<char>(which);
    return elf;
}

TEST(IdentityAndModuleStress, SharedSearchAndValidatorGiveEveryThreadTheRightWholeFile) {
    fftest::TempDir tmp, scratch;
    fftest::ScopedUserDataDir userData(tmp / "data");

    // The binary: this program, which the linker gave a build-id; two other builds first.
    const std::string self = fftest::readFile("/proc/self/exe");
    const std::string selfCopy = tmp.makeFile("tree/d9/libid.so", self);
    ObjectPtr<IFileIdentity> expected = IFileIdentity::readFile(selfCopy.c_str());
    if (expected->buildId()[0] == '\0') GTEST_SKIP() << "this program has no build-id";
    for (int other = 1; other <= 2; ++other)
        tmp.makeFile("tree/d" + std::to_string(other) + "/libid.so",
                     otherBuild(self, expected->buildId(), other));
    BinaryIdentityValidator sameBuild(expected);

    // Modules of the recorded release under a system root, one plain and two compressed.
    const std::string lib = std::string("root/lib/modules/") + kRelease + "/kernel/";
    const std::string hda = fftest::elfLikeFile(30000, 1), ext4 = fftest::elfLikeFile(60000, 2),
                      nf = fftest::elfLikeFile(90000, 3);
    tmp.makeFile(lib + "sound/snd-hda-intel.ko", hda);
    tmp.makeFile(lib + "fs/ext4.ko.zst", fftest::compressWith("zstd -c", ext4, scratch));
    tmp.makeFile(lib + "net/nf_conntrack.ko.xz", fftest::compressWith("xz -c", nf, scratch));
    const struct {
        const char* name;
        const std::string* contents;
    } modules[] = {{"[snd_hda_intel]", &hda}, {"ext4", &ext4}, {"[nf-conntrack]", &nf}};

    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
    info->setKernelRelease(kRelease);
    env->setEnvironmentInfo(info);
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, (tmp / "tree").c_str(), true, false);
    env->setSearchDirs(dirs);
    ObjectPtr<ISearchOptions> options = ISearchOptions::create();
    options->setRecordedKernelNames(true);
    options->setSystemRoot((tmp / "root").c_str());
    ObjectPtr<IFileSearch> search = IFileSearch::create(env, options);

    std::atomic<int> ready{0}, wrong{0}, searches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            ++ready;
            while (ready.load() < kThreads) std::this_thread::yield();  // start together
            for (int round = 0; round < kRounds; ++round) {
                std::string got, want;
                if ((t + round) % 2 == 0) {
                    ObjectPtr<IValidFile> found =
                        search->findBinFile("libid.so", &sameBuild, nullptr, 0);
                    got = found ? found->name() : "nothing";
                    want = selfCopy;
                } else {
                    const auto& module = modules[(t + round) % 3];
                    ObjectPtr<IValidFile> found =
                        search->findBinFile(module.name, nullptr, nullptr, 0);
                    got = found ? fftest::readFile(found->name()) : "nothing";
                    want = *module.contents;
                    if (got != want) got = std::string(module.name) + " not whole";
                }
                ++searches;
                if (got != want) {
                    ++wrong;
                    ADD_FAILURE() << "thread " << t << ": " << got.substr(0, 200);
                }
            }
        });
    for (std::thread& thread : threads) thread.join();
    std::printf("searches: %d, wrong results: %d\n", searches.load(), wrong.load());
    EXPECT_EQ(0, wrong.load());
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
