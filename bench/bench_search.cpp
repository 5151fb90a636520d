// Whole searches through IFileSearch, with the callbacks a client registers:
//   - AbsoluteNameHit: findBinFile of an absolute name that exists, found by the
//     absolute-name step; the goal is at most 20 us warm when no high-priority directory
//     is searched first (with two, the cost of that earlier step shows);
//   - RecursiveHit: the one file of its name, deep in a recursive search directory of
//     1,000 directories;
//   - RecursiveMiss: a name that no directory holds, so the whole tree is walked: 10,000,
//     20,000 and 100,000 directories (the cost per directory must not grow with the
//     tree: the 100,000-directory miss at most 5.5 times the 20,000-directory one, timed
//     in turns by RecursiveMissLinearity) and
//     the deep tree (8 chains of 400 to 500 nested directories).
// The recursive searches run the directory step alone, with the tree as their only
// search directory, so that no system directory of this machine takes part.
//
// Trees are made once by tree_generator.h under $FF_BENCH_TREES (default
// $FF_CACHE_ROOT/bench-trees) and kept. The 100,000-directory tree takes a while to make
// the first time; --benchmark_filter='-100000|Linearity' leaves it out.
#include <benchmark/benchmark.h>

#include <time.h>

#include <boost/filesystem.hpp>
#include <chrono>
#include <fstream>
#include <string>

#include "client_callbacks.h"
#include "ff_context.h"
#include "ff_search.h"
#include "ff_searchenv.h"
#include "tree_generator.h"

using namespace FF_2_13;

namespace {

constexpr char kClientId[] = "ff-bench";

// A search whose only step is the recursive walk of `root`.
ObjectPtr<IFileSearch> recursiveSearch(const std::string& root) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, root.c_str(), true, false);
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    steps->setStep(static_cast<search_step_t>(0xff), scBinaryFiles, false);
    steps->setStep(ssLowPrioritySearchDirs, scBinaryFiles, true);
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    env->setSearchDirs(dirs);
    env->setSearchStepsConfigurator(steps);
    ffbench::ClientCallbacks& callbacks = ffbench::clientCallbacks();
    env->setSearchStartedCallback(CallbackHolder<ISearchStartedCallback>(&callbacks.searchStarted));
    env->setFilesFoundCallback(CallbackHolder<IFilesFoundCallback>(&callbacks.filesFound));
    env->setConfidenceLevelPolicyCallback(
        CallbackHolder<IConfidenceLevelPolicyCallback>(&callbacks.policy));
    return IFileSearch::create(env);
}

void perDirectory(benchmark::State& state, unsigned directories) {
    state.counters["dirs"] = directories;
    state.counters["us_per_dir"] =
        benchmark::Counter(directories / 1e6, benchmark::Counter::kIsIterationInvariantRate |
                                                  benchmark::Counter::kInvert);
}

// A file to find by its absolute name, in a directory of its own.
const std::string& absoluteTarget() {
    static const std::string path = [] {
        const std::string dir = ffbench::treeCacheDir() + "/absolute";
        boost::filesystem::create_directories(dir);
        const std::string file = dir + "/libbench.so.1";
        std::ofstream(file) << "not really a library\n";
        return file;
    }();
    return path;
}

// The way a client gets its search: a context with the client's directories and its
// callbacks. `highPriorityDirs` of the directories are searched before the absolute name
// is looked up (each is tried with every tail of the name, so each costs a few stat calls);
// the others come after it and are not reached.
ObjectPtr<IFileSearch> clientSearch(int highPriorityDirs) {
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    const std::string path = "/ff-bench/search/project" + std::to_string(highPriorityDirs);
    ObjectPtr<IResolutionContext> context = mgr->createFileSystemContext(path.c_str(), false);
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    for (int i = 0; i < 8; ++i)
        dirs->addDirectory(scBinaryFiles, ("/ff-bench/no-such-dir" + std::to_string(i)).c_str(),
                           false, i < highPriorityDirs);
    mgr->registerSearchDirs(*context, dirs, kClientId);
    ffbench::ClientCallbacks& callbacks = ffbench::clientCallbacks();
    mgr->registerSearchStartedCallback(*context, kClientId, &callbacks.searchStarted);
    mgr->registerFilesFoundCallback(*context, kClientId, &callbacks.filesFound);
    mgr->registerConfidenceLevelPolicyCallback(*context, kClientId, &callbacks.policy);
    return mgr->createFileSearch(*context, kClientId, ObjectPtr<IEnvironmentInfo>());
}

