// The search history with 100,000 entries: adding them one by one (each add replaces or
// inserts under the history's exclusive lock) and looking them up, binary associations
// (one name) and symbol associations (name, binary and checksum compared).
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "ff_history.h"

using namespace FF_2_13;

namespace {

constexpr int kEntries = 100000;

struct Request {
    std::string file, binary, checksum, resolved;
};

// Names as a profiler records them: many files in few directories, many symbol files
// for a handful of binaries.
const std::vector<Request>& requests() {
    static const std::vector<Request> all = [] {
        std::vector<Request> made;
        made.reserve(kEntries);
        for (int i = 0; i < kEntries; ++i) {
            const std::string dir = "/usr/lib/app/module" + std::to_string(i % 97);
            made.push_back(Request{dir + "/lib" + std::to_string(i) + ".so",
                                   "/usr/bin/app" + std::to_string(i % 7),
                                   std::to_string(1000003u * static_cast<unsigned>(i)),
                                   "/mnt/symbols" + dir + "/lib" + std::to_string(i) + ".so"});
        }
        return made;
    }();
    return all;
}

void BM_HistoryAddBin(benchmark::State& state) {
    const std::vector<Request>& all = requests();
    for (auto _ : state) {
        ObjectPtr<ISearchHistory> history = ISearchHistory::create();
        for (const Request& r : all)
            history->addBinFileAssociation(r.file.c_str(), r.resolved.c_str());
        benchmark::DoNotOptimize(history);
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
    state.counters["ns_per_add"] =
        benchmark::Counter(kEntries / 1e9, benchmark::Counter::kIsIterationInvariantRate |
                                               benchmark::Counter::kInvert);
}
BENCHMARK(BM_HistoryAddBin)->Unit(benchmark::kMillisecond);

void BM_HistoryAddSym(benchmark::State& state) {
    const std::vector<Request>& all = requests();
    for (auto _ : state) {
        ObjectPtr<ISearchHistory> history = ISearchHistory::create();
        for (const Request& r : all)
            history->addSymFileAssociation(r.file.c_str(), r.binary.c_str(), r.checksum.c_str(),
                                           r.resolved.c_str());
        benchmark::DoNotOptimize(history);
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
    state.counters["ns_per_add"] =
        benchmark::Counter(kEntries / 1e9, benchmark::Counter::kIsIterationInvariantRate |
                                               benchmark::Counter::kInvert);
}
BENCHMARK(BM_HistoryAddSym)->Unit(benchmark::kMillisecond);

ObjectPtr<ISearchHistory> fullHistory() {
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    for (const Request& r : requests()) {
        history->addBinFileAssociation(r.file.c_str(), r.resolved.c_str());
        history->addSymFileAssociation(r.file.c_str(), r.binary.c_str(), r.checksum.c_str(),
                                       r.resolved.c_str());
    }
    return history;
}

// Lookups in a scattered order, as requests come.
void BM_HistoryFindBin(benchmark::State& state) {
    ObjectPtr<ISearchHistory> history = fullHistory();
    const std::vector<Request>& all = requests();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(history->findBinFileAssociation(all[i].file.c_str()));
        i = (i + 7919) % all.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_HistoryFindBin);

void BM_HistoryFindSym(benchmark::State& state) {
    ObjectPtr<ISearchHistory> history = fullHistory();
    const std::vector<Request>& all = requests();
    size_t i = 0;
    for (auto _ : state) {
        const Request& r = all[i];
        benchmark::DoNotOptimize(
            history->findSymFileAssociation(r.file.c_str(), r.binary.c_str(), r.checksum.c_str()));
        i = (i + 7919) % all.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_HistoryFindSym);

void BM_HistoryFindMiss(benchmark::State& state) {
    ObjectPtr<ISearchHistory> history = fullHistory();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            history->findBinFileAssociation("/usr/lib/app/module5/libnone.so"));
}
BENCHMARK(BM_HistoryFindMiss);

}  // namespace

BENCHMARK_MAIN();
