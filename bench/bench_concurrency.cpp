// Searches on 1, 2, 4 and 8 threads at once:
//   - SharedFileSearchFullWalk: every thread runs misses over the 10,000-directory tree
//     on one IFileSearch. One search's wall time on two threads should be at most 1.15
//     times its time on one: the library itself must make the threads wait for nothing.
//   - SeparateFileSearchesFullWalk: the same, each thread with a search and environment of
//     its own: what the machine and the kernel allow; the shared search should do as well.
//   - SharedContextManager: every thread asks the one context manager for a search on one
//     context (createFileSearch) and runs a hit by absolute name with it.
// Each thread measures its own searches: latency_ms (wall) and cpu_ms (the thread's
// processor time) are per search, averaged over the threads. On a machine with fewer
// cores than threads the wall time grows with the threads while the processor time
// should not.
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

double threadCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// Times each search of this thread; reports the means when the thread is done.
class PerSearchClock {
public:
    template <class Search>
    void time(Search search) {
        const double cpu = threadCpuSeconds();
        const auto start = std::chrono::steady_clock::now();
        search();
        m_wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        m_cpu += threadCpuSeconds() - cpu;
        ++m_searches;
    }
    void report(benchmark::State& state) const {
        if (m_searches == 0) return;
        state.counters["latency_ms"] =
            benchmark::Counter(m_wall * 1e3 / m_searches, benchmark::Counter::kAvgThreads);
        state.counters["cpu_ms"] =
            benchmark::Counter(m_cpu * 1e3 / m_searches, benchmark::Counter::kAvgThreads);
    }

private:
    double m_wall = 0;
    double m_cpu = 0;
    long m_searches = 0;
};

ObjectPtr<IFileSearch> treeSearch() {
    const std::string root = ffbench::ensureWideTree(ffbench::treeCacheDir(), 10000);
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
    return IFileSearch::create(env);
}

ObjectPtr<IFileSearch> sharedTreeSearch() {
    static const ObjectPtr<IFileSearch> search = [] {
        ObjectPtr<IFileSearch> made = treeSearch();
        made->findBinFile(ffbench::kMissName, nullptr, nullptr, 0);  // warm the caches
        return made;
    }();
    return search;
}

void BM_SharedFileSearchFullWalk(benchmark::State& state) {
    ObjectPtr<IFileSearch> search = sharedTreeSearch();
    PerSearchClock clock;
    for (auto _ : state)
        clock.time([&] {
            benchmark::DoNotOptimize(search->findBinFile(ffbench::kMissName, nullptr, nullptr, 0));
        });
    clock.report(state);
}
BENCHMARK(BM_SharedFileSearchFullWalk)
    ->ThreadRange(1, 8)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(1.0)
    ->Repetitions(3)  // the median of three: other work on the machine comes and goes
    ->ReportAggregatesOnly(true);

void BM_SeparateFileSearchesFullWalk(benchmark::State& state) {
    sharedTreeSearch();  // the tree made and warm
    ObjectPtr<IFileSearch> search = treeSearch();
    PerSearchClock clock;
    for (auto _ : state)
        clock.time([&] {
            benchmark::DoNotOptimize(search->findBinFile(ffbench::kMissName, nullptr, nullptr, 0));
        });
    clock.report(state);
}
BENCHMARK(BM_SeparateFileSearchesFullWalk)
    ->ThreadRange(1, 8)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(1.0)
    ->Repetitions(3)  // the median of three: other work on the machine comes and goes
    ->ReportAggregatesOnly(true);

struct SharedContext {
    ObjectPtr<IResolutionContext> context;
    std::string target;
};

const SharedContext& sharedContext() {
    static const SharedContext shared = [] {
        const std::string dir = ffbench::treeCacheDir() + "/absolute";
        boost::filesystem::create_directories(dir);
        SharedContext made{ObjectPtr<IResolutionContext>(), dir + "/libbench.so.1"};
        std::ofstream(made.target) << "not really a library\n";
        ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
        ObjectPtr<IResolutionContext> user = mgr->createFileSystemContext("/ff-bench/user", false);
        made.context = mgr->createFileSystemContext("/ff-bench/user/result", false);
        mgr->addInheritance(*made.context, *user);
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
        dirs->addDirectory(scBinaryFiles, "/ff-bench/no-such-dir", false, false);
        mgr->registerSearchDirs(*user, dirs, kClientId);
        ffbench::ClientCallbacks& callbacks = ffbench::clientCallbacks();
        mgr->registerSearchStartedCallback(*user, kClientId, &callbacks.searchStarted);
        mgr->registerFilesFoundCallback(*user, kClientId, &callbacks.filesFound);
        mgr->registerConfidenceLevelPolicyCallback(*user, "", &callbacks.policy);
        return made;
    }();
    return shared;
}

void BM_SharedContextManager(benchmark::State& state) {
    const SharedContext& shared = sharedContext();
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    PerSearchClock clock;
    for (auto _ : state) {
        clock.time([&] {
            ObjectPtr<IFileSearch> search =
                mgr->createFileSearch(*shared.context, kClientId, ObjectPtr<IEnvironmentInfo>());
            ObjectPtr<IValidFile> found =
                search->findBinFile(shared.target.c_str(), nullptr, nullptr, 0);
            if (!found) state.SkipWithError("the file was not found");
        });
    }
    clock.report(state);
}
BENCHMARK(BM_SharedContextManager)
    ->ThreadRange(1, 8)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime()
    ->MinTime(1.0);

}  // namespace

BENCHMARK_MAIN();
