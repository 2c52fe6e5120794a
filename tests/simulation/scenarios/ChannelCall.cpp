#include "tests/simulation/scenarios/ChannelCall.h"

#include "common/source/Exception.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scenarios/Scenario.h"

#include <new>
#include <stdexcept>

namespace simulation {

bool attempt(const std::function<void()>& operation) {
    const ProductCall product;
    try {
        operation();
        return true;
    } catch (const VX_QRS::ORV::CLIENT::Exception&) {
    } catch (const std::bad_alloc&) {
    } catch (const std::runtime_error& e) {
        // The unit's own failures travel unchanged.
        expect(Faults::instance().haveFailed(), "exception without a fault", e.what());
    }
    return false;
}

} // namespace simulation
