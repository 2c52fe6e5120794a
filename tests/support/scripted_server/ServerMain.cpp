// A data server that follows a script. It has the image name of the real one.
//
// Command line: `1 <port>`. The variable SCRIPTED_SERVER_SCRIPT names the script; without it the process idles until it
// is ended. It appends its report, line by line, to the file of that name plus ".report". A script has one step per
// line; a line `[port]` opens the part for that port, and the steps before the first such line are for ports without a
// part.
//
//   listen          opens the port                     expect HEX      reads exactly these bytes
//   accept          accepts a connection; the first    send HEX        writes these bytes
//                   one is used, others idle           drip MS HEX     writes them one by one, that far apart
//   refuse          closes the port                    wait MS         sleeps
//   close           closes the used connection         exit            ends the process at once
//   hang            sleeps until the process is ended
//
// After the last step it reads until the connection ends, and reports bytes that the script did not expect.

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/support/scripted_server/Frames.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using VX_QRS::uSocket;
using VX_QRS::uThread;

struct Step {
    std::string verb;
    std::uint32_t ms = 0;
    std::string digits;
};

class Server {
public:
    Server(std::uint16_t listenPort, std::string path) : port(listenPort), scriptPath(std::move(path)) {}

    void run() {
        std::ostringstream started;
        started << "started " << port << ' ' << VX_QRS::uEnvironment::getCurrentProcessId();
        report(started.str());
        const std::vector<Step> steps = load();
        for (std::size_t i = 0; i < steps.size(); ++i) {
            // Reported before the step: the client may end this process as soon as it has its bytes.
            if (steps[i].verb != "expect") {
                report("used " + std::to_string(i));
            }
            if (!perform(steps[i])) {
                return;
            }
            if (steps[i].verb == "expect") {
                report("used " + std::to_string(i));
            }
        }
        drain();
    }

private:
    void report(const std::string& line) {
        std::ofstream file(scriptPath + ".report", std::ios::app | std::ios::binary);
        file << line + "\n" << std::flush;
    }

    std::vector<Step> load() const {
        std::vector<Step> common;
        std::vector<Step> own;
        std::vector<Step> others;
        std::vector<Step>* part = &common;
        bool hasOwn = false;
        std::ifstream file(scriptPath, std::ios::binary);
        for (std::string line; std::getline(file, line);) {
            if (line.empty()) {
                continue;
            }
            if (line.front() == '[') {
                const bool mine = line == "[" + std::to_string(port) + "]";
                hasOwn = hasOwn || mine;
                part = mine ? &own : &others;
                continue;
            }
            std::istringstream fields(line);
            Step step;
            fields >> step.verb;
            if (step.verb == "wait" || step.verb == "drip") {
                fields >> step.ms;
            }
            fields >> step.digits;
            part->push_back(std::move(step));
        }
        return hasOwn ? own : common;
    }

    bool perform(const Step& step) {
        // Not earlier: the client does not wait long for the port to open.
        const std::string bytes = frames::fromHex(step.digits);
        if (step.verb == "listen") {
            if (listener.listen(port) != uSocket::done) {
                report("port is taken");
                return false;
            }
        } else if (step.verb == "accept") {
            std::unique_ptr<uSocket> accepted = listener.accept();
            if (accepted == nullptr) {
                report("failed accept");
                return false;
            }
            (talk == nullptr ? talk : spare) = std::move(accepted);
        } else if (step.verb == "refuse") {
            listener.close();
        } else if (step.verb == "expect") {
            return expect(bytes);
        } else if (step.verb == "send") {
            send(bytes);
        } else if (step.verb == "drip") {
            for (const char c : bytes) {
                send(std::string(1, c));
                uThread::sleep(step.ms);
            }
        } else if (step.verb == "wait") {
            uThread::sleep(step.ms);
        } else if (step.verb == "close") {
            talk->close();
        } else if (step.verb == "exit") {
            std::_Exit(0);
        } else if (step.verb == "hang") {
            uThread::sleep(uThread::unlimited - 1);
        } else {
            report("unknown step " + step.verb);
            return false;
        }
        return true;
    }

    bool expect(const std::string& wanted) {
        std::string got(wanted.size(), '\0');
        std::uint32_t have = 0;
        while (have < got.size()) {
            std::int32_t count = 0;
            const auto missing = static_cast<std::uint32_t>(got.size()) - have;
            if (talk == nullptr || talk->read(got.data(), missing, have, count) != uSocket::done) {
                report("lost at expect, got " + frames::toHex(got.substr(0, have)));
                return false;
            }
            have += static_cast<std::uint32_t>(count);
        }
        if (got != wanted) {
            report("mismatch, got " + frames::toHex(got) + " for " + frames::toHex(wanted));
            return false;
        }
        return true;
    }

    void send(const std::string& raw) {
        std::uint32_t went = 0;
        while (went < raw.size()) {
            std::int32_t count = 0;
            const auto rest = static_cast<std::uint32_t>(raw.size()) - went;
            if (talk == nullptr || talk->write(raw.data(), rest, went, count) != uSocket::done) {
                return;
            }
            went += static_cast<std::uint32_t>(count);
        }
    }

    void drain() {
        std::string extra;
        std::array<char, 256> block{};
        std::int32_t count = 0;
        while (talk != nullptr && talk->read(block.data(), 256, 0, count) == uSocket::done) {
            extra.append(block.data(), static_cast<std::size_t>(count));
            if (extra == "$D#00") {
                report("goodbye");
                extra.clear();
            }
        }
        if (!extra.empty()) {
            report("extra " + frames::toHex(extra));
        }
    }

    std::uint16_t port;
    std::string scriptPath;
    uSocket listener;
    std::unique_ptr<uSocket> talk;
    std::unique_ptr<uSocket> spare;
};

} // namespace

int main(int argc, char** argv) {
    const std::string script = VX_QRS::uEnvironment::get("SCRIPTED_SERVER_SCRIPT");
    if (script.empty()) {
        uThread::sleep(uThread::unlimited - 1);
        return 0;
    }
    if (argc != 3 || std::string(argv[1]) != "1") {
        return 1;
    }
    Server(static_cast<std::uint16_t>(std::stoul(argv[2])), script).run();
    return 0;
}
