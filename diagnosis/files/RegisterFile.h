#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
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

/// The name of a register and the meaning of its content.
struct RegisterText {
    std::string name;    ///< such as "D3 input"; "not named" for an unknown one
    std::string meaning; ///< such as "enabled, input 6, delay 2"; may be empty
};

/// The channel that the dump belongs to, by its clock register. 0 when that does not show it.
unsigned channelOf(const RegisterDump& dump);
/// `pinLabel` names a sampled pin.
RegisterText describe(const RegisterValue& entry, unsigned channel,
                      const std::function<std::string(std::size_t)>& pinLabel);

/// The content of a pin's two registers.
struct PinRegisters {
    bool enabled = false;
    unsigned input = 0, delay = 0, filter = 0, plateau = 0, debounce = 0;
    int stretch = 0;
};
/// Nothing when the dump lacks one of the two.
std::optional<PinRegisters> pinRegisters(const RegisterDump& dump, unsigned channel, unsigned proc);

} // namespace diagnosis
