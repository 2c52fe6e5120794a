#include "tests/support/scripted_server/ScriptedServer.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/support/scripted_server/Frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <set>

using VX_QRS::uEnvironment;

namespace {

constexpr const char* folderVariable = "COMMON_HELIX";
constexpr const char* scriptVariable = "SCRIPTED_SERVER_SCRIPT";

std::filesystem::path uniqueName(const char* stem) {
    static int counter = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::ostringstream name;
    name << stem << '-' << uEnvironment::getCurrentProcessId() << '-' << now << '-' << ++counter;
    return std::filesystem::temp_directory_path() / name.str();
}

} // namespace

ScopedVariable::ScopedVariable(const char* variable, const std::string& value)
    : name(variable), saved(uEnvironment::get(variable)) {
    uEnvironment::set(name.c_str(), value.c_str());
}

ScopedVariable::~ScopedVariable() {
    uEnvironment::set(name.c_str(), saved.c_str());
}

ScriptedServer::ScriptedServer() : scriptPath(uniqueName("orv-script")) {
    uEnvironment::set(folderVariable, folder().c_str());
    uEnvironment::set(scriptVariable, scriptPath.string().c_str());
}

ScriptedServer::~ScriptedServer() {
    EXPECT_TRUE(allEnded()) << "a server process is still running; it reports:\n" << report();
    uEnvironment::set(folderVariable, "");
    uEnvironment::set(scriptVariable, "");
    std::error_code ignored;
    std::filesystem::remove(scriptPath, ignored);
    std::filesystem::remove(scriptPath.string() + ".report", ignored);
}

std::string ScriptedServer::folder() {
    return std::filesystem::absolute(SCRIPTED_SERVER_FOLDER).string();
}

ScriptedServer& ScriptedServer::step(std::string_view verb, std::string_view bytes) {
    script << verb << ' ' << frames::toHex(bytes) << '\n';
    ++steps;
    return *this;
}

ScriptedServer& ScriptedServer::forPort(std::uint32_t port) {
    script << '[' << port << "]\n";
    steps = 0;
    return *this;
}

ScriptedServer& ScriptedServer::drip(std::uint32_t ms, std::string_view bytes) {
    return step("drip " + std::to_string(ms), bytes);
}

ScriptedServer& ScriptedServer::wait(std::uint32_t ms) {
    return step("wait " + std::to_string(ms));
}

ScriptedServer& ScriptedServer::hang() {
    script << "hang\n";
    return *this;
}

ScriptedServer& ScriptedServer::greet() {
    return listen().accept().accept().expect("$v#00").send(frames::reply(frames::word(1)));
}

void ScriptedServer::arm() {
    std::ofstream(scriptPath, std::ios::binary) << script.str();
}

std::string ScriptedServer::report() const {
    std::ifstream file(scriptPath.string() + ".report", std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<ScriptedServer::Started> ScriptedServer::started() const {
    std::istringstream lines(report());
    std::vector<Started> all;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string word;
        Started one;
        if (fields >> word >> one.port >> one.pid && word == "started") {
            all.push_back(one);
        }
    }
    return all;
}

std::vector<std::uint32_t> ScriptedServer::startedPorts() const {
    std::vector<std::uint32_t> ports;
    for (const Started& one : started()) {
        ports.push_back(one.port);
    }
    return ports;
}

std::vector<std::uint32_t> ScriptedServer::startedPids() const {
    std::vector<std::uint32_t> pids;
    for (const Started& one : started()) {
        pids.push_back(one.pid);
    }
    return pids;
}

bool ScriptedServer::allEnded() const {
    const std::vector<Started> all = started();
    // By the name, too: the number of an ended process may already be that of another program.
    const auto runs = [](const Started& one) { return uEnvironment::findProcess(image, one.pid) != 0; };
    // The process list may show an ended process for a moment.
    for (int i = 0; i < 400; ++i) {
        if (std::none_of(all.begin(), all.end(), runs)) {
            return true;
        }
        VX_QRS::uThread::sleep(25);
    }
    return false;
}

std::set<std::size_t> ScriptedServer::usedSteps() const {
    std::istringstream lines(report());
    std::set<std::size_t> used;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("used ")) {
            const std::size_t index = std::stoul(line.substr(5));
            if (index < steps) {
                used.insert(index);
            }
        }
    }
    return used;
}

void ScriptedServer::awaitSteps() const {
    while (usedSteps().size() < steps) {
        VX_QRS::uThread::sleep(5);
    }
}

void ScriptedServer::verify() const {
    std::istringstream lines(report());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(line.starts_with("used ") || line.starts_with("started ") || line == "goodbye") << line;
    }
    EXPECT_EQ(usedSteps().size(), steps) << "steps of the script were not used; the server reports:\n" << report();
}
