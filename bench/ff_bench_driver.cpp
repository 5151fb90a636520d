// ff_bench_driver: the library's side of scripts/compare.sh. Each sub-command does one job
// the way a client of the shared library would, through the public interface only, so
// that it can be timed against the command-line tool a user would run instead:
//
//   ff_bench_driver find-recursive DIR NAME   like: find -L DIR -name NAME [-quit]
//   ff_bench_driver find-recursive-threads N DIR NAME
//                                             the same search on N threads at once, all on
//                                             one IFileSearch
//   ff_bench_driver md5 FILE                  like: md5sum FILE, openssl dgst -md5 FILE
//   ff_bench_driver sha1 FILE                 like: sha1sum FILE, openssl dgst -sha1 FILE
//   ff_bench_driver extract IN OUT            like: zcat IN > OUT (IN: a kernel image)
//   ff_bench_driver unpack IN OUT             like: xz -dc (lz4, zstd, bzip2...) IN > OUT,
//                                             every format (IN: a kernel image)
//   ff_bench_driver make-tree wide ROOTDIR N  makes (once) the wide tree of N directories
//   ff_bench_driver make-tree deep ROOTDIR    makes (once) the deep tree
//   ff_bench_driver make-kernel-image DIR     makes (once) the image and its stream alone
//   ff_bench_driver make-kernel-elf DIR       makes (once) an uncompressed 64 MiB kernel
//
// find-recursive registers DIR as the one recursive search directory of a file-system
// context, switches every step but the directory step off (so that no system directory
// of this machine takes part) and asks findBinFile for NAME: the search stops at the
// first file of that name, as find -quit does, and walks the whole tree on a miss.
// It prints the file found, or nothing; the exit status is 0 either way.
// find-recursive-threads measures what sharing one search costs: its time against one
// search's, and against N processes of find-recursive started at once.
#include <file_finder.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include "kernel_image_generator.h"
#include "tree_generator.h"

using namespace FF_2_13;

namespace {

constexpr char kClientId[] = "ff-bench";

int usage() {
    std::fputs(
        "usage: ff_bench_driver find-recursive DIR NAME | find-recursive-threads N DIR NAME |\n"
        "                       md5 FILE | sha1 FILE |\n"
        "                       extract IN OUT | unpack IN OUT | make-tree wide ROOTDIR N |\n"
        "                       make-tree deep ROOTDIR | make-kernel-image DIR |\n"
        "                       make-kernel-elf DIR\n",
        stderr);
    return 2;
}

ObjectPtr<IFileSearch> recursiveSearch(const char* dir) {
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    ObjectPtr<IResolutionContext> context = mgr->createFileSystemContext(dir, false);
    if (!context) return ObjectPtr<IFileSearch>();

    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, dir, /*recursive=*/true, /*highPriority=*/false);
    mgr->registerSearchDirs(*context, dirs, kClientId);

    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    steps->setStep(static_cast<search_step_t>(0xff), scBinaryFiles, false);
    steps->setStep(ssLowPrioritySearchDirs, scBinaryFiles, true);
    mgr->registerSearchStepsConfigurator(*context, kClientId, steps);

    return mgr->createFileSearch(*context, kClientId, ObjectPtr<IEnvironmentInfo>());
}

int findRecursive(const char* dir, const char* name) {
    ObjectPtr<IFileSearch> search = recursiveSearch(dir);
    if (!search) return usage();
    ObjectPtr<IValidFile> found = search->findBinFile(name, nullptr, nullptr, 0);
    if (found) std::printf("%s\n", found->name());
    return 0;
}

int findRecursiveOnThreads(const char* count, const char* dir, const char* name) {
    const unsigned long threads = std::strtoul(count, nullptr, 10);
    ObjectPtr<IFileSearch> search = recursiveSearch(dir);
    if (!search || threads < 1) return usage();
    std::vector<std::thread> running;
    for (unsigned long i = 0; i < threads; ++i)
        running.emplace_back([&] { search->findBinFile(name, nullptr, nullptr, 0); });
    for (std::thread& thread : running) thread.join();
    return 0;
}

int checksum(const char* file, checksum_type_t type) {
    ObjectPtr<IChecksum> sum = IChecksumCalculator::create()->calculateChecksum(file, type);
    if (!sum) {
        std::fprintf(stderr, "ff_bench_driver: no checksum of %s\n", file);
        return 1;
    }
    std::printf("%s  %s\n", sum->value(), file);
    return 0;
}

int extract(const char* in, const char* out) {
    if (utils::extractVmlinux(in, out)) return 0;
    std::fprintf(stderr, "ff_bench_driver: cannot extract %s\n", in);
    return 1;
}

int unpack(const char* in, const char* out) {
    const KernelUnpackResult result = utils::unpackKernelImage(in, out);
    if (result.status == kuUnpacked) return 0;
    std::fprintf(stderr, "ff_bench_driver: cannot unpack %s: %s\n", in,
                 utils::describeKernelUnpack(result).c_str());
    return 1;
}

int makeTree(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[2], "deep") == 0) {
        std::printf("%s\n", ffbench::ensureDeepTree(argv[3]).c_str());
        return 0;
    }
    if (argc == 5 && std::strcmp(argv[2], "wide") == 0) {
        const unsigned long directories = std::strtoul(argv[4], nullptr, 10);
        if (directories < 2) return usage();
        std::printf("%s\n",
                    ffbench::ensureWideTree(argv[3], static_cast<unsigned>(directories)).c_str());
        return 0;
    }
    return usage();
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 2) return usage();
    const std::string command = argv[1];
    if (command == "find-recursive" && argc == 4) return findRecursive(argv[2], argv[3]);
    if (command == "find-recursive-threads" && argc == 5)
        return findRecursiveOnThreads(argv[2], argv[3], argv[4]);
    if (command == "md5" && argc == 3) return checksum(argv[2], ctMD5);
    if (command == "sha1" && argc == 3) return checksum(argv[2], ctSHA1);
    if (command == "extract" && argc == 4) return extract(argv[2], argv[3]);
    if (command == "unpack" && argc == 4) return unpack(argv[2], argv[3]);
    if (command == "make-tree") return makeTree(argc, argv);
    if (command == "make-kernel-elf" && argc == 3) {
        std::printf("%s\n", ffbench::ensureKernelElf(argv[2]).c_str());
        return 0;
    }
    if (command == "make-kernel-image" && argc == 3) {
        const ffbench::KernelImageFiles made = ffbench::ensureKernelImage(argv[2]);
        std::printf("%s\n%s\n", made.image.c_str(), made.stream.c_str());
        return 0;
    }
    return usage();
} catch (const std::exception& e) {
    std::fprintf(stderr, "ff_bench_driver: %s\n", e.what());
    return 1;
}
