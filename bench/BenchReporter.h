#pragma once
// The reporter every bench program runs with: it prints as usual and keeps each benchmark's mean
// times, so that main() can print ratios against a baseline measured in the same run.
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace ArdentisEngine {

class TimesReporter: public benchmark::ConsoleReporter {
public:
    // Adjusted times in the unit each benchmark was registered with, keyed by its name without
    // the "/real_time" that UseRealTime() appends. CPU time is what CPU-bound ratios compare: the
    // machines are shared, and wall time picks up other processes.
    std::map<std::string, double> real, cpu;
    std::map<std::string, benchmark::UserCounters> counters;

    // -1 for a benchmark that did not run (filtered out or failed).
    static double find(const std::map<std::string, double>& times, const std::string& name) {
        const auto found = times.find(name);
        return found == times.end() ? -1.0 : found->second;
    }
    // 0 when the benchmark did not run or did not set the counter.
    double counter(const std::string& name, const std::string& key) const {
        const auto run = counters.find(name);
        if(run == counters.end()) return 0.0;
        const auto found = run->second.find(key);
        return found == run->second.end() ? 0.0 : double(found->second);
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for(const Run& r: runs) {
            if(!r.iterations || r.error_occurred) continue;
            std::string name = r.benchmark_name();
            if(const auto suffix = name.rfind("/real_time"); suffix != std::string::npos) name.erase(suffix);
            real[name] = r.GetAdjustedRealTime();
            cpu[name] = r.GetAdjustedCPUTime();
            counters[name] = r.counters;
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

}