// range(0): how many of the client's directories are high-priority ones.
void BM_AbsoluteNameHit(benchmark::State& state) {
    const std::string& target = absoluteTarget();
    ObjectPtr<IFileSearch> search = clientSearch(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        ObjectPtr<IValidFile> found = search->findBinFile(target.c_str(), nullptr, nullptr, 0);
        if (!found) state.SkipWithError("the file was not found");
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_AbsoluteNameHit)
    ->ArgName("high_priority_dirs")
    ->Arg(0)
    ->Arg(2)
    ->Unit(benchmark::kMicrosecond);

void BM_RecursiveHit(benchmark::State& state) {
    const std::string root = ffbench::ensureWideTree(ffbench::treeCacheDir(), 1000);
    ObjectPtr<IFileSearch> search = recursiveSearch(root);
    for (auto _ : state) {
        ObjectPtr<IValidFile> found =
            search->findBinFile(ffbench::kDeepHitName, nullptr, nullptr, 0);
        if (!found) state.SkipWithError("the file was not found");
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_RecursiveHit)->Unit(benchmark::kMicrosecond);

void BM_RecursiveMiss(benchmark::State& state) {
    const unsigned directories = static_cast<unsigned>(state.range(0));
    const std::string root = ffbench::ensureWideTree(ffbench::treeCacheDir(), directories);
    ObjectPtr<IFileSearch> search = recursiveSearch(root);
    search->findBinFile(ffbench::kMissName, nullptr, nullptr, 0);  // warm the caches
    for (auto _ : state) {
        ObjectPtr<IValidFile> found = search->findBinFile(ffbench::kMissName, nullptr, nullptr, 0);
        if (found) state.SkipWithError("a file was found");
    }
    perDirectory(state, directories);
}
BENCHMARK(BM_RecursiveMiss)
    ->Arg(10000)
    ->Arg(20000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

double threadCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// The 20,000- and the 100,000-directory miss in turns, each timed on its own, so that
// other work on the machine weighs on both alike: wall_ratio and cpu_ratio (the thread's
// processor time) of the larger against the smaller, at most 5.5 for a cost linear in the
// directories.
void BM_RecursiveMissLinearity(benchmark::State& state) {
    const std::string cache = ffbench::treeCacheDir();
    ObjectPtr<IFileSearch> small = recursiveSearch(ffbench::ensureWideTree(cache, 20000));
    ObjectPtr<IFileSearch> large = recursiveSearch(ffbench::ensureWideTree(cache, 100000));
    double wall[2] = {0, 0};
    double cpu[2] = {0, 0};
    for (auto _ : state) {
        int i = 0;
        for (IFileSearch* search : {small.get(), large.get()}) {
            const double cpuBefore = threadCpuSeconds();
            const auto start = std::chrono::steady_clock::now();
            if (search->findBinFile(ffbench::kMissName, nullptr, nullptr, 0))
                state.SkipWithError("a file was found");
            wall[i] +=
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            cpu[i++] += threadCpuSeconds() - cpuBefore;
        }
    }
    state.counters["wall_ratio"] = wall[1] / wall[0];
    state.counters["cpu_ratio"] = cpu[1] / cpu[0];
}
BENCHMARK(BM_RecursiveMissLinearity)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(10.0);

void BM_RecursiveMissDeepTree(benchmark::State& state) {
    const std::string root = ffbench::ensureDeepTree(ffbench::treeCacheDir());
    ObjectPtr<IFileSearch> search = recursiveSearch(root);
    search->findBinFile(ffbench::kMissName, nullptr, nullptr, 0);
    for (auto _ : state) {
        ObjectPtr<IValidFile> found = search->findBinFile(ffbench::kMissName, nullptr, nullptr, 0);
        if (found) state.SkipWithError("a file was found");
    }
    perDirectory(state, ffbench::deepTreeDirectories());
}
BENCHMARK(BM_RecursiveMissDeepTree)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
