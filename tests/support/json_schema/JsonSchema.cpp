#include "tests/support/json_schema/JsonSchema.h"

#include "tests/support/scratch/TemporaryFolder.h"

#include <cstdlib>

namespace test_support {

std::string schemaFaults(const std::string& name, const std::string& json) {
    const std::string validator = ORV_SCHEMA_VALIDATOR;
    if (validator.empty()) {
        return {};
    }
    const TemporaryFolder folder;
    writeText(folder.file("value"), json);
    const std::string command = "/usr/bin/python3 '" + validator + "' '" + ORV_SCHEMA_FOLDER + "' " + name + " '" +
                                folder.file("value") + "' >'" + folder.file("faults") + "' 2>&1";
    const int code = std::system(command.c_str());
    const std::string faults = readText(folder.file("faults"));
    return code != 0 && faults.empty() ? "the validator cannot be run" : faults;
}

} // namespace test_support
