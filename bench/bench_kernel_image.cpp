// Kernel image extraction against `zcat`, both writing the kernel to a file.
//
// The image is a gzip stream of about 100 MB (of data that compresses about as well as a
// kernel) behind 16 KiB of boot code; zcat gets the same stream alone. Both run on warm
// input; the output is removed outside the timing. Files are made once and kept in
// $FF_BENCH_DIR (default: the system's temporary directory), so later runs start at once.
// Point FF_BENCH_DIR at a tmpfs to take the disk out of the comparison.
//
//   bench_kernel_image --benchmark_repetitions=3
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <zlib.h>

#include <boost/filesystem.hpp>
#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "ff_kernel_image.h"

namespace fs = boost::filesystem;

namespace {

constexpr size_t kBootCodeSize = 16384;
constexpr uintmax_t kStreamSize = 100u * 1000 * 1000;

fs::path workDir() {
    const char* chosen = std::getenv("FF_BENCH_DIR");
    fs::path dir = chosen && *chosen ? fs::path(chosen) : fs::temp_directory_path();
    dir /= "ff-bench-kernel-image";
    fs::create_directories(dir);
    return dir;
}

// Data made of tokens drawn with a skewed distribution from a fixed vocabulary: repeats for
// the matcher and skewed bytes for the entropy coder, about 3:1 under gzip, as a kernel.
class KernelLikeSource {
  public:
    KernelLikeSource() : m_random(11) {
        std::geometric_distribution<int> byte(0.05);
        std::uniform_int_distribution<int> length(2, 14);
        for (auto& token : m_vocabulary) {
            token.resize(length(m_random));
            for (char& c : token) c = static_cast<char>(byte(m_random) & 0xFF);
        }
    }
    void fill(std::string& piece, size_t size) {
        std::geometric_distribution<size_t> pick(0.003);
        piece.clear();
        while (piece.size() < size) piece += m_vocabulary[pick(m_random) % m_vocabulary.size()];
    }

  private:
    std::mt19937 m_random;
    std::vector<std::string> m_vocabulary = std::vector<std::string>(4096);
};

// Writes 16 KiB of boot code followed by the gzip stream to `image`, and the stream alone
// to `stream`, in pieces, until the stream has reached kStreamSize.
void makeImage(const fs::path& image, const fs::path& stream) {
    std::ofstream imageOut(image.string(), std::ios::binary);
    std::ofstream streamOut(stream.string(), std::ios::binary);
    std::mt19937 random(5);
    std::string bootCode(kBootCodeSize, '\0');
    for (char& c : bootCode) c = static_cast<char>(random() % 0x1F);  // no gzip signature
    imageOut << bootCode;

    z_stream z{};
    deflateInit2(&z, 9, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);  // as kernels are packed
    KernelLikeSource source;
    std::string piece;
    std::vector<unsigned char> out(1 << 20);
    uintmax_t written = 0;
    for (bool last = false; !last;) {
        last = written >= kStreamSize;
        if (!last) source.fill(piece, 1 << 20);
        z.next_in = reinterpret_cast<Bytef*>(last ? nullptr : &piece[0]);
        z.avail_in = last ? 0 : static_cast<uInt>(piece.size());
        do {
            z.next_out = out.data();
            z.avail_out = static_cast<uInt>(out.size());
            deflate(&z, last ? Z_FINISH : Z_NO_FLUSH);
            const size_t produced = out.size() - z.avail_out;
            imageOut.write(reinterpret_cast<char*>(out.data()), produced);
            streamOut.write(reinterpret_cast<char*>(out.data()), produced);
            written += produced;
        } while (z.avail_out == 0);
    }
    deflateEnd(&z);
    if (!imageOut || !streamOut) throw std::runtime_error("cannot write " + image.string());
}

struct Files {
    fs::path image, stream, output;
};

const Files& files() {
    static const Files made = [] {
        const fs::path dir = workDir();
        Files f{dir / "vmlinuz", dir / "vmlinuz.gz", dir / "vmlinux"};
        if (!fs::exists(f.stream) || fs::file_size(f.stream) < kStreamSize)
            makeImage(f.image, f.stream);
        return f;
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
