#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"
#include "host/pins/PinAnswers.h"
#include "host/pins/PinWarnings.h"
#include "pinmap/PinAssignment.h"
#include "pinmap/TracePinMapper.h"
#include "rcvr/framework/cZarnError.h"

#include <algorithm>
#include <set>
#include <string>

namespace fuzz {

namespace {

using namespace Vx::Qrs::Trace::OrvRcvr;

bool holds(const PinList& pins, std::uint32_t pin) {
    return std::find(pins.begin(), pins.end(), pin) != pins.end();
}

/// False for a file that is rejected.
bool read(TracePinMapper& mapper, const std::string& path) {
    try {
        mapper.readPinMapFile(path.c_str());
    } catch (const Vx::Qrs::Zarn::cZarnError& error) {
        require(error.GetErrorText() == "Invalid or corrupted pin map file " + path + ".", error.GetErrorText());
        require(error.GetSeverity() == Vx::Qrs::Zarn::eSeverityError, "a failure has its severity");
        return false;
    }
    return true;
}

void checkLists(const Pinouts& pinouts) {
    require(!pinouts.empty(), "a file that is accepted has pins");
    for (const auto& [name, pinout] : pinouts) {
        for (const auto& [kind, lists] : pinout) {
            require(!lists.empty(), "a kind has a list");
            for (const PinList& list : lists) {
                require(!list.empty() && parsePinList(formatPinList(list)) == list, "a written list is read");
            }
        }
    }
}

/// Two channels of the same kind ask for the same number of pins.
void checkSearch(TracePinMapper& mapper, const std::string& kind, std::uint32_t dataPins, bool exact) {
    const PinList excluded{5};
    const PinList required{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    const PinRequest request{kind, dataPins, exact};
    PinGrants grants;
    std::string pinout;
    if (!mapper.findPinMapWithin(grants, pinout, {{"a", request}, {"b", request}}, excluded, required)) {
        return;
    }
    require(grants.size() == 2, "every request is granted");
    const auto& lists = mapper.getPinouts().at(pinout).at(kind);
    std::multiset<std::uint32_t> used;
    for (const auto& [name, grant] : grants) {
        require(std::find(lists.begin(), lists.end(), grant.pins) != lists.end(), "a grant is a list of the file");
        const std::size_t granted = grant.pins.size() - 1;
        require(exact ? granted == dataPins : granted >= dataPins, "a grant has the number of pins");
        for (const std::uint32_t pin : grant.pins) {
            require(!holds(excluded, pin) && holds(required, pin), "a grant keeps the limits");
        }
        used.insert(grant.pins.begin(), grant.pins.end());
    }
    for (const std::uint32_t pin : grants["b"].pins) {
        require(!holds(grants["a"].pins, pin), "channels share no pin");
    }
}

void checkCounts(TracePinMapper& mapper, const std::string& kind) {
    std::vector<std::uint32_t> counts;
    mapper.getDataPinCounts(counts, kind, {0, 1, 2, 3, 4, 5});
    require(std::is_sorted(counts.begin(), counts.end()), "counts ascend");
    for (const unsigned dataPins : {1U, 2U, 4U}) {
        const host::PinAnswer answer = host::answerOf(mapper.getPinouts(), kind, dataPins, {});
        const bool counted = std::find(counts.begin(), counts.end(), dataPins) != counts.end();
        require(answer.granted == counted, "an answer is the search's");
        require(answer.granted || !answer.remark.empty(), "a refusal has its reason");
    }
}

} // namespace

void pinMap(Input input) {
    static TracePinMapper mapper; // its library is looked for once
    const std::string path = scratchFile("pins.txt", textOf(input));
    if (!read(mapper, path)) {
        return;
    }
    checkLists(mapper.getPinouts());
    host::pinWarnings(readPinMapTexts(path.c_str()), "");
    for (const std::string& kind : host::kindsOf(mapper.getPinouts())) {
        for (const bool exact : {true, false}) {
            checkSearch(mapper, kind, 1, exact);
        }
        checkCounts(mapper, kind);
    }
}

} // namespace fuzz
