// The context manager turning a context and its ancestors into a search environment:
// chains 1 to 16 contexts deep, each context holding 1 to 64 registered directory
// containers (4 directories each), the client's callbacks, steps configurator and cache
// directory on the root, an archive directory on every level.
//
// createSearchEnv only collects containers; the merge of their directories is paid when a
// search reads them (CreateSearchEnvAndReadDirs) and, with logging enabled, once more by
// the file search's constructor, which logs the environment (CreateFileSearch).
//
// Every run uses context paths of its own (/ff-bench/<pid>/<run>/...), since the manager
// is a process-wide singleton that never forgets a context.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <vector>

#include "client_callbacks.h"
#include "ff_context.h"

using namespace FF_2_13;

namespace {

constexpr char kClientId[] = "ff-bench";

struct Chain {
    std::vector<ObjectPtr<IResolutionContext>> levels;  // nearest first
    IResolutionContext& nearest() { return *levels.front(); }
};

Chain makeChain(int depth, int containersPerLevel) {
    static std::atomic<int> run{0};
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    const std::string base =
        "/ff-bench/" + std::to_string(::getpid()) + "/" + std::to_string(run++);
    Chain chain;
    for (int level = 0; level < depth; ++level) {
        const std::string path = base + "/level" + std::to_string(depth - level);
        chain.levels.push_back(mgr->createFileSystemContext(path.c_str(), false));
        IResolutionContext& context = *chain.levels.back();
        for (int c = 0; c < containersPerLevel; ++c) {
            ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
            for (int d = 0; d < 4; ++d) {
                const std::string dir = path + "/c" + std::to_string(c) + "/d" + std::to_string(d);
                dirs->addDirectory(d % 2 ? scBinaryFiles : scAllFiles, dir.c_str(), d == 0, c == 0);
            }
            mgr->registerSearchDirs(context, dirs, ("key" + std::to_string(c)).c_str());
        }
        mgr->registerArchiveDir(context, (path + "/archive").c_str());
        if (level > 0) mgr->addInheritance(*chain.levels[level - 1], context);
    }
    IResolutionContext& root = *chain.levels.back();
    ffbench::ClientCallbacks& callbacks = ffbench::clientCallbacks();
    mgr->registerSearchStartedCallback(root, kClientId, &callbacks.searchStarted);
    mgr->registerFilesFoundCallback(root, kClientId, &callbacks.filesFound);
    mgr->registerConfidenceLevelPolicyCallback(root, "", &callbacks.policy);
    mgr->registerSearchStepsConfigurator(root, kClientId, ISearchStepsConfigurator::create());
    mgr->registerCacheDir(root, (base + "/cache").c_str());
    return chain;
}

size_t readDirs(ISearchEnv& env, search_category_t category) {
    ObjectPtr<ISearchDirIterator> it = env.searchDirs(category);
    if (!it) return 0;
    const char* name = nullptr;
    bool recursive = false;
    bool high = false;
    size_t n = 0;
    for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next()) ++n;
    return n;
}

void contextArguments(benchmark::internal::Benchmark* b) {
    b->ArgNames({"depth", "containers"});
    for (int depth : {1, 2, 4, 8, 16})
        for (int containers : {1, 8, 64}) b->Args({depth, containers});
}

void BM_CreateSearchEnv(benchmark::State& state) {
    Chain chain = makeChain(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    for (auto _ : state) {
        ObjectPtr<ISearchEnv> env =
            mgr->createSearchEnv(chain.nearest(), kClientId, ObjectPtr<IEnvironmentInfo>());
        benchmark::DoNotOptimize(env);
    }
}
BENCHMARK(BM_CreateSearchEnv)->Apply(contextArguments);

void BM_CreateSearchEnvAndReadDirs(benchmark::State& state) {
    Chain chain = makeChain(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    size_t dirs = 0;
    for (auto _ : state) {
        ObjectPtr<ISearchEnv> env =
            mgr->createSearchEnv(chain.nearest(), kClientId, ObjectPtr<IEnvironmentInfo>());
        dirs = readDirs(*env, scBinaryFiles) + readDirs(*env, scAllFiles);
        benchmark::DoNotOptimize(dirs);
    }
    state.counters["dirs"] = static_cast<double>(dirs);
}
BENCHMARK(BM_CreateSearchEnvAndReadDirs)->Apply(contextArguments);

void BM_CreateFileSearch(benchmark::State& state) {
    Chain chain = makeChain(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    for (auto _ : state) {
        ObjectPtr<IFileSearch> search =
            mgr->createFileSearch(chain.nearest(), kClientId, ObjectPtr<IEnvironmentInfo>());
        benchmark::DoNotOptimize(search);
    }
}
BENCHMARK(BM_CreateFileSearch)->Apply(contextArguments);

}  // namespace

BENCHMARK_MAIN();
