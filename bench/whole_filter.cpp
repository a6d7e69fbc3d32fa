// whole_filter VARIANT WARM RUNS SOURCE [RESULT]: times the plug-in through its entry on one picture in
// memory. The line "MEM" at the end tells the peak of resident memory during the runs, less what was resident
// before, in megabytes: what a run takes beyond the host's two pictures.

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/runs.h"
#include "bench/variants.h"

namespace {

void filterOnce(standin::HostSession& session) {
    const standin::RunReport report = session.repeat();
    if (report.result != photoshop::noErr)
        throw std::runtime_error("the plug-in failed with " + standin::resultName(report.result));
}

void timeRuns(int argc, char** argv) {
    if (argc < 5 || argc > 6)
        throw std::invalid_argument(
            "usage: whole_filter default|boost|streak WARM RUNS "
            "SOURCE.ppm|deep:SOURCE.ppm|noise:WIDTHxHEIGHT "
            "[RESULT.ppm]");
    const std::string name = argv[1];
    const veil::VeilParams params = bench::variantNamed(name);
    const int warm = bench::count(argv[2]), runs = bench::count(argv[3]);
    bench::Source source = bench::loadSource(argv[4]);

    const standin::Plugin plugin(VEIL_PLUGIN);
    standin::HostSession session(plugin, std::move(source.image), bench::inMemory());
    session.storeParameters(params);
    session.undo();
    const double before = bench::beginPeak();
    for (int i = 0; i < warm + runs; ++i) {
        session.undo();
        const bench::Elapsed elapsed = bench::timeRun([&] { filterOnce(session); });
        if (i >= warm) bench::printRun(name, elapsed);
    }
    std::printf("MEM\t%s\t%.1f\n", name.c_str(), bench::peakMegabytes() - before);
    if (argc == 6) bench::saveResult(session.takeImage(), source.white, argv[5]);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        timeRuns(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "whole_filter: %s\n", error.what());
        return 1;
    }
}
