#include "Host.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

// Files byte for byte as in golden/. With ORV_WRITE_GOLDEN set the tests rewrite those files instead, for review and
// commit: every changed log line must be intended.

namespace {

using namespace face;
namespace fs = std::filesystem;

// The unit starts sampling at any position of the signal, so lengths in samples can differ by one.
bool sameWithinASample(const std::string& is, const std::string& ought) {
    static const std::regex measured("(stretches|delays|delay|stretch|margin)=[-+0-9,]*[0-9]");
    static const std::regex number("-?[0-9]+");
    const auto fields = [](const std::string& line) {
        std::vector<int> values;
        for (std::sregex_iterator field(line.begin(), line.end(), measured), end; field != end; ++field) {
            const std::string text = field->str();
            for (std::sregex_iterator one(text.begin(), text.end(), number); one != end; ++one) {
                values.push_back(std::stoi(one->str()));
            }
        }
        return values;
    };
    const std::string blank = "$1=";
    if (std::regex_replace(is, measured, blank) != std::regex_replace(ought, measured, blank)) {
        return false;
    }
    const std::vector<int> left = fields(is);
    const std::vector<int> right = fields(ought);
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](int a, int b) { return std::abs(a - b) <= 1; });
}

void compare(const std::string& name, const std::string& text) {
    const fs::path golden = fs::path(FACE_GOLDEN_FOLDER) / name;
    if (!getVariable("ORV_WRITE_GOLDEN").empty()) {
        writeBytes(golden, text);
        return;
    }
    const std::string expected = readBytes(golden);
    ASSERT_FALSE(expected.empty()) << golden;
    if (text == expected) {
        return;
    }
    std::istringstream is(text);
    std::istringstream ought(expected);
    std::string isLine;
    std::string oughtLine;
    for (int line = 1; std::getline(is, isLine) && std::getline(ought, oughtLine); ++line) {
        if (!sameWithinASample(isLine, oughtLine)) {
            ASSERT_EQ(isLine, oughtLine) << name << ", line " << line;
        }
    }
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), std::count(expected.begin(), expected.end(), '\n'))
        << name << " is longer or shorter than it was";
}

// Every line of a text file ends with this system's line end.
std::string withPlainLineEnds(const std::string& bytes) {
    const std::string end = lineEnd();
    std::string text;
    for (std::size_t start = 0; start < bytes.size();) {
        const std::size_t stop = bytes.find(end, start);
        if (stop == std::string::npos) {
            ADD_FAILURE() << "the last line has no end";
            break;
        }
        text.append(bytes, start, stop - start).append("\n");
        start = stop + end.size();
    }
    return text;
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t place = text.find(from); place != std::string::npos; place = text.find(from, place + to.size())) {
        text.replace(place, from.size(), to);
    }
}

class GoldenFace : public FaceTest {
protected:
    // Parts that differ between runs and systems.
    std::string masked(std::string line) const {
        static const std::vector<std::pair<std::regex, std::string>> masks{
            {std::regex("^(.{5}) [0-9:]+ \\|"), "$1 <time> |"},
            {std::regex("PATH=.*"), "PATH=<path>"},
            {std::regex("Working Directory is: .*"), "Working Directory is: <folder>"},
            {std::regex("pid=[0-9]+"), "pid=<pid>"},
            // The unit starts sampling at any position of the signal.
            {std::regex("edge : [0-9]+ data edges between clock edges, [0-9]+ near one"),
             "edge : <n> data edges between clock edges, <n> near one"},
            {std::regex("correlation peak=[0-9.]+ at lag ([-0-9]+), at zero=[0-9.]+"),
             "correlation peak=<c> at lag $1, at zero=<c>"},
            {std::regex("port=[0-9]+"), "port=<port>"},
            {std::regex("mpx_ecom_server.exe 1 [0-9]+"), "mpx_ecom_server.exe 1 <port>"},
            {std::regex("\\((orv_client_[a-z]+|OrvRcvr_[A-Za-z]+|OrvEcomProxy):[0-9]+\\)"), "($1:<line>)"},
            {std::regex("(orv_client_[a-z]+|OrvRcvr_[A-Za-z]+)\\([0-9]+\\)"), "$1(<line>)"},
        };
        std::replace(line.begin(), line.end(), '\\', '/');
        replaceAll(line, space.programs().generic_string(), "<programs>");
        replaceAll(line, space.file("").parent_path().generic_string(), "<run>");
        for (const auto& [pattern, text] : masks) {
            line = std::regex_replace(line, pattern, text);
        }
        return line;
    }

