#include "client/analysis/Cal.h"

#include <algorithm>

namespace VX_QRS::ORV::CLIENT {

namespace {

std::uint32_t entries(const Cal& cal) {
    return std::min<std::uint32_t>(cal.numProcs, static_cast<std::uint32_t>(cal.proc.size()));
}

template <typename Value>
void fill(Value& value, Value fallback) {
    if (value == static_cast<Value>(notSet)) {
        value = fallback;
    }
}

} // namespace

Cal& Cal::operator=(const Cal& other) {
    numProcs = other.numProcs;
    for (std::uint32_t p = 0; p < entries(*this); ++p) {
        proc[p] = other.proc[p];
    }
    return *this;
}

void Cal::reset() {
    for (std::uint32_t p = 0; p < entries(*this); ++p) {
        proc[p].plateau = 3;
        proc[p].debounce = 4;
        proc[p].filter = 7;
        proc[p].delay = 0;
        proc[p].stretch = 0;
    }
}

void Cal::merge(const Cal& defaults) {
    for (std::uint32_t p = 0; p < entries(*this); ++p) {
        fill(proc[p].plateau, defaults.proc[p].plateau);
        fill(proc[p].debounce, defaults.proc[p].debounce);
        fill(proc[p].filter, defaults.proc[p].filter);
        fill(proc[p].delay, defaults.proc[p].delay);
        fill(proc[p].stretch, defaults.proc[p].stretch);
    }
}

} // namespace VX_QRS::ORV::CLIENT
