#include "host/soak/SoakResult.h"

#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Table.h"

#include <fmt/core.h>

namespace host {

namespace {

std::string hexWord(std::uint16_t word) {
    return fmt::format("0x{:04x}", word);
}

std::string errorTable(const std::vector<RoundError>& errors) {
    toolkit::Table table({">round", ">packet", ">word", ">byte", ">expected", ">got"});
    for (const auto& [round, error] : errors) {
        table.addRow({std::to_string(round), std::to_string(error.packet), std::to_string(error.word),
                      std::to_string(error.byte()), error.expected ? hexWord(*error.expected) : "-",
                      hexWord(error.got)});
    }
    return "\n" + table.text();
}

} // namespace

void SoakResult::addRound(const GeneratorCheck& check) {
    ++rounds;
    words += check.wordsChecked();
    errors += check.errorCount();
    for (const WordError& error : check.firstErrors()) {
        if (firstErrors.size() < GeneratorCheck::errorsKept) {
            firstErrors.push_back({rounds, error});
        }
    }
}

std::optional<toolkit::Failure> verdictOf(const SoakResult& result) {
    if (result.errors != 0) {
        return toolkit::Failure(toolkit::ExitCode::FaultsFound,
                                toolkit::countText(result.errors, "word") + " came back wrong" +
                                    (result.interrupted ? "; interrupted by the user" : ""));
    }
    if (result.interrupted) {
        return toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted; the rounds until then were in order");
    }
    return std::nullopt;
}

std::string soakText(const SoakResult& result) {
    if (result.rounds == 0) {
        return {};
    }
    std::string text =
        result.scenario.empty()
            ? std::string("the capture unit's own generator")
            : "the simulated unit's own generator, which bypasses the wiring, scenario " + result.scenario;
    if (result.dataPins) {
        text += ", " + toolkit::countText(*result.dataPins, "data pin");
    }
    if (!result.dataRate.empty()) {
        text += ", " + result.dataRate;
    }
    text += "\n" + propertiesText(result.properties);
    text += fmt::format("{}, each calibrated and recorded anew, in {:.1f} s\n",
                        toolkit::countText(result.rounds, "round"), result.seconds);
    text += fmt::format("{} checked, {}; {:.2f} million words a second over all\n",
                        toolkit::countText(result.words, "word"), toolkit::countText(result.errors, "error"),
                        result.wordsPerSecond() / 1e6);
    return result.firstErrors.empty() ? text : text + errorTable(result.firstErrors);
}

nlohmann::json soakJson(const SoakResult& result) {
    nlohmann::json wrong = nlohmann::json::array();
    for (const auto& [round, error] : result.firstErrors) {
        wrong.push_back({{"round", round},
                         {"packet", error.packet},
                         {"word", error.word},
                         {"byte", error.byte()},
                         {"expected", toolkit::orNull(error.expected)},
                         {"got", error.got}});
    }
    nlohmann::json out = sessionJson(result);
    out["interrupted"] = result.interrupted;
    out["dataPins"] = toolkit::orNull(result.dataPins);
    out["bitsPerSecond"] = toolkit::orNull(result.bitsPerSecond);
    out["rounds"] = result.rounds;
    out["seconds"] = result.seconds;
    out["words"] = result.words;
    out["wordsPerSecond"] = result.rounds != 0 ? nlohmann::json(result.wordsPerSecond()) : nlohmann::json();
    out["wrongWords"] = result.errors;
    out["firstWrongWords"] = wrong;
    return out;
}

} // namespace host
