#include "common/source/source_utilities/uStopwatch.h"

namespace VX_QRS {

uStopwatch::uStopwatch() {
    hasCounter = readFrequency(frequency);
    mark();
}

void uStopwatch::mark() {
    if (hasCounter) {
        marked = readCounter();
    }
}

double uStopwatch::elapsed() const {
    if (!hasCounter) {
        return 0.0;
    }
    return static_cast<double>(readCounter() - marked) / static_cast<double>(frequency);
}

} // namespace VX_QRS
