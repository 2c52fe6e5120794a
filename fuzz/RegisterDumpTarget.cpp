#include "diagnosis/files/RegisterFile.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace fuzz {

namespace {

using diagnosis::RegisterDump;
using diagnosis::RegisterValue;

/// As the receiver writes it.
std::string written(const RegisterDump& dump) {
    std::string text;
    for (const RegisterValue& entry : dump) {
        std::array<char, 32> line{};
        std::snprintf(line.data(), line.size(), "\n0x%08x=0x%04x", entry.address, entry.value);
        text += line.data();
    }
    return text + "\n";
}

bool same(const RegisterValue& one, const RegisterValue& other) {
    return one.address == other.address && one.value == other.value;
}

} // namespace

void registerDump(Input input) {
    const auto dump = parsed(diagnosis::parseRegisters, textOf(input));
    if (!dump) {
        return;
    }
    const auto again = parsed(diagnosis::parseRegisters, written(*dump));
    require(again && std::equal(dump->begin(), dump->end(), again->begin(), again->end(),
                                [](const auto& a, const auto& b) { return same(a, b); }),
            "what was written is read");
    const unsigned channel = diagnosis::channelOf(*dump);
    const auto label = [](std::size_t proc) { return std::to_string(proc); };
    for (const RegisterValue& entry : *dump) {
        require(!diagnosis::describe(entry, channel, label).name.empty(), "each register has a name");
    }
    for (unsigned proc = 0; proc < 8; ++proc) {
        const auto pin = diagnosis::pinRegisters(*dump, channel, proc);
        require(!pin || (pin->input < 128 && pin->delay < 256 && pin->stretch >= -7 && pin->stretch <= 7),
                "fields of a pin are within their bits");
    }
}

} // namespace fuzz
