#include "benchmarks/support/Memory.h"

#include <fstream>
#include <string>

namespace benchmarks {

namespace {

// Lines such as "VmHWM:     1234 kB".
std::size_t statusField(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string key;
    while (status >> key) {
        std::size_t kibibytes = 0;
        if (key == name + ":" && status >> kibibytes) {
            return kibibytes * 1024;
        }
        std::getline(status, key);
    }
    return 0;
}

} // namespace

std::size_t residentBytes() {
    return statusField("VmRSS");
}

std::size_t peakResidentBytes() {
    return statusField("VmHWM");
}

bool forgetPeak() {
    std::ofstream control("/proc/self/clear_refs");
    control << "5" << std::flush;
    return control.good();
}

} // namespace benchmarks
