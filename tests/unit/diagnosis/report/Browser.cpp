#include "tests/unit/diagnosis/report/Browser.h"

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

std::string readAll(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

std::string Browser::run(const std::string& page, const std::vector<std::string>& options) const {
    const std::string number = std::to_string(++pages);
    const auto file = folder.write("page" + number + ".html", page);
    std::string command = "HOME='" + folder.path.string() +
                          "' timeout 120 chromium --headless --no-sandbox "
                          "--disable-gpu --disable-quic --no-first-run --disable-background-networking "
                          "--disable-component-update --disable-sync --disable-dev-shm-usage --hide-scrollbars "
                          "--host-resolver-rules='MAP * ~NOTFOUND' --enable-logging=stderr --window-size=1180,2400 "
                          "--user-data-dir='" +
                          folder.file("profile" + number) + "'";
    for (const std::string& option : options) {
        command += " '" + option + "'";
    }
    command += " 'file://" + file + "' >'" + folder.file("out" + number) + "' 2>'" + folder.file("err" + number) +
               "' </dev/null";
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("chromium failed; is the package installed (tools/install-packages test)? " +
                                 readAll(folder.file("err" + number)));
    }
    return number;
}

Browser::Outcome Browser::open(const std::string& page, const std::vector<std::string>& options) const {
    std::vector<std::string> all{"--dump-dom"};
    all.insert(all.end(), options.begin(), options.end());
    const std::string number = run(page, all);
    Outcome outcome;
    outcome.dom = readAll(folder.file("out" + number));
    std::istringstream lines(readAll(folder.file("err" + number)));
    for (std::string line; std::getline(lines, line);) {
        // The browser's own pages have words of their own there, about a slow machine for instance.
        if (line.find("CONSOLE") != std::string::npos && line.find("source: chrome://") == std::string::npos) {
            outcome.console += line + "\n";
        }
    }
    return outcome;
}

std::size_t Browser::picture(const std::string& page, const std::filesystem::path& png) const {
    run(page, {"--screenshot=" + png.string()});
    return readAll(png).size();
}

std::string Browser::print(const std::string& page) const {
    const auto pdf = folder.path / "page.pdf";
    run(page, {"--no-pdf-header-footer", "--print-to-pdf=" + pdf.string()});
    return readAll(pdf);
}
