#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace diagnosis {

struct RegisterValue {
    std::uint32_t address = 0;
    std::uint32_t value = 0;
};

/// A file that ends in ".reg.txt", in its order.
using RegisterDump = std::vector<RegisterValue>;

/// Throws Failure (BadInput) with file, line and what is wrong; never anything else, whatever the bytes.
RegisterDump parseRegisters(std::string_view text, const std::string& file);
RegisterDump readRegisters(const std::filesystem::path& file);

/// What a register is called and what its content says.
struct RegisterText {
    std::string name;    ///< such as "data 1 input"; "not named" for one that is none of the unit's
    std::string meaning; ///< such as "enabled, input 6, delay 2"; empty when there is nothing to say
};

/// The channel that the dump belongs to, told by its clock register. 0 when it cannot be told.
unsigned channelOf(const RegisterDump& dump);
RegisterText describe(const RegisterValue& entry, unsigned channel);

/// What a pin's two registers hold.
struct PinRegisters {
    bool enabled = false;
    unsigned input = 0, delay = 0, filter = 0, plateau = 0, debounce = 0;
    int stretch = 0;
};
/// Nothing when the dump lacks one of the two.
std::optional<PinRegisters> pinRegisters(const RegisterDump& dump, unsigned channel, unsigned proc);

} // namespace diagnosis
