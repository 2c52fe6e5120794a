#include "host/scenario/NamesFile.h"

#include "bench/scenarios/TomlText.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/TextFile.h"

#include <toml++/toml.h>

namespace host {

using toolkit::ExitCode;
using toolkit::Failure;
using toolkit::LaneNames;

namespace {

LaneNames namesOfFile(const std::string& file) {
    const std::string text = toolkit::readText(toolkit::filePath(file));
    if (const std::string fault = bench::tomlTextFault(text, file); !fault.empty()) {
        throw Failure(ExitCode::BadInput, fault);
    }
    std::map<std::string, std::string> table;
    try {
        const toml::table root = toml::parse(text);
        const toml::table* names = root["names"].as_table();
        if (names == nullptr) {
            throw Failure(ExitCode::BadInput, file + ": there is no table [names]; add one, with lines such as CLK = "
                                                     "\"TRACECLK\" and D0 = \"TRACED0\"");
        }
        for (const auto& [pin, name] : *names) {
            table[std::string(pin.str())] = name.value_or(std::string());
        }
    } catch (const toml::parse_error& error) {
        throw Failure(ExitCode::BadInput,
                      file + ":" + std::to_string(error.source().begin.line) + ": " + std::string(error.description()));
    }
    return namesOfTable(table, file);
}

} // namespace

bool isNamesFile(const std::string& listOrFile) {
    return listOrFile.ends_with(".toml");
}

LaneNames laneNamesOf(const std::string& listOrFile) {
    return isNamesFile(listOrFile) ? namesOfFile(listOrFile) : LaneNames::parse(listOrFile);
}

LaneNames namesOfTable(const std::map<std::string, std::string>& table, const std::string& file) {
    LaneNames names;
    try {
        for (const auto& [pin, name] : table) {
            names.give(pin, name);
        }
    } catch (const Failure& failure) {
        throw Failure(ExitCode::BadInput, file + ": " + failure.what());
    }
    return names;
}

} // namespace host
