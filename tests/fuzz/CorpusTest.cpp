#include "fuzz/Targets.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

// A target ends the program when a check fails, so returning is the test. The counts detect a missing corpus.

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> corpus(const char* target) {
    std::vector<Bytes> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(FUZZ_CORPUS) / target)) {
        std::ifstream file(entry.path(), std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return inputs;
}

std::set<std::string> namesIn(const char* folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.insert(entry.path().stem().string());
    }
    return names;
}

class EveryTarget : public testing::TestWithParam<fuzz::Target> {};

std::string nameOf(const testing::TestParamInfo<fuzz::Target>& info) {
    return info.param.name;
}

} // namespace

namespace fuzz {

static void PrintTo(const Target& target, std::ostream* out) {
    *out << target.name;
}

} // namespace fuzz

TEST(FuzzTargets, HaveAFolderOfInputsAProgramAndNoOthersDo) {
    std::set<std::string> names;
    for (const fuzz::Target& target : fuzz::targets()) {
        names.insert(target.name);
    }
    EXPECT_EQ(namesIn(FUZZ_CORPUS), names);
    std::set<std::string> programs;
    for (std::string file : namesIn(FUZZ_SOURCES)) {
        if (const std::size_t end = file.rfind("Target"); end != std::string::npos && end + 6 == file.size()) {
            file.front() = static_cast<char>(file.front() - 'A' + 'a');
            programs.insert(file.substr(0, end));
        }
    }
    EXPECT_EQ(programs, names) << "a program is built for each file";
    for (const std::string& name : namesIn(FUZZ_SOURCES "/dictionaries")) {
        EXPECT_EQ(names.count(name), 1U) << name << " has a dictionary and no program";
    }
}

TEST_P(EveryTarget, HoldsForEachInputKept) {
    const auto inputs = corpus(GetParam().name);
    EXPECT_GE(inputs.size(), 4U);
    EXPECT_LE(inputs.size(), 60U) << "merge the inputs, each build replays them";
    for (const Bytes& input : inputs) {
        GetParam().run(input);
    }
}

INSTANTIATE_TEST_SUITE_P(Fuzz, EveryTarget, testing::ValuesIn(fuzz::targets().begin(), fuzz::targets().end()), nameOf);

TEST(FuzzCorpus, EveryReplyKeptCutAtEachByteEndsInAKnownWay) {
    for (const Bytes& input : corpus("replies")) {
        for (std::size_t size = 0; size < input.size(); ++size) {
            fuzz::replies({input.data(), size});
        }
    }
}

TEST(FuzzCorpus, EveryReplyKeptToEachOperationEndsInAKnownWay) {
    for (Bytes input : corpus("replies")) {
        for (unsigned choice = 0; choice < 256 && !input.empty(); ++choice) {
            input[0] = static_cast<std::uint8_t>(choice);
            fuzz::replies(input);
        }
    }
}

TEST(FuzzCorpus, EveryOperationKeptGivesWhatTheModelGives) {
    const auto inputs = corpus("packetBuffer");
    EXPECT_GE(inputs.size(), 6u);
    for (const Bytes& input : inputs) {
        for (std::size_t size = 0; size <= input.size(); ++size) {
            fuzz::packetBuffer({input.data(), size});
        }
    }
}

TEST(FuzzCorpus, EveryScenarioKeptCutAtEachByteIsReadOrRefused) {
    const auto inputs = corpus("scenario");
    EXPECT_GE(inputs.size(), 18u);
    for (const Bytes& input : inputs) {
        for (std::size_t size = 0; size <= input.size(); ++size) {
            fuzz::scenario({input.data(), size});
        }
    }
}

TEST(FuzzCorpus, KeptScenariosWithSomeBytesChangedAreReadOrRefused) {
    constexpr std::array<std::uint8_t, 12> special{'"', '\'', '\\', '#', '\n', ' ', '=', '[', 0xC3, 0xA4, 0xEF, 0x80};
    std::mt19937 generator(7);
    const auto inputs = corpus("scenario");
    for (int round = 0; round < 20000; ++round) {
        Bytes input = inputs[generator() % inputs.size()];
        for (auto changes = 1 + generator() % 6; changes != 0 && !input.empty(); --changes) {
            input[generator() % input.size()] = special[generator() % special.size()];
        }
        fuzz::scenario(input);
    }
}

TEST(FuzzCorpus, KeptRepliesWithSomeBytesChangedEndInAKnownWay) {
    std::mt19937 generator(3);
    const auto inputs = corpus("replies");
    for (int round = 0; round < 20000; ++round) {
        Bytes input = inputs[generator() % inputs.size()];
        for (auto changes = 1 + generator() % 4; changes != 0 && !input.empty(); --changes) {
            input[generator() % input.size()] = static_cast<std::uint8_t>(generator());
        }
        fuzz::replies(input);
    }
}

TEST(FuzzCorpus, RandomOperationsGiveWhatTheModelGives) {
    constexpr std::array<std::uint8_t, 4> special{'}', '#', '$', '*'};
    std::mt19937 generator(5);
    for (int round = 0; round < 5000; ++round) {
        Bytes input(generator() % 400);
        // Bytes with a meaning in the framing are more frequent than others.
        for (std::uint8_t& byte : input) {
            byte =
                generator() % 8 == 0 ? special[generator() % special.size()] : static_cast<std::uint8_t>(generator());
        }
        fuzz::packetBuffer(input);
    }
}
