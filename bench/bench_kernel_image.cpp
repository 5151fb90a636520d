// Kernel image extraction against `zcat`, both writing the kernel to a file.
//
// The image is a gzip stream of about 100 MB (of data that compresses about as well as a
// kernel) behind 16 KiB of boot code; zcat gets the same stream alone. Both run on warm
// input; the output is removed outside the timing. Files are made once
// (kernel_image_generator.h) and kept in $FF_BENCH_DIR (default: the system's temporary
// directory), so later runs start at once. Point FF_BENCH_DIR at a tmpfs to take the disk
// out of the comparison.
//
//   bench_kernel_image --benchmark_repetitions=3
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <boost/filesystem.hpp>
#include <cstdlib>
#include <string>

#include "ff_kernel_image.h"
#include "kernel_image_generator.h"

namespace fs = boost::filesystem;

namespace {

fs::path workDir() {
    const char* chosen = std::getenv("FF_BENCH_DIR");
    return chosen && *chosen ? fs::path(chosen) : fs::temp_directory_path();
}

struct Files {
    fs::path image, stream, output;
};

const Files& files() {
    static const Files made = [] {
        const ffbench::KernelImageFiles input = ffbench::ensureKernelImage(workDir());
        return Files{input.image, input.stream, input.image.parent_path() / "vmlinux"};
    }();
    return made;
}

// Removes the output outside the timing; answers its size.
uintmax_t takeOutput(benchmark::State& state, const Files& f) {
    state.PauseTiming();
    const uintmax_t size = fs::file_size(f.output);
    fs::remove(f.output);
    state.ResumeTiming();
    return size;
}

void report(benchmark::State& state, const Files& f, uintmax_t outputSize) {
    state.SetBytesProcessed(static_cast<int64_t>(outputSize * state.iterations()));
    state.counters["stream_MB"] = static_cast<double>(fs::file_size(f.stream)) / 1e6;
    state.counters["output_MB"] = static_cast<double>(outputSize) / 1e6;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["maxrss_MiB"] = static_cast<double>(usage.ru_maxrss) / 1024;
}

double childCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void BM_ExtractVmlinux(benchmark::State& state) {
    const Files& f = files();
    uintmax_t outputSize = 0;
    for (auto _ : state) {
        if (!FF_2_13::utils::extractVmlinux(f.image.c_str(), f.output.c_str())) {
            state.SkipWithError("extraction failed");
            return;
        }
        outputSize = takeOutput(state, f);
    }
    report(state, f, outputSize);
}
BENCHMARK(BM_ExtractVmlinux)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_ZcatToFile(benchmark::State& state) {
    const Files& f = files();
    const std::string command = "zcat '" + f.stream.string() + "' > '" + f.output.string() + "'";
    uintmax_t outputSize = 0;
    const double childCpuBefore = childCpuSeconds();
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("zcat failed");
            return;
        }
        outputSize = takeOutput(state, f);
    }
    report(state, f, outputSize);
    // zcat's own processor time, which the CPU column (this process's) does not show.
    state.counters["zcat_cpu_ms"] =
        (childCpuSeconds() - childCpuBefore) * 1000 / static_cast<double>(state.iterations());
}
BENCHMARK(BM_ZcatToFile)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
