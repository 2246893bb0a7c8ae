// Runs the benchmarks, then prints each file operation's time beside a
// plain memcpy of the same bytes: benchmarks named "<group>/memcpy" are the
// yardstick of every other "<group>/<operation>".
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                m_times[run.benchmark_name()] = run.GetAdjustedRealTime();
            }
        }
    }

    void PrintRatios() const {
        bool header = false;
        for (const auto& [name, time] : m_times) {
            const auto slash = name.find('/');
            if (slash == std::string::npos || name.compare(slash + 1, 6, "memcpy") == 0) {
                continue;
            }
            const auto yardstick = m_times.find(name.substr(0, slash) + "/memcpy");
            if (yardstick == m_times.end() || yardstick->second <= 0) {
                continue;
            }
            if (!header) {
                std::printf("\n%-40s %12s\n", "operation", "x memcpy");
                header = true;
            }
            std::printf("%-40s %12.2f\n", name.c_str(), time / yardstick->second);
        }
    }

  private:
    std::map<std::string, double> m_times;
};

}  // namespace

int main(int argc, char** argv) {
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
