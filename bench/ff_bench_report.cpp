// ff_bench_report: turns raw benchmark output into the Markdown tables committed under
// bench/results/.
//
//   ff_bench_report bench OUT.md RESULT.json...
//       Google Benchmark JSON files (one per executable) -> one table per executable, and
//       the goals that the benchmarks decide (warm hit by absolute name, two threads
//       against one, the 100,000-directory miss against the 20,000-directory one).
//
//   ff_bench_report compare OUTDIR PAIRS.tsv RATIOS.tsv EXTRA.tsv ROUND.json...
//       hyperfine JSON files (one per round; commands named with --command-name) ->
//       OUTDIR/compare.md (medians, processor times and speeds of each pair, the ratios,
//       then the rows of EXTRA.tsv) and OUTDIR/compare.dat (the data of the chart).
//       PAIRS.tsv: label, library command name, tool command name, the least speed of the
//       library relative to the tool that meets the goal ("-" for none), the number of
//       directories walked ("-" when no tree is walked), tab-separated.
//       RATIOS.tsv: label, command, reference command, the largest ratio of their times
//       that meets the goal ("-" for none), and optionally the number of searches the
//       command runs for one of the reference (its processor time is divided by it):
//       how the library's own runs compare.
//       EXTRA.tsv: label, library, tool, goal, met: rows measured otherwise (memory,
//       system calls), written as they are.
//
// "Speed" is the tool's time divided by the library's: above 1 the library is faster.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using nlohmann::json;

namespace {

int usage() {
    std::cerr
        << "usage: ff_bench_report bench OUT.md RESULT.json...\n"
           "       ff_bench_report compare OUTDIR PAIRS.tsv RATIOS.tsv EXTRA.tsv ROUND.json...\n";
    return 2;
}

json readJson(const std::string& file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("cannot read " + file);
    return json::parse(in);
}

std::vector<std::vector<std::string>> readTsv(const std::string& file) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream in(file);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> fields;
        std::stringstream split(line);
        for (std::string field; std::getline(split, field, '\t');) fields.push_back(field);
        rows.push_back(fields);
    }
    return rows;
}

std::string fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

// A duration in seconds, with the unit that keeps three or four significant digits.
std::string duration(double seconds) {
    const double magnitude = std::fabs(seconds);
    if (magnitude >= 1) return fixed(seconds, 3) + " s";
    if (magnitude >= 1e-3) return fixed(seconds * 1e3, 2) + " ms";
    if (magnitude >= 1e-6) return fixed(seconds * 1e6, 2) + " µs";
    return fixed(seconds * 1e9, 1) + " ns";
}

