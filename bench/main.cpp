// Runs the benchmarks, then prints each file operation's time as a ratio to
// its yardstick measured in the same run, with its goal beside it (times
// are CPU times, so that other processes on a shared machine count less):
// benchmarks named "<group>/memcpy" (or "<group>/read" for files on disk)
// are the yardstick of every other "<group>/<operation>"; an operation
// states its goal in the counter "goal". With repetitions, the median of
// the runs is taken. Head localization prints how its cost per entry grows
// with the count of entries.
#include "PeakLoad.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

struct Figures {
    std::vector<double> times;
    double goal = 0.0;
    double entries = 0.0;
    bool fromMedian = false;
    // Peak memory and its limit, for a measurement of memory.
    double peak = 0.0;
    double limit = 0.0;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t mid = values.size() / 2;
    return values.size() % 2 == 1 ? values[mid] : (values[mid - 1] + values[mid]) / 2;
}

class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if ((run.run_type != Run::RT_Iteration && !median) || run.error_occurred) {
                continue;
            }
            Figures& figures = m_figures[run.run_name.str()];
            // CPU time: on a shared machine the wall clock also counts the
            // time other processes hold the cores. The kernel's work for the
            // process (reads, page faults) is CPU time of the process.
            const double time =
                run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            if (median) {
                figures.times = {time};
                figures.fromMedian = true;
            } else if (!figures.fromMedian) {
                figures.times.push_back(time);
            }
            if (const auto goal = run.counters.find("goal"); goal != run.counters.end()) {
                figures.goal = goal->second.value;
            }
            if (const auto entries = run.counters.find("entries"); entries != run.counters.end()) {
                figures.entries = entries->second.value;
            }
            const auto peak = run.counters.find("peak_MB");
            const auto limit = run.counters.find("limit_MB");
            if (peak != run.counters.end() && limit != run.counters.end()) {
                figures.peak = peak->second.value;
                figures.limit = limit->second.value;
            }
        }
    }

    void PrintRatios() const {
        std::printf("\n%-36s %10s %8s %s\n", "operation", "x yardstick", "goal", "");
        for (const auto& [name, figures] : m_figures) {
            const auto slash = name.find('/');
            if (slash == std::string::npos) {
                continue;
            }
            const std::string operation = name.substr(slash + 1);
            if (operation == "memcpy" || operation == "read") {
                continue;
            }
            if (figures.limit > 0) {
                printRow(name + " vs 2 x file + objects", figures.peak / figures.limit, 1.0);
                continue;
            }
            const std::string group = name.substr(0, slash);
            const Figures* yardstick = find(group + "/memcpy");
            const char* against = "memcpy";
            if (yardstick == nullptr) {
                yardstick = find(group + "/read");
                against = "read(2)";
            }
            if (yardstick == nullptr) {
                continue;
            }
            const double ratio = median(figures.times) / median(yardstick->times);
            printRow(name + " vs " + against, ratio, figures.goal);
        }
        printGrowth("store");
        printGrowth("load");
    }

  private:
    const Figures* find(const std::string& name) const {
        const auto found = m_figures.find(name);
        return found == m_figures.end() || found->second.times.empty() ? nullptr : &found->second;
    }

    static void printRow(const std::string& label, double ratio, double goal) {
        if (goal > 0) {
            std::printf("%-36s %10.2f %8.2f %s\n", label.c_str(), ratio, goal,
                        ratio <= goal ? "met" : "NOT met");
        } else {
            std::printf("%-36s %10.2f %8s\n", label.c_str(), ratio, "-");
        }
    }

    // The cost per entry of the largest head localization against the
    // smallest: linear cost keeps it near 1.
    void printGrowth(const std::string& operation) const {
        const Figures* smallest = nullptr;
        const Figures* largest = nullptr;
        for (const auto& [name, figures] : m_figures) {
            if (name.rfind("headloc", 0) != 0 || figures.entries <= 0 ||
                name.substr(name.find('/') + 1) != operation) {
                continue;
            }
            if (smallest == nullptr || figures.entries < smallest->entries) {
                smallest = &figures;
            }
            if (largest == nullptr || figures.entries > largest->entries) {
                largest = &figures;
            }
        }
        if (smallest == nullptr || largest == smallest) {
            return;
        }
        const double small = median(smallest->times) / smallest->entries;
        const double large = median(largest->times) / largest->entries;
        printRow("headloc per-entry " + operation + " " +
                     std::to_string(static_cast<long long>(largest->entries)) + "/" +
                     std::to_string(static_cast<long long>(smallest->entries)),
                 large / small, 1.3);
    }

    std::map<std::string, Figures> m_figures;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], kPeakLoadFlag) == 0) {
        return runPeakLoad(argv[2]);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
