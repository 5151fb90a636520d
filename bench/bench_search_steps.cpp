// The search steps: the iterator a search takes from its configurator (one per request)
// and walks, and the step names of the trace lines.
#include <benchmark/benchmark.h>

#include "ff_search_steps.h"

using namespace FF_2_13;

namespace {

void BM_StepsIteratorDefault(benchmark::State& state) {
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    for (auto _ : state) {
        ObjectPtr<ISearchStepsIterator> it = steps->getSearchStepsIterator(scBinaryFiles, 0);
        search_step_t step;
        unsigned sum = 0;
        for (it->reset(); it->current(step); it->next()) sum += step;
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_StepsIteratorDefault);

void BM_StepsIteratorAllSteps(benchmark::State& state) {
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    steps->setStep(static_cast<search_step_t>(0xff), scSymbolFiles, true);
    for (auto _ : state) {
        ObjectPtr<ISearchStepsIterator> it = steps->getSearchStepsIterator(scSymbolFiles, 0);
        search_step_t step;
        unsigned sum = 0;
        for (it->reset(); it->current(step); it->next()) sum += step;
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_StepsIteratorAllSteps);

void BM_StepName(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(dump(ssLowPrioritySearchDirs));
}
BENCHMARK(BM_StepName);

}  // namespace

BENCHMARK_MAIN();
