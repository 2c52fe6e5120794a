#include "tests/unit/client/transmitter_support.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"

#include <atomic>
#include <fstream>
#include <random>
#include <sstream>
#include <system_error>

namespace transmitter_test {

namespace {

/// The process's log, in a folder of its own for as long as the program runs.
class ProcessLog {
public:
    ProcessLog() {
        // Level 6 logs entries of functions, too; they are wanted in the file only.
        VX_QRS::uEnvironment::set("TRANSMITTER_TEST_LOG_LEVEL", "6");
        VX_QRS::uEnvironment::set("TRANSMITTER_TEST_LOG_DIR", folder.path.string().c_str());
        VX_QRS::uEnvironment::set("USERPROFILE", folder.path.string().c_str());
        VX_QRS::getLogManager()->open("log", "TRANSMITTER_TEST_LOG_LEVEL", "TRANSMITTER_TEST_LOG_DIR", false);
        VX_QRS::getLogManager()->getLogger()->setToStdout(false);
        VX_QRS::getLogManager()->getLogger()->setToDebugger(false);
    }
    ~ProcessLog() {
        // An open file could not be removed everywhere.
        if (VX_QRS::uLogger* logger = VX_QRS::getLogManager()->getLogger(); logger != nullptr)
            logger->setEnabled(false);
    }

    TemporaryFolder folder;
};

std::string logPath() {
    static const ProcessLog log;
    return log.folder.file("log");
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    static std::atomic<unsigned> count{0};
    path = std::filesystem::temp_directory_path() /
           ("orv_transmitter_" + std::to_string(std::random_device{}()) + "_" + std::to_string(count++));
    std::filesystem::create_directories(path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> linesOf(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

PropertiesFile::PropertiesFile(const std::string& text) : parser(createPropertyParser()) {
    const std::string path = folder.file("props.txt");
    std::ofstream(path) << text;
    parser->readFile(path.c_str());
}

PropertiesFile::~PropertiesFile() {
    destroyPropertyParser(parser);
}

LogCapture::LogCapture() : from(readText(logPath()).size()) {}

std::vector<std::string> LogCapture::lines(const std::string& kind) const {
    std::istringstream text(readText(logPath()).substr(from));
    std::vector<std::string> found;
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.substr(0, 5).find(kind) == std::string::npos)
            continue;
        const std::size_t bar = line.find(" | ");
        found.push_back(bar == std::string::npos ? line.substr(5) : line.substr(bar + 3));
    }
    return found;
}

std::vector<std::string> LogCapture::functions() const {
    std::vector<std::string> found;
    for (const std::string& line : lines("F")) {
        // "orv_client_transmitter #12  VX_QRS::ORV::CLIENT::TransmitterBase_1::end(...)"
        const std::size_t begin = line.find("CLIENT::");
        const std::size_t end = line.find("(...)");
        if (line.find("orv_client_transmitter #") != std::string::npos && begin < end)
            found.push_back(line.substr(begin + 8, end - begin - 8));
    }
    return found;
}

void expectFailure(const std::function<void()>& action, Status status, const std::string& detail) {
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), status) << e.what();
        EXPECT_EQ(std::string(e.detail()), detail);
        EXPECT_EQ(std::string(e.file()), "orv_client_transmitter");
        EXPECT_GT(e.line(), 0u);
    }
}

std::string get(Transmitter& transmitter, const char* name) {
    const char* value = nullptr;
    transmitter.getProperty(name, &value);
    return value;
}

bool accepts(Pattern& pattern, const std::vector<std::uint16_t>& words) {
    bool synced = true;
    for (std::size_t i = 0; i < 2 * words.size(); ++i) {
        if (pattern.check(words[i % words.size()], words[(i + 1) % words.size()], synced))
            return false;
    }
    return true;
}

} // namespace transmitter_test
