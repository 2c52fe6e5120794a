#include "bench/scenarios/FilePath.h"
#include "bench/siblings/XmtrLibrary.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <cstdio>
#include <cstdlib>

// ORV_BENCH_SCENARIO names the scenario whose target this is, ORV_BENCH_DIR the run's folder with the server's port.
// Without a scenario there is no target, and so no object.
extern "C" {

ORV_EXPORT Vx::Qrs::Trace::IXmtrLibrary* CreateXmtr(unsigned, unsigned) {
    const char* scenario = std::getenv("ORV_BENCH_SCENARIO");
    const char* folder = std::getenv("ORV_BENCH_DIR");
    if (scenario == nullptr || *scenario == 0 || folder == nullptr || *folder == 0) {
        std::fprintf(stderr, "bench: ORV_BENCH_SCENARIO and ORV_BENCH_DIR have to be set\n");
        return nullptr;
    }
    try {
        return new bench::XmtrLibrary(bench::loadScenario(bench::filePath(scenario)),
                                      std::string(folder) + "/side.port");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return nullptr;
    }
}

ORV_EXPORT void DestroyXmtr(Vx::Qrs::Trace::IXmtrLibrary* library) {
    delete library;
}
}
