#pragma once

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// Shared by these tests: folders, variables, the log and the stand-ins of the sibling libraries.

namespace rcvr_test {

using VX_QRS::uEnvironment;

using test_support::TemporaryFolder;

class ScopedVariable {
public:
    ScopedVariable(const char* variable, const std::string& value) : name(variable), old(uEnvironment::get(variable)) {
        uEnvironment::set(variable, value.c_str());
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { uEnvironment::set(name.c_str(), old.c_str()); }

private:
    std::string name;
    std::string old;
};

inline std::string readBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeBytes(const std::string& path, const std::string& bytes) {
    // A new file is quicker than one that is cut to nothing first, and some tests write very many.
    std::error_code none;
    std::filesystem::remove(path, none);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

/// A text file's content with the line ends of this program.
inline std::string readText(const std::string& path) {
    std::string text;
    for (const char c : readBytes(path)) {
        if (c != '\r') {
            text += c;
        }
    }
    return text;
}

inline std::vector<std::string> readLines(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        lines.push_back(line);
    }
    return lines;
}

inline std::string searchPathOf(const std::vector<std::string>& folders) {
    const char* const delimiter = *uEnvironment::separator() == '\\' ? ";" : ":";
    const std::filesystem::path root =
        std::filesystem::absolute(testing::internal::GetArgvs()[0]).parent_path() / "fakes";
    std::string path;
    for (const std::string& folder : folders) {
        if (!path.empty()) {
            path.append(delimiter);
        }
        path.append((root / folder).string());
    }
    return path;
}

/// Which stand-ins are installed: PATH holds their folders and nothing else.
class Siblings {
public:
    explicit Siblings(const std::vector<std::string>& folders) : path("PATH", searchPathOf(folders)) {}

private:
    ScopedVariable path;
};

/// The log of a test, without times: "M text", "E text", "F text".
class LogCapture {
public:
    explicit LogCapture(const TemporaryFolder& folder, const char* level = "3")
        : levelVariable("RCVR_TEST_LEVEL", level), folderVariable("RCVR_TEST_FOLDER", folder.path.string()) {
        static int count = 0;
        const std::string name = "log" + std::to_string(++count) + ".txt";
        path = folder.file(name);
        opened = VX_QRS::getLogManager()->open(name.c_str(), "RCVR_TEST_LEVEL", "RCVR_TEST_FOLDER", false);
        EXPECT_TRUE(opened);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() {
        if (opened) {
            VX_QRS::getLogManager()->getLogger()->setEnabled(false);
        }
    }

    std::vector<std::string> lines() const {
        std::vector<std::string> found;
        for (const std::string& line : readLines(path)) {
            if (line.size() < 7) {
                continue;
            }
            const std::string classes = line.substr(0, 5);
            const char letter = classes[classes.find_first_not_of(' ')];
            const std::size_t bar = letter == 'F' ? 5 : line.find("| ");
            std::string text = line.substr(letter == 'F' ? 7 : bar + 2);
            if (text.rfind("Logger : ", 0) != 0) {
                found.push_back(std::string(1, letter) + " " + text);
            }
        }
        return found;
    }

private:
    ScopedVariable levelVariable;
    ScopedVariable folderVariable;
    std::string path;
    bool opened;
};

} // namespace rcvr_test
