// Canonical names and the name helpers of ff_utils.h: every candidate, every search
// directory and every context id passes through them, so their cost is paid per
// directory entered and per directory registered.
//
//   bench_names --benchmark_filter=Canonical
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "ff_utils.h"

namespace utils = FF_2_13::utils;

namespace {

// The shapes of names the library meets: recorded absolute paths, names with "." and
// ".." elements, names of another system, directories with a trailing separator.
const std::vector<std::string>& sampleNames() {
    static const std::vector<std::string> names{
        "/usr/lib/x86_64-linux-gnu/libstdc++.so.6.0.30",
        "/opt/app//lib/./plugins/../libcore.so.2",
        "C:\\Program Files\\App\\bin\\app.pdb",
        "\\\\build-server\\symbols\\app\\1.2.3\\app.pdb",
        "/home/user/projects/profiler/results/r001/binaries/",
        "libm.so.6",
    };
    return names;
}

template <class Function>
void overSamples(benchmark::State& state, Function function) {
    const std::vector<std::string>& names = sampleNames();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(function(names[i].c_str()));
        if (++i == names.size()) i = 0;
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_GetCanonicalName(benchmark::State& state) {
    overSamples(state, [](const char* n) { return utils::getCanonicalName(n, false); });
}
BENCHMARK(BM_GetCanonicalName);

void BM_GetCanonicalNameAlreadyCanonical(benchmark::State& state) {
    const char* name = "/usr/lib/x86_64-linux-gnu/libstdc++.so.6.0.30";
    for (auto _ : state) benchmark::DoNotOptimize(utils::getCanonicalName(name, true));
}
BENCHMARK(BM_GetCanonicalNameAlreadyCanonical);

void BM_CompareCanonicalFileNames(benchmark::State& state) {
    const std::string a = "/usr/lib/x86_64-linux-gnu/libstdc++.so.6.0.30";
    const std::string b = "/usr/lib/x86_64-linux-gnu/libstdc++.so.6.0.31";
    for (auto _ : state)
        benchmark::DoNotOptimize(utils::compareCanonicalFileNames(a.c_str(), b.c_str()));
}
BENCHMARK(BM_CompareCanonicalFileNames);

void BM_GetFileNameOnly(benchmark::State& state) {
    overSamples(state, [](const char* n) { return utils::getFileNameOnly(n); });
}
BENCHMARK(BM_GetFileNameOnly);

void BM_GetFileNamePath(benchmark::State& state) {
    overSamples(state, [](const char* n) { return utils::getFileNamePath(n); });
}
BENCHMARK(BM_GetFileNamePath);

void BM_GetFileNameBase(benchmark::State& state) {
    overSamples(state, [](const char* n) { return utils::getFileNameBase(n); });
}
BENCHMARK(BM_GetFileNameBase);

void BM_GetFileNameExtension(benchmark::State& state) {
    overSamples(state, [](const char* n) { return utils::getFileNameExtension(n); });
}
BENCHMARK(BM_GetFileNameExtension);

void BM_ChangeFileNameExtension(benchmark::State& state) {
    overSamples(state, [](const char* n) { return utils::changeFileNameExtension(n, ".debug"); });
}
BENCHMARK(BM_ChangeFileNameExtension);

void BM_AddSubPart(benchmark::State& state) {
    overSamples(state, [](const char* n) { return utils::addSubPart(n, "libm.so.6"); });
}
BENCHMARK(BM_AddSubPart);

void BM_IsAbsolutePath(benchmark::State& state) {
    overSamples(state, [](const char* n) { return utils::isAbsolutePath(n); });
}
BENCHMARK(BM_IsAbsolutePath);

}  // namespace

BENCHMARK_MAIN();
