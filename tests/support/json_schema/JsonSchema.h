#pragma once

#include <string>

namespace test_support {

/// What of a JSON text does not fit docs/schemas/NAME.schema.json, one line for each fault; empty if it fits. Windows
/// builds check nothing: Wine cannot run the validator, and the native build prints the same objects.
std::string schemaFaults(const std::string& name, const std::string& json);

} // namespace test_support
