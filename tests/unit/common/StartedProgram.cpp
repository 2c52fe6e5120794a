// The program that tests start: writes its arguments and open files to the file of its first argument, one item a line,
// and then waits for the milliseconds of its second argument.
#include "common/source/source_utilities/uThread.h"
#include "tests/support/open_handles/OpenHandles.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    if (argc < 3) {
        return 2;
    }
    const std::vector<std::string> inherited = test_support::listOpenFiles();
    const std::string path(argv[1]);
    {
        std::ofstream file(path + ".part");
        for (int i = 3; i < argc; ++i) {
            file << argv[i] << '\n';
        }
        for (const std::string& name : inherited) {
            file << "open: " << name << '\n';
        }
    }
    // The report is renamed when it is complete.
    std::filesystem::rename(path + ".part", path);
    VX_QRS::uThread::sleep(static_cast<std::uint32_t>(std::atoi(argv[2])));
    return 0;
}