    // The channel's thread and the one that started it write at the same time; the starter's two lines come first here.
    static std::string inOneOrder(const std::vector<std::string>& lines) {
        std::string text;
        std::vector<std::string> later;
        bool collecting = false;
        const auto flush = [&] {
            for (const std::string& line : later) {
                text += line + "\n";
            }
            later.clear();
            collecting = false;
        };
        for (const std::string& line : lines) {
            if (!collecting) {
                text += line + "\n";
                collecting = line.ends_with("starting collection thread");
            } else if (line.find("ORV Receiver : StartRecording ") != std::string::npos) {
                text += line + "\n";
                if (line.ends_with("success")) {
                    flush();
                }
            } else {
                later.push_back(line);
            }
        }
        flush();
        return text;
    }
};

TEST_F(GoldenFace, TheSettingsFileThatReplacesAMissingOne) {
    create();
    allocate();
    const fs::path file = space.file("new.xml");
    channel->SetConfiguration(file.string().c_str());
    compare("defaults.xml", withPlainLineEnds(readBytes(file)));
}

TEST_F(GoldenFace, AReplacedSettingsFileKeepsUnknownElements) {
    create();
    allocate();
    const fs::path file = space.file("old.xml");
    writeBytes(file, "<CHANNEL-SETUP>\n\t<mine>kept</mine>\n\t<num_pins>3</num_pins>\n\t<no_emu0>true</no_emu0>\n"
                     "\t<no_emu1>false</no_emu1>\n</CHANNEL-SETUP>\n<OTHER>\n\t<also>kept</also>\n</OTHER>\n");
    channel->SetConfiguration(file.string().c_str());
    compare("replaced.xml", withPlainLineEnds(readBytes(file)));
}

TEST_F(GoldenFace, ThePropertiesFile) {
    create();
    allocate();
    configure({{"num_pins", "4"}, {"is_stop_on_full", "false"}, {"bufsize_current", "12"}});
    compare("channel.cfg", withPlainLineEnds(readBytes(space.data("chan.cfg"))));
}

TEST_F(GoldenFace, TheLogOfAWholeRecording) {
    create();
    allocate();
    configure({{"num_pins", "4"}});
    recordUntilFull();
    const fs::path tdf = space.file("trace.tdf");
    writeBytes(tdf, "TDF1");
    channel->SaveFile(tdf.string(), CChannelDriver::eSaveTraceDataFile);
    receiver->ReleaseChannel(channel);
    destroy();

    const fs::path log = space.log();
    EXPECT_TRUE(std::regex_match(log.filename().string(),
                                 std::regex("vx_trace_log_[1-9][0-9]{5,7}_" + std::to_string(processId()) + "\\.txt")))
        << log;
    std::istringstream in(withPlainLineEnds(readBytes(log)));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        // A create that found a server which did not listen yet was repeated.
        if (line.ends_with("on entry g_refCnt=0")) {
            lines.resize(std::min<std::size_t>(lines.size(), 2));
        }
        // This test does not depend on a running server: one of the last run may be about to end.
        if (line.find("MpxEcomProxy: starting server") == std::string::npos) {
            lines.push_back(masked(line));
        }
    }
    compare("recording.log", inOneOrder(lines));
}

} // namespace
