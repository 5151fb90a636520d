// Search directory lists: adding 10 to 10,000 directories to one list (each add
// canonicalises the name and looks it up in the list's index), and the merge of a chain
// of containers, which a search reads several times (made again only after a change).
//
//   bench_searchdirs --benchmark_filter=Chain
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "ff_searchdirs.h"
#include "config/search_dir_lists.h"

using namespace FF_2_13;

namespace {

// Distinct directories, spelled as users register them (some with a trailing separator).
std::vector<std::string> directoryNames(int count, const std::string& prefix = "/opt/project") {
    std::vector<std::string> names;
    names.reserve(count);
    for (int i = 0; i < count; ++i)
        names.push_back(prefix + "/module" + std::to_string(i) + (i % 3 ? "/lib" : "/lib/"));
    return names;
}

size_t countRecords(ISearchDirIterator& it) {
    const char* name = nullptr;
    bool recursive = false;
    bool high = false;
    size_t n = 0;
    for (it.reset(); it.getCurrentRecord(name, recursive, high); it.next()) ++n;
    return n;
}

void BM_FilteredDirListAdd(benchmark::State& state) {
    const std::vector<std::string> names = directoryNames(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        ObjectPtr<FilteredDirList> list(new FilteredDirList());
        for (const std::string& name : names) list->add(name.c_str(), true, false);
        benchmark::DoNotOptimize(list);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_FilteredDirListAdd)->RangeMultiplier(10)->Range(10, 10000);

// Every name a second time, with other flags: the duplicate path (lookup, flags OR-ed).
void BM_FilteredDirListAddDuplicates(benchmark::State& state) {
    const std::vector<std::string> names = directoryNames(static_cast<int>(state.range(0)));
    ObjectPtr<FilteredDirList> list(new FilteredDirList());
    for (const std::string& name : names) list->add(name.c_str(), false, false);
    for (auto _ : state)
        for (const std::string& name : names) list->add(name.c_str(), true, true);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_FilteredDirListAddDuplicates)->RangeMultiplier(10)->Range(10, 10000);

void BM_ContainerAddDirectory(benchmark::State& state) {
    const std::vector<std::string> names = directoryNames(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
        for (const std::string& name : names)
            dirs->addDirectory(scSymbolFiles, name.c_str(), true, false);
        benchmark::DoNotOptimize(dirs);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ContainerAddDirectory)->RangeMultiplier(10)->Range(10, 10000);

// enumerate() of a container that did not change: the records are shared, not copied.
void BM_ContainerEnumerate(benchmark::State& state) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    for (const std::string& name : directoryNames(static_cast<int>(state.range(0))))
        dirs->addDirectory(scSymbolFiles, name.c_str(), true, false);
    for (auto _ : state) {
        ObjectPtr<ISearchDirIterator> it = dirs->enumerate(scSymbolFiles);
        benchmark::DoNotOptimize(countRecords(*it));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ContainerEnumerate)->RangeMultiplier(10)->Range(10, 10000);

// A chain of four containers holding `total` directories between them, half of each
// container's directories also in the one before (so the merge meets duplicates), and a
// fifth, small container that the benchmark may change.
ObjectPtr<ISearchDirChain> chainOf(int total, ObjectPtr<IEditableSearchDirContainer>& changing) {
    const int perContainer = total / 4 > 0 ? total / 4 : 1;
    ObjectPtr<ISearchDirChain> chain = ISearchDirChain::create();
    const std::vector<std::string> names = directoryNames(total + perContainer);
    for (int c = 0; c < 4; ++c) {
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
        const int first = c * perContainer - (c ? perContainer / 2 : 0);
        for (int i = 0; i < perContainer + (c ? perContainer / 2 : 0); ++i)
            dirs->addDirectory(scSymbolFiles, names[first + i].c_str(), c % 2 == 0, c == 0);
        chain->addItem(dirs);
    }
    changing = IEditableSearchDirContainer::create();
    chain->addItem(changing);
    return chain;
}

// The chain read whole, as a search reads it, while no member changes: the merge is made
// once and shared.
void BM_ChainMerge(benchmark::State& state) {
    ObjectPtr<IEditableSearchDirContainer> changing;
    ObjectPtr<ISearchDirChain> chain = chainOf(static_cast<int>(state.range(0)), changing);
    size_t merged = 0;
    for (auto _ : state) {
        ObjectPtr<ISearchDirIterator> it = chain->enumerate(scSymbolFiles);
        merged = countRecords(*it);
        benchmark::DoNotOptimize(merged);
    }
    state.counters["merged_dirs"] = static_cast<double>(merged);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(merged));
}
BENCHMARK(BM_ChainMerge)->RangeMultiplier(10)->Range(10, 10000);

// The same, with one member changed before each read: every read merges anew.
void BM_ChainMergeAfterChange(benchmark::State& state) {
    ObjectPtr<IEditableSearchDirContainer> changing;
    ObjectPtr<ISearchDirChain> chain = chainOf(static_cast<int>(state.range(0)), changing);
    size_t merged = 0;
    bool add = true;
    for (auto _ : state) {
        if (add)
            changing->addDirectory(scSymbolFiles, "/opt/changing", false, false);
        else
            changing->clear(scSymbolFiles);
        add = !add;
        ObjectPtr<ISearchDirIterator> it = chain->enumerate(scSymbolFiles);
        merged = countRecords(*it);
        benchmark::DoNotOptimize(merged);
    }
    state.counters["merged_dirs"] = static_cast<double>(merged);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(merged));
}
BENCHMARK(BM_ChainMergeAfterChange)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace

BENCHMARK_MAIN();
