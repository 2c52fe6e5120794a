#include "tests/support/register_model/RegisterMap.h"

#include <map>
#include <utility>

namespace register_model {

namespace {

using Map = std::map<std::pair<std::uint32_t, std::uint32_t>, Access>;

Map makeMap() {
    Map map;
    // A later entry may widen what an earlier one allows, never narrow it: blocks overlap.
    const auto add = [&map](Access access, std::uint32_t address, std::uint32_t count = 1, std::uint32_t stride = 2) {
        for (std::uint32_t i = 0; i < count; ++i) {
            Access& entry = map[{1, address + i * stride}];
            if (entry != Access::ReadWrite) {
                entry = access;
            }
        }
    };
    using enum Access;
    add(ReadOnly, 0x08000000);
    add(ReadOnly, 0x08000008);
    add(ReadOnly, 0x0800000C, 2);
    add(ReadWrite, 0x08000010);
    add(ReadOnly, 0x08000030, 3);
    add(ReadWrite, 0x08000148);
    add(ReadWrite, 0x0800014C);
    add(ReadOnly, 0x08001000, 7);
    add(ReadOnly, 0x08001010, 3);
    add(ReadOnly, 0x08001080, 5);
    add(ReadOnly, 0x08008140, 10);
    add(ReadOnly, 0x08008158, 4);
    add(ReadWrite, 0x08008010, numChannels);
    add(ReadWrite, 0x08008018, numChannels);
    add(ReadWrite, 0x08008020, numChannels);
    add(ReadOnly, 0x08008030, numChannels);
    add(ReadWrite, 0x08008040, numChannels);
    add(ReadWrite, 0x08008050, numChannels);
    add(ReadOnly, 0x08008060, numChannels);
    for (std::uint32_t channel = 0; channel < numChannels; ++channel) {
        add(ReadWrite, 0x080080E0 + 4 * channel, 2);
        add(ReadOnly, 0x080080F0 + 4 * channel, 2);
        for (std::uint32_t block : {0x08008100u, 0x08008120u}) {
            add(ReadWrite, block + 64 * channel, 7);
            add(ReadWrite, block + 64 * channel + 30);
        }
    }
    add(ReadWrite, 0x08008206);
    add(ReadOnly, 0x0800820C, numProcs, 8);
    add(ReadOnly, 0x0800820E, numProcs, 8);
    map[{2, 0x01C70404}] = ReadOnly;
    map[{2, 0x01C40044}] = ReadWrite;
    return map;
}

} // namespace

Access accessOf(std::uint32_t kind, std::uint32_t address) {
    static const Map map = makeMap();
    const auto found = map.find({kind, address});
    return found == map.end() ? Access::None : found->second;
}

} // namespace register_model
