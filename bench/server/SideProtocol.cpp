#include "bench/server/SideProtocol.h"

#include <charconv>
#include <sstream>

namespace bench {

namespace {

unsigned numberOf(std::string_view text) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw UnitError("not a number: " + std::string(text));
    }
    return value;
}

TargetProgram parseProgram(std::istringstream& in) {
    TargetProgram program;
    for (std::string item; in >> item;) {
        const std::size_t split = item.find('=');
        const std::string key = item.substr(0, split);
        const std::string value = split == std::string::npos ? "" : item.substr(split + 1);
        if (key == "pattern") {
            program.pattern = value;
        } else if (key == "frequency") {
            program.frequency = numberOf(value);
        } else if (key == "kind") {
            const auto kind = exportKindFromName(value);
            if (!kind) {
                throw UnitError("no such kind of export: " + value);
            }
            program.kind = *kind;
        } else if (key == "pins") {
            std::istringstream list(value);
            for (std::string pin; std::getline(list, pin, ',');) {
                program.pins.push_back(numberOf(pin));
            }
        } else {
            throw UnitError("unknown argument: " + key);
        }
    }
    return program;
}

std::string carryOut(std::istringstream& in, const std::string& word, Unit& unit) {
    if (word == "program") {
        unit.programTarget(parseProgram(in));
    } else if (word == "shutdown") {
        unit.shutdownTarget();
    } else if (word == "end") {
        std::string flag;
        in >> flag;
        if (flag != "0" && flag != "1") {
            throw UnitError("end takes 0 or 1");
        }
    } else if (word == "status") {
        return "ok " + std::to_string(unit.traceStatus());
    } else if (word != "flush") {
        throw UnitError("unknown request");
    }
    return "ok";
}

} // namespace

std::string answerSideRequest(std::string_view line, Unit& unit, std::mutex& unitMutex) {
    std::istringstream in{std::string(line)};
    std::string word;
    in >> word;
    const std::lock_guard lock(unitMutex);
    try {
        return carryOut(in, word, unit);
    } catch (const UnitError& error) {
        return std::string("err ") + error.what();
    }
}

} // namespace bench
