#include "bench/scenarios/Scenario.h"

#include "bench/scenarios/Environment.h"
#include "bench/scenarios/TomlText.h"

#include <toml++/toml.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>

namespace bench {

namespace {

constexpr unsigned emuPins = 6;
constexpr unsigned maxDataPins = 7;
constexpr unsigned bufferSizes = 10;
constexpr std::int64_t largestBuffer = 0x8000000;

// "a, b, c"
template <class Names>
std::string joined(const Names& names) {
    std::string all;
    for (const auto& name : names) {
        all += all.empty() ? "" : ", ";
        all += name;
    }
    return all;
}

// Reads one table. Keys are read by name; a key that was not read is an error.
class TableReader {
public:
    TableReader(const toml::table& content, std::string path, const std::string& fileName)
        : table(content), prefix(std::move(path)), file(fileName) {}

    void text(std::string_view key, std::string& out) {
        if (const toml::node* node = take(key)) {
            const auto value = node->value_exact<std::string>();
            require(value.has_value(), *node, key, "must be a text");
            out = *value;
        }
    }

    void flag(std::string_view key, bool& out) {
        if (const toml::node* node = take(key)) {
            const auto value = node->value_exact<bool>();
            require(value.has_value(), *node, key, "must be true or false");
            out = *value;
        }
    }

    void number(std::string_view key, double& out, double lowest, double highest) {
        if (const toml::node* node = take(key)) {
            out = asNumber(*node, key, lowest, highest);
        }
    }

    void number(std::string_view key, std::optional<double>& out, double lowest, double highest) {
        if (const toml::node* node = take(key)) {
            out = asNumber(*node, key, lowest, highest);
        }
    }