double median(std::vector<double> values) {
    if (values.empty()) return NAN;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// ---- Google Benchmark results ----------------------------------------------------------

double secondsPerUnit(const std::string& unit) {
    if (unit == "ns") return 1e-9;
    if (unit == "us") return 1e-6;
    if (unit == "ms") return 1e-3;
    return 1;
}

bool isStandardKey(const std::string& key) {
    static const char* const kKeys[] = {"name",
                                        "family_index",
                                        "per_family_instance_index",
                                        "run_name",
                                        "run_type",
                                        "repetitions",
                                        "repetition_index",
                                        "threads",
                                        "iterations",
                                        "real_time",
                                        "cpu_time",
                                        "time_unit",
                                        "aggregate_name",
                                        "aggregate_unit",
                                        "label",
                                        "error_occurred",
                                        "error_message"};
    return std::find(std::begin(kKeys), std::end(kKeys), key) != std::end(kKeys);
}

std::string counterText(const std::string& key, double value) {
    if (key == "bytes_per_second") return fixed(value / (1 << 20), 1) + " MiB/s";
    if (key == "items_per_second") {
        if (value >= 1e6) return fixed(value / 1e6, 2) + " M items/s";
        if (value >= 1e3) return fixed(value / 1e3, 2) + " k items/s";
        return fixed(value, 1) + " items/s";
    }
    if (key == "us_per_dir") return fixed(value, 2) + " µs/dir";
    if (key == "ns_per_add") return fixed(value, 0) + " ns/add";
    const double magnitude = std::fabs(value);
    return key + "=" +
           (magnitude >= 100 || magnitude == std::floor(magnitude) ? fixed(value, 0)
                                                                   : fixed(value, 3));
}

struct Run {
    std::string name;
    double realSeconds = 0;
    double cpuSeconds = 0;
    json entry;
};

// One run per benchmark: the median aggregate of a benchmark that was repeated.
std::vector<Run> runsOf(const json& results) {
    std::set<std::string> repeated;
    for (const json& b : results["benchmarks"])
        if (b.value("run_type", "") == "aggregate") repeated.insert(b.value("run_name", ""));
    std::vector<Run> runs;
    for (const json& b : results["benchmarks"]) {
        const std::string name = b.value("run_name", b.value("name", ""));
        const bool aggregate = b.value("run_type", "") == "aggregate";
        if (aggregate ? b.value("aggregate_name", "") != "median" : repeated.count(name) > 0)
            continue;
        const double unit = secondsPerUnit(b.value("time_unit", "ns"));
        runs.push_back(
            Run{name, b.value("real_time", 0.0) * unit, b.value("cpu_time", 0.0) * unit, b});
    }
    return runs;
}

// The run of benchmark `family` whose name also holds `part` ("threads:2", "/20000/").
const Run* findRun(const std::vector<Run>& runs, const std::string& family,
                   const std::string& part = "") {
    for (const Run& run : runs) {
        const bool ofFamily = run.name == family || run.name.rfind(family + "/", 0) == 0;
        if (ofFamily && (run.name + "/").find(part) != std::string::npos) return &run;
    }
    return nullptr;
}

std::string yesNo(bool met) {
    return met ? "**yes**" : "**no**";
}

int benchSummary(const std::string& outFile, const std::vector<std::string>& inputs) {
    std::ostringstream tables;
    std::vector<Run> all;
    for (const std::string& input : inputs) {
        const json results = readJson(input);
        std::string executable = input.substr(input.find_last_of('/') + 1);
        executable = executable.substr(0, executable.rfind('.'));
        const std::vector<Run> runs = runsOf(results);
        tables << "\n### " << executable << "\n\n"
               << "| benchmark | wall | CPU | iterations | counters |\n|---|---:|---:|---:|---|\n";
        for (const Run& run : runs) {
            std::string counters;
            for (auto it = run.entry.begin(); it != run.entry.end(); ++it) {
                if (isStandardKey(it.key()) || !it.value().is_number()) continue;
                counters += (counters.empty() ? "" : ", ") +
                            counterText(it.key(), it.value().get<double>());
            }
            if (run.entry.value("error_occurred", false))
                counters = "error: " + run.entry.value("error_message", std::string());
            tables << "| `" << run.name << "` | " << duration(run.realSeconds) << " | "
                   << duration(run.cpuSeconds) << " | " << run.entry.value("iterations", 0) << " | "
                   << counters << " |\n";
        }
        all.insert(all.end(), runs.begin(), runs.end());
    }

    std::ostringstream goals;
    if (const Run* hit = findRun(all, "BM_AbsoluteNameHit", "high_priority_dirs:0/"))
        goals << "| warm search hit by absolute name ≤ 20 µs | " << duration(hit->realSeconds)
              << " | " << yesNo(hit->realSeconds <= 20e-6) << " |\n";
    // Per-search wall and processor time on two threads against one, of one benchmark.
    auto twoAgainstOne = [&](const std::string& family, double& wall, double& cpu) {
        const Run* one = findRun(all, family, "threads:1/");
        const Run* two = findRun(all, family, "threads:2/");
        if (!one || !two || !one->entry.contains("latency_ms") ||
            !two->entry.contains("latency_ms"))
            return false;
        wall = two->entry["latency_ms"].get<double>() / one->entry["latency_ms"].get<double>();
        cpu = two->entry["cpu_ms"].get<double>() / one->entry["cpu_ms"].get<double>();
        return true;
    };
    double wall = 0, cpu = 0;
    if (twoAgainstOne("BM_SharedFileSearchFullWalk", wall, cpu))
        goals << "| two threads' full-walk searches on one IFileSearch ≤ 1.15 × one thread's | "
              << fixed(wall, 2) << " × wall, " << fixed(cpu, 2) << " × CPU | "
              << yesNo(wall <= 1.15) << (wall > 1.15 && cpu <= 1.15 ? " (CPU: yes)" : "") << " |\n";
    if (twoAgainstOne("BM_SeparateFileSearchesFullWalk", wall, cpu))
        goals << "| for comparison: two threads, each with a search of its own | " << fixed(wall, 2)
              << " × wall, " << fixed(cpu, 2) << " × CPU | – |\n";
    if (const Run* linear = findRun(all, "BM_RecursiveMissLinearity")) {
        if (linear->entry.contains("wall_ratio")) {
            const double wall = linear->entry["wall_ratio"].get<double>();
            const double cpu = linear->entry["cpu_ratio"].get<double>();
            goals << "| 100,000-directory miss ≤ 5.5 × the 20,000-directory miss | "
                  << fixed(wall, 2) << " × wall, " << fixed(cpu, 2) << " × CPU | "
                  << yesNo(wall <= 5.5) << (wall > 5.5 && cpu <= 5.5 ? " (CPU: yes)" : "")
                  << " |\n";
        }
    }

    std::ofstream out(outFile);
    out << "## Benchmarks\n";
    if (!goals.str().empty()) {
        const std::string header = "| goal | measured | met |\n|---|---:|:---:|\n";
        out << "\nGoals the benchmarks decide:\n\n" << header << goals.str();
        std::cout << header << goals.str();
    }
    out << tables.str();
    return out ? 0 : 1;
}

// ---- hyperfine comparisons -------------------------------------------------------------

struct Timings {
    std::vector<double> wall;  // every run of every round
    std::vector<double> cpu;   // user + system mean of each round
};

int compare(const std::string& outDir, const std::string& pairsFile, const std::string& ratiosFile,
            const std::string& extraFile, const std::vector<std::string>& rounds) {
    std::map<std::string, Timings> byCommand;
    for (const std::string& round : rounds) {
        const json timings = readJson(round);
        for (const json& result : timings["results"]) {
            Timings& t = byCommand[result["command"].get<std::string>()];
            for (const json& time : result["times"]) t.wall.push_back(time.get<double>());
            t.cpu.push_back(result.value("user", 0.0) + result.value("system", 0.0));
        }
    }

    std::ostringstream table;
    table << "| comparison | library | tool | speed (wall) | speed (CPU) | per directory "
             "(library / tool) | goal | met |\n|---|---:|---:|---:|---:|---:|---:|:---:|\n";
    std::ofstream chart(outDir + "/compare.dat");
    chart << "# label\tlibrary time / tool time\tgoal (largest time ratio that meets it)\n";
    for (const std::vector<std::string>& pair : readTsv(pairsFile)) {
        if (pair.size() < 4) continue;
        const std::string& label = pair[0];
        const auto lib = byCommand.find(pair[1]);
        const auto tool = byCommand.find(pair[2]);
        if (lib == byCommand.end() || tool == byCommand.end()) {
            std::cerr << "ff_bench_report: no timings for " << label << "\n";
            continue;
        }
        const double libWall = median(lib->second.wall);
        const double toolWall = median(tool->second.wall);
        const double libCpu = median(lib->second.cpu);
        const double toolCpu = median(tool->second.cpu);
        const double speed = toolWall / libWall;
        const double cpuSpeed = toolCpu / libCpu;
        const bool hasGoal = pair[3] != "-";
        const double goal = hasGoal ? std::stod(pair[3]) : 0;
        std::string met = "–";
        if (hasGoal)
            met = yesNo(speed >= goal) + (speed < goal && cpuSpeed >= goal ? " (CPU: yes)" : "");
        const double dirs = pair.size() > 4 && pair[4] != "-" ? std::stod(pair[4]) : 0;
        const std::string perDirectory =
            dirs > 0 ? duration(libWall / dirs) + " / " + duration(toolWall / dirs) : "–";
        table << "| " << label << " (`" << pair[1] << "` vs `" << pair[2] << "`) | "
              << duration(libWall) << " | " << duration(toolWall) << " | " << fixed(speed, 2)
              << " × | " << fixed(cpuSpeed, 2) << " × | " << perDirectory << " | "
              << (hasGoal ? "≥ " + fixed(goal, 2) + " ×" : "–") << " | " << met << " |\n";
        chart << '"' << label << "\"\t" << libWall / toolWall << '\t'
              << (hasGoal ? fixed(1 / goal, 4) : "NaN") << '\n';
        std::cout << label << ": library " << duration(libWall) << ", " << pair[2] << " "
                  << duration(toolWall) << ", speed " << fixed(speed, 2) << " (CPU "
                  << fixed(cpuSpeed, 2) << ")\n";
    }

    std::ostringstream ratios;
    for (const std::vector<std::string>& row : readTsv(ratiosFile)) {
        if (row.size() < 4) continue;
        const auto measured = byCommand.find(row[1]);
        const auto reference = byCommand.find(row[2]);
        if (measured == byCommand.end() || reference == byCommand.end()) {
            std::cerr << "ff_bench_report: no timings for " << row[0] << "\n";
            continue;
        }
        const double wall = median(measured->second.wall) / median(reference->second.wall);
        const double searches = row.size() > 4 ? std::stod(row[4]) : 1;
        const double cpu = median(measured->second.cpu) / median(reference->second.cpu) / searches;
        const bool hasGoal = row[3] != "-";
        const double goal = hasGoal ? std::stod(row[3]) : 0;
        std::string met = "–";
        if (hasGoal) met = yesNo(wall <= goal) + (wall > goal && cpu <= goal ? " (CPU: yes)" : "");
        ratios << "| " << row[0] << " (`" << row[1] << "` / `" << row[2] << "`) | "
               << duration(median(measured->second.wall)) << " | "
               << duration(median(reference->second.wall)) << " | " << fixed(wall, 2) << " × | "
               << fixed(cpu, 2) << " × | " << (hasGoal ? "≤ " + fixed(goal, 2) + " ×" : "–")
               << " | " << met << " |\n";
        std::cout << row[0] << ": " << fixed(wall, 2) << " (CPU " << fixed(cpu, 2) << ")\n";
    }

    std::ostringstream extra;
    const auto extras = readTsv(extraFile);
    if (!extras.empty()) {
        extra << "\n| measure | library | tool | goal | met |\n|---|---:|---:|---:|:---:|\n";
        for (const std::vector<std::string>& row : extras) {
            extra << "|";
            for (size_t i = 0; i < 5; ++i) extra << ' ' << (i < row.size() ? row[i] : "") << " |";
            extra << '\n';
        }
    }

    std::ofstream out(outDir + "/compare.md");
    out << "## The library against the tools\n\n"
        << "Medians over every timed run (wall) and over the rounds' mean user + system time "
           "(CPU); speed = the tool's time / the library's (above 1: the library is faster).\n\n"
        << table.str();
    if (!ratios.str().empty())
        out << "\n| ratio | measured | reference | ratio (wall) | ratio (CPU per search) | goal | "
               "met "
               "|\n"
               "|---|---:|---:|---:|---:|---:|:---:|\n"
            << ratios.str();
    out << extra.str();
    return out ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 3) return usage();
    const std::string command = argv[1];
    if (command == "bench" && argc >= 4)
        return benchSummary(argv[2], std::vector<std::string>(argv + 3, argv + argc));
    if (command == "compare" && argc >= 7)
        return compare(argv[2], argv[3], argv[4], argv[5],
                       std::vector<std::string>(argv + 6, argv + argc));
    return usage();
} catch (const std::exception& e) {
    std::cerr << "ff_bench_report: " << e.what() << "\n";
    return 1;
}
