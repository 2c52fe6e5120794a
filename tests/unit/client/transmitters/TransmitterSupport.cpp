#include "tests/unit/client/transmitters/TransmitterSupport.h"

#include <fstream>

namespace transmitter_test {

namespace {

const test_support::LogCapture::WithEntries entries;

} // namespace

PropertiesFile::PropertiesFile(const std::string& text) : parser(createPropertyParser()) {
    const std::string path = folder.file("props.txt");
    std::ofstream(path) << text;
    parser->readFile(path.c_str());
}

PropertiesFile::~PropertiesFile() {
    destroyPropertyParser(parser);
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
        if (pattern.check(words[i % words.size()], words[(i + 1) % words.size()], synced)) {
            return false;
        }
    }
    return true;
}

} // namespace transmitter_test