    template <class Integer>
    void integer(std::string_view key, Integer& out, std::int64_t lowest, std::int64_t highest) {
        if (const toml::node* node = take(key)) {
            const auto value = node->value_exact<std::int64_t>();
            require(value.has_value() && *value >= lowest && *value <= highest, *node, key,
                    "must be a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest));
            out = static_cast<Integer>(*value);
        }
    }

    void integer(std::string_view key, std::optional<unsigned>& out, std::int64_t lowest, std::int64_t highest) {
        unsigned value = 0;
        integer(key, value, lowest, highest);
        if (table.contains(key)) {
            out = value;
        }
    }

    template <class Enum>
    void choice(std::string_view key, Enum& out, std::initializer_list<std::pair<std::string_view, Enum>> choices) {
        if (const toml::node* node = take(key)) {
            const auto value = node->value_exact<std::string>();
            std::string all;
            for (const auto& [name, item] : choices) {
                if (value && *value == name) {
                    out = item;
                    return;
                }
                if (!all.empty()) {
                    all += ", ";
                }
                all += '"';
                all += name;
                all += '"';
            }
            fail(*node, key, "must be one of " + all);
        }
    }

    void numbers(std::string_view key, std::vector<double>& out, double lowest, double highest) {
        if (const toml::node* node = take(key)) {
            require(node->is_array(), *node, key, "must be a list of numbers");
            out.clear();
            for (const toml::node& item : *node->as_array()) {
                out.push_back(asNumber(item, key, lowest, highest));
            }
        }
    }

    void texts(std::string_view key, std::vector<std::string>& out) {
        if (const toml::node* node = take(key)) {
            require(node->is_array(), *node, key, "must be a list of texts");
            out.clear();
            for (const toml::node& item : *node->as_array()) {
                const auto value = item.value_exact<std::string>();
                require(value.has_value(), item, key, "must be a list of texts");
                out.push_back(*value);
            }
        }
    }

    // Passes the table under a key to `read`, if it exists.
    template <class Read>
    void section(std::string_view key, Read&& read) {
        if (const toml::node* node = take(key)) {
            require(node->is_table(), *node, key, "must be a table");
            TableReader inner(*node->as_table(), prefix + std::string(key) + ".", file);
            read(inner);
            inner.finish();
        }
    }

    template <class Read>
    void sections(std::string_view key, Read&& read) {
        if (const toml::node* node = take(key)) {
            require(node->is_array_of_tables(), *node, key, "must be a list of tables");
            for (const toml::node& item : *node->as_array()) {
                TableReader inner(*item.as_table(), prefix + std::string(key) + ".", file);
                read(inner);
                inner.finish();
            }
        }
    }

    void freeTable(std::string_view key, std::map<std::string, std::string>& out) {
        if (const toml::node* node = take(key)) {
            require(node->is_table(), *node, key, "must be a table");
            for (const auto& [name, value] : *node->as_table()) {
                out[std::string(name.str())] = asText(value, name.str());
            }
        }
    }

    void finish() const {
        for (const auto& [key, node] : table) {
            if (std::find(taken.begin(), taken.end(), key.str()) == taken.end()) {
                fail(node, key.str(), "is not known here; known are " + joined(taken));
            }
        }
    }

    [[noreturn]] void fail(std::string_view key, const std::string& what) const {
        const toml::node* node = table.get(key);
        fail(node != nullptr ? *node : static_cast<const toml::node&>(table), key, what);
    }

    // Of a key in a free table.
    [[noreturn]] void failWithin(std::string_view free, std::string_view key, const std::string& what) const {
        const TableReader inner(*table.get(free)->as_table(), prefix + std::string(free) + ".", file);
        inner.fail(key, what);
    }

private:
    const toml::node* take(std::string_view key) {
        taken.emplace_back(key);
        return table.get(key);
    }

    double asNumber(const toml::node& node, std::string_view key, double lowest, double highest) const {
        const auto value = node.value<double>();
        require(value.has_value() && (node.is_floating_point() || node.is_integer()) && *value >= lowest &&
                    *value <= highest,
                node, key, "must be a number from " + shortest(lowest) + " to " + shortest(highest));
        return *value;
    }

    std::string asText(const toml::node& node, std::string_view key) const {
        if (const auto value = node.value_exact<std::string>()) {
            return *value;
        }
        if (const auto value = node.value_exact<bool>()) {
            return *value ? "true" : "false";
        }
        if (const auto value = node.value_exact<std::int64_t>()) {
            return std::to_string(*value);
        }
        if (const auto value = node.value_exact<double>()) {
            return shortest(*value);
        }
        require(node.is_array(), node, key, "must be a text, a number, a truth value or a list of these");
        std::string all;
        for (const toml::node& item : *node.as_array()) {
            if (!all.empty()) {
                all += ',';
            }
            all += asText(item, key);
        }
        return all;
    }

    static std::string shortest(double value) {
        std::ostringstream out;
        out.precision(std::numeric_limits<double>::digits10);
        out << value;
        return out.str();
    }

    void require(bool good, const toml::node& node, std::string_view key, const std::string& what) const {
        if (!good) {
            fail(node, key, what);
        }
    }

    [[noreturn]] void fail(const toml::node& node, std::string_view key, const std::string& what) const {
        throw ScenarioError(file + ":" + std::to_string(node.source().begin.line) + ": '" + prefix + std::string(key) +
                            "' " + what);
    }

    const toml::table& table;
    std::string prefix;
    const std::string& file;
    std::vector<std::string> taken;
};

constexpr double anyLength = 1e6; // samples
constexpr double anySeconds = 3600.0;
// More than ten half periods of the slowest clock that the receiver analyses. Edges move by several times this, and each
// sample that they can reach is computed.
constexpr double highestJitter = 1e3;

void readPin(TableReader& in, PinWiring& pin) {
    in.integer("emu", pin.emu, 0, emuPins - 1);
    in.number("skew", pin.skew, -anyLength, anyLength);
    in.number("late_fall", pin.lateFall, -anyLength, anyLength);
    in.number("jitter", pin.jitter, 0.0, highestJitter);
    in.integer("stuck", pin.stuck, 0, 1);
    in.flag("open", pin.open);
    in.integer("swapped_with", pin.swappedWith, 0, emuPins - 1);
    in.number("glitch_every", pin.glitchEvery, 0.0, 1e12);
    in.number("glitch_length", pin.glitchLength, 0.0, anyLength);
    in.number("drift", pin.drift, -anyLength, anyLength);
    in.number("memory", pin.memory, 0.0, PinWiring::longestMemory);
    in.number("coupling", pin.coupling, 0.0, PinWiring::largestCoupling);
    if (pin.glitchEvery > 0.0 && pin.glitchLength >= pin.glitchEvery) {
        in.fail("glitch_length", "must be below glitch_every");
    }
}

void readCell(TableReader& in, MemoryCell& cell) {
    in.integer("byte", cell.byte, 0, largestBuffer - 1);
    in.integer("every", cell.every, 0, largestBuffer);
    in.integer("bit", cell.bit, 0, 7);
    in.integer("stuck", cell.stuck, 0, 1);
    in.integer("from_recording", cell.fromRecording, 1, std::numeric_limits<std::uint32_t>::max());
}

void readFault(TableReader& in, FaultStep& step) {
    static constexpr std::array actions{"die",          "close",          "hang",         "late",
                                        "cut",          "unknown_record", "error_record", "status_record",
                                        "short_record", "error_reply",    "text_reply",   "garbage"};
    in.text("command", step.command);
    in.integer("nth", step.nth, 1, std::numeric_limits<unsigned>::max());
    in.text("action", step.action);
    in.number("seconds", step.seconds, 0.0, anySeconds);
    in.integer("byte", step.byte, 0, std::numeric_limits<std::int64_t>::max());
    in.integer("code", step.code, 0, std::numeric_limits<std::uint32_t>::max());
    in.text("text", step.text);
    in.text("detail", step.detail);
    if (step.command.size() > 1) {
        in.fail("command", "must be one character");
    }
    if (std::find(actions.begin(), actions.end(), step.action) == actions.end()) {
        in.fail("action", "must be one of " + joined(actions));
    }
}

Scenario fromTable(const toml::table& root, const std::string& file) {
    Scenario scenario;
    TableReader in(root, "", file);
    in.text("name", scenario.name);
    in.text("about", scenario.about);
    in.text("cpu", scenario.cpu);
    in.choice("kind", scenario.kind,
              {{"pti", ExportKind::Pti}, {"tpiu", ExportKind::Tpiu}, {"tpiulite", ExportKind::TpiuLite}});
    in.integer("pins", scenario.pins, 1, maxDataPins);
    in.text("pin_map", scenario.pinMap);
    in.section("settings", [&](TableReader& table) {
        table.integer("buffer", scenario.settings.buffer, 0, bufferSizes - 1);
        table.flag("stop_on_full", scenario.settings.stopOnFull);
        table.flag("sync", scenario.settings.sync);
    });
    in.section("transmitter", [&](TableReader& table) {
        // 0 Hz means the transmitter's clock is stopped.
        table.numbers("frequencies", scenario.transmitter.frequencies, 0.0, 1e9);
        table.integer("sync_every", scenario.transmitter.syncEvery, 0, 1 << 20);
        table.texts("fail", scenario.transmitter.fail);
        table.integer("idle_word", scenario.transmitter.idleWord, 0, 0xFFFF);
        table.integer("idle_before", scenario.transmitter.idleBefore, 0, 1 << 20);
        table.integer("trace_status", scenario.transmitter.traceStatus, 0, std::numeric_limits<std::uint32_t>::max());
    });
    in.section("unit", [&](TableReader& table) {
        table.number("generator_frequency", scenario.unit.generatorFrequency, 1.0, 350e6);
        table.integer("error_a", scenario.unit.errorA, 0, 0xFFFF);
        table.integer("error_b", scenario.unit.errorB, 0, 0xFFFF);
        table.number("error_after", scenario.unit.errorAfter, 0.0, anySeconds);
        table.integer("error_from", scenario.unit.errorFrom, 1, std::numeric_limits<std::uint32_t>::max());
        table.flag("comms_stuck", scenario.unit.commsStuck);
        table.flag("bridge_needs_reset", scenario.unit.bridgeNeedsReset);
        table.sections("cell", [&](TableReader& cell) { readCell(cell, scenario.unit.cells.emplace_back()); });
    });
    in.section("wiring", [&](TableReader& table) {
        table.choice("alignment", scenario.wiring.alignment,
                     {{"center", Alignment::Center}, {"edge", Alignment::Edge}});
        table.number("jitter", scenario.wiring.jitter, 0.0, highestJitter);
        table.integer("seed", scenario.wiring.seed, 0, std::numeric_limits<std::int64_t>::max());
        table.flag("drift_stays", scenario.wiring.driftStays);
        table.sections("pin", [&](TableReader& pin) { readPin(pin, scenario.wiring.pins.emplace_back()); });
    });
    in.section("server", [&](TableReader& table) { table.number("speed", scenario.server.speed, 1e-6, 1e6); });
    in.section("faults", [&](TableReader& table) {
        table.integer("version", scenario.faults.version, 0, std::numeric_limits<std::uint32_t>::max());
        table.flag("refuse_second", scenario.faults.refuseSecond);
        table.flag("exit_at_start", scenario.faults.exitAtStart);
        table.sections("at", [&](TableReader& step) { readFault(step, scenario.faults.steps.emplace_back()); });
    });
    in.freeTable("environment", scenario.environment);
    for (const auto& [name, value] : scenario.environment) {
        if (!scenarioMaySet(name, scenario.pinMap)) {
            in.failWithin("environment", name, environmentRule);
        }
    }
    in.freeTable("names", scenario.names);
    in.freeTable("expect", scenario.expect);
    in.finish();
    return scenario;
}

} // namespace

std::string_view exportKindName(ExportKind kind) {
    switch (kind) {
    case ExportKind::Pti:
        return "pti";
    case ExportKind::Tpiu:
        return "tpiu";
    case ExportKind::TpiuLite:
        return "tpiulite";
    }
    return "";
}

std::optional<ExportKind> exportKindFromName(std::string_view name) {
    for (const ExportKind kind : {ExportKind::Pti, ExportKind::Tpiu, ExportKind::TpiuLite}) {
        if (name == exportKindName(kind)) {
            return kind;
        }
    }
    return std::nullopt;
}

PinWiring WiringSettings::pin(unsigned emu) const {
    for (const PinWiring& known : pins) {
        if (known.emu == emu) {
            return known;
        }
    }
    PinWiring ideal;
    ideal.emu = emu;
    return ideal;
}

Scenario parseScenario(std::string_view text, const std::string& file) {
    if (const std::string fault = tomlTextFault(text, file); !fault.empty()) {
        throw ScenarioError(fault);
    }
    try {
        const toml::table root = toml::parse(text);
        return fromTable(root, file);
    } catch (const toml::parse_error& error) {
        throw ScenarioError(file + ":" + std::to_string(error.source().begin.line) + ": " +
                            std::string(error.description()));
    }
}

Scenario loadScenario(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw ScenarioError(file.string() + ": cannot be opened");
    }
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    return parseScenario(text, file.string());
}

} // namespace bench
