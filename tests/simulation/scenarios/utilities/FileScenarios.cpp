#include "common/source/Exception.h"
#include "common/source/source_utilities/KeptFile.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "common/source/source_utilities/TextFile.h"
#include "common/source/source_utilities/source_utilities_error.h"
#include "common/source/source_utilities/uFile.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/backend/Files.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/scenarios/ScratchFolder.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/utilities/Operations.h"
#include "tests/simulation/scenarios/utilities/UtilityLists.h"

#include <algorithm>
#include <map>
#include <string>

namespace simulation {

namespace {

using VX_QRS::uThread;
namespace textFile = VX_QRS::textFile;

/// Two threads write lines through one file until a third closes it.
void closedWhileWriting() {
    const ScratchFolder folder;
    VX_QRS::uFile file;
    bool isOpen = false;
    if (!product([&] { isOpen = file.open(folder.path("lines.txt").c_str(), "w"); }) || !isOpen) {
        return;
    }
    std::map<char, std::size_t> written{{'a', 0}, {'b', 0}};
    const auto use = [&](char letter) {
        const std::string line = std::string(20, letter) + "\n";
        const ProductCall call;
        for (int i = 0; i < 4 && file.write(line.data(), line.size()) == line.size(); ++i) {
            ++written[letter];
            file.flush();
        }
    };
    {
        SideThread first([&] { use('a'); });
        SideThread second([&] { use('b'); });
        uThread::sleep(drawBelow(2));
        product([&] { file.close(); });
    }
    expect(file.write("x", 1) == 0, "written", "into a closed file");
    const std::string content = folder.read("lines.txt");
    for (const char letter : {'a', 'b'}) {
        const std::size_t whole = static_cast<std::size_t>(std::count(content.begin(), content.end(), letter));
        expect(Faults::instance().haveFailed() || whole == 20 * written[letter], "lost line", content);
    }
}

/// A file is replaced by two threads, as by two processes, while a third reads it: it has one of the contents at every
/// time, and nothing else is left in the folder.
void replacedByTwo() {
    const ScratchFolder folder;
    const std::string old(300, 'o');
    folder.write("file.txt", old);
    const auto content = [](char letter) { return std::string(5000, letter); };
    const auto replace = [&](char letter) {
        auto outcome = textFile::Written::notWritten;
        product([&] { outcome = textFile::replace(folder.path("file.txt"), content(letter)); });
        expect(outcome == textFile::Written::done || Faults::instance().haveFailed(), "not replaced",
               "without a fault");
        return outcome == textFile::Written::done;
    };
    bool firstDone = false;
    bool secondDone = false;
    {
        SideThread first([&] { firstDone = replace('1'); });
        SideThread reader([&] {
            std::string text;
            const bool isRead =
                product([&] { textFile::read(folder.path("file.txt"), text, textFile::Mode::text); }) && !text.empty();
            expect(!isRead || text == old || text == content('1') || text == content('2') ||
                       Faults::instance().haveFailed(),
                   "mixed content", text.substr(0, 20));
        });
        secondDone = replace('2');
    }
    const std::map<std::string, std::string> files = folder.files();
    const std::string& now = files.at("file.txt");
    const bool isRight = (now == old && !firstDone && !secondDone) || (now == content('1') && firstDone) ||
                         (now == content('2') && secondDone);
    expect(isRight, "wrong content", now.substr(0, 20) + ", " + std::to_string(now.size()) + " bytes");
    expect(files.size() == 1 || Faults::instance().haveFailed(), "file left", files.rbegin()->first);
}

/// A file is kept and replaced. Whatever fails, no content is lost.
void keptAndReplaced() {
    const ScratchFolder folder;
    folder.write("file.txt", "old");
    if (drawBelow(2) == 0) {
        refuseLinks();
    }
    bool replaced = false;
    try {
        product([&] {
            VX_QRS::KeptFile kept(folder.path("file.txt"), ".before", "new");
            replaced = textFile::replace(folder.path("file.txt"), "new") == textFile::Written::done;
            if (replaced) {
                kept.settle();
            }
        });
    } catch (const VX_QRS::source_utilities_error&) {
        expect(Faults::instance().haveFailed(), "not kept", "without a fault");
    }
    const std::map<std::string, std::string> files = folder.files();
    const bool isKept = std::any_of(files.begin(), files.end(), [](const auto& file) { return file.second == "old"; });
    expect(isKept, "lost content", "of the kept file");
    expect(files.contains("file.txt") && files.at("file.txt") == (replaced ? "new" : "old"), "lost file",
           files.contains("file.txt") ? files.at("file.txt") : "missing");
}

/// The one parser of the process: a failed reading is reported or leaves what was read up to there.
void propertiesRead() {
    using namespace VX_QRS::ORV::CLIENT;
    const ScratchFolder folder;
    folder.write("props.txt", "[Global]\norv=unit\n[Channel 0]\nfile=trace\npinMap=0,1\n");
    PropertyParser* parser = nullptr;
    try {
        product([&] {
            parser = createPropertyParser();
            parser->readFile(folder.path("props.txt").c_str());
            // One piece of the file: all of it is read or none.
            expect(parser->countSections("Global") == 1, "nothing read", "without a failure");
            parser->setSection("Channel 0");
            const char* value = nullptr;
            parser->getValue("pinMap", &value);
            expect(std::string(value) == "0,1", "wrong value", value);
        });
    } catch (const Exception&) {
        expect(Faults::instance().haveFailed(), "not read", "without a fault");
    }
    if (parser != nullptr) {
        product([&] { destroyPropertyParser(parser); });
    }
}

} // namespace

std::vector<Scenario> fileScenarios() {
    return {
        {"utilities.file.closedWhileWriting", closedWhileWriting},
        {"utilities.file.replacedByTwo", replacedByTwo},
        {"utilities.file.keptAndReplaced", keptAndReplaced},
        {"utilities.file.propertiesRead", propertiesRead},
    };
}

} // namespace simulation
