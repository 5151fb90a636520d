// Throughput of the checksum calculator (MD5 and SHA1 over OpenSSL, 256 KiB reads fed to
// the hash 4096 bytes at a time) on a file in the page cache. Compare with
// `openssl dgst -md5` / `-sha1` on the same file:
//
//   FF_BENCH_FILE=/path/to/1GiB-file ./bench_checksum
//   time openssl dgst -md5 /path/to/1GiB-file
//
// Without FF_BENCH_FILE a 256 MiB file is made in the temporary directory and removed.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "ff_checksum.h"

namespace {

class BenchFile {
public:
    BenchFile() {
        if (const char* given = std::getenv("FF_BENCH_FILE")) {
            m_path = given;
            return;
        }
        m_owned = true;
        m_path = (boost::filesystem::temp_directory_path() /
                  boost::filesystem::unique_path("ff-bench-%%%%%%%%"))
                     .string();
        std::ofstream out(m_path, std::ios::binary);
        std::vector<char> block(1 << 20);
        for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 131 + 7);
        for (int i = 0; i < 256; ++i)
            out.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
    ~BenchFile() {
        if (m_owned) ::unlink(m_path.c_str());
    }
    const std::string& path() const { return m_path; }
    long long size() const { return static_cast<long long>(boost::filesystem::file_size(m_path)); }

private:
    std::string m_path;
    bool m_owned = false;
};

const BenchFile& benchFile() {
    static BenchFile file;
    return file;
}

void hashFile(benchmark::State& state, FF_2_13::checksum_type_t type) {
    const BenchFile& file = benchFile();
    FF_2_13::ObjectPtr<FF_2_13::IChecksumCalculator> calculator =
        FF_2_13::IChecksumCalculator::create();
    calculator->calculateChecksum(file.path().c_str(), type);  // warm the page cache
    for (auto _ : state) {
        FF_2_13::ObjectPtr<FF_2_13::IChecksum> sum =
            calculator->calculateChecksum(file.path().c_str(), type);
        if (!sum) state.SkipWithError("checksum failed");
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * file.size());
}

void BM_Md5File(benchmark::State& state) {
    hashFile(state, FF_2_13::ctMD5);
}
void BM_Sha1File(benchmark::State& state) {
    hashFile(state, FF_2_13::ctSHA1);
}

}  // namespace

BENCHMARK(BM_Md5File)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Sha1File)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
