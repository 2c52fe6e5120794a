#include "tests/support/scratch/LogCapture.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <algorithm>
#include <sstream>
#include <system_error>

namespace test_support {

namespace {

bool entriesWanted = false;

class ProcessLog {
public:
    ProcessLog() {
        // The level that logs entries also writes to other outputs; disable those.
        VX_QRS::uEnvironment::set("USERPROFILE", folder.path.string().c_str());
        VX_QRS::uEnvironment::set("ORV_TEST_LOG_LEVEL", entriesWanted ? "6" : "1");
        VX_QRS::uEnvironment::set("ORV_TEST_LOG_DIR", folder.path.string().c_str());
        VX_QRS::uLogManager* manager = VX_QRS::getLogManager();
        constexpr bool shared = false;
        manager->open("log", "ORV_TEST_LOG_LEVEL", "ORV_TEST_LOG_DIR", shared);
        manager->getLogger()->setToStdout(false);
        manager->getLogger()->setToDebugger(false);
    }
    ~ProcessLog() {
        // Windows does not remove an open file.
        if (VX_QRS::uLogger* logger = VX_QRS::getLogManager()->getLogger(); logger != nullptr) {
            logger->setEnabled(false);
        }
    }

    TemporaryFolder folder;
};

std::string logPath() {
    static const ProcessLog log;
    return log.folder.file("log");
}

/// Replaces the number after a source unit by "#".
std::string withoutLineNumber(std::string message) {
    for (const std::string unit : {"orv_client_frontend", "orv_client_transmitter"}) {
        const std::size_t found = message.find(unit);
        if (found == std::string::npos) {
            continue;
        }
        const std::size_t begin = std::min(message.find_first_of("0123456789", found), message.size());
        const std::size_t end = std::min(message.find_first_not_of("0123456789", begin), message.size());
        if (begin < end && (message[begin - 1] == ':' || message[begin - 1] == '#')) {
            message.replace(begin, end - begin, 1, '#');
        }
    }
    return message;
}

std::vector<std::string> strip(const std::vector<std::string>& full) {
    const std::string head = "ORV Receiver (orv_client_frontend:#) ";
    std::vector<std::string> stripped;
    for (const std::string& line : full) {
        if (line.starts_with(head)) {
            stripped.push_back(line.substr(head.size()));
        }
    }
    return stripped;
}

} // namespace

LogCapture::WithEntries::WithEntries() {
    entriesWanted = true;
}

LogCapture::LogCapture() {
    std::error_code none;
    const std::uintmax_t size = std::filesystem::file_size(logPath(), none);
    from = none ? 0 : size;
}

std::vector<std::string> LogCapture::lines(char kind) const {
    constexpr std::size_t classWidth = 5;
    std::istringstream text(readText(logPath()).substr(static_cast<std::size_t>(from)));
    std::vector<std::string> found;
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.substr(0, classWidth).find(kind) == std::string::npos) {
            continue;
        }
        const std::size_t bar = line.find(" | ");
        found.push_back(withoutLineNumber(bar == std::string::npos ? line.substr(classWidth) : line.substr(bar + 3)));
    }
    return found;
}

std::vector<std::string> LogCapture::steps() const {
    return strip(messages());
}

std::vector<std::string> LogCapture::errorSteps() const {
    return strip(errors());
}

std::vector<std::string> LogCapture::functions(const std::string& unit) const {
    std::vector<std::string> found;
    for (const std::string& line : lines('F')) {
        // "<unit> ##  VX_QRS::ORV::CLIENT::TransmitterBase_1::end(...)"
        const std::size_t begin = line.find("CLIENT::");
        const std::size_t end = line.find("(...)");
        if (line.find(unit + " #") != std::string::npos && begin < end) {
            found.push_back(line.substr(begin + 8, end - begin - 8));
        }
    }
    return found;
}

} // namespace test_support
