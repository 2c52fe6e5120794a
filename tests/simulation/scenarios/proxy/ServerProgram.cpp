#include "tests/simulation/scenarios/proxy/ServerProgram.h"

#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/backend/Network.h"
#include "tests/simulation/scenarios/proxy/ServerTalk.h"
#include "tests/support/scripted_server/Frames.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace simulation {

namespace {

using VX_QRS::uSocket;
using VX_QRS::uThread;

constexpr std::size_t mostInRecord = 200;

Random& chance() {
    return Network::instance().random();
}

/// The unit that the server owns.
class Unit {
public:
    Unit(std::uint32_t reported, ServerRecord& what) : version(reported), record(what) {}

    std::string answer(const Request& request) {
        switch (request.command) {
        case 'v':
            return frames::reply(frames::word(version));
        case 'm':
            return frames::reply(read(request.arguments));
        case 'M':
            write(request.arguments);
            return frames::reply();
        case '?': {
            const std::string records = deliver(chance().below(pending + 1));
            return frames::reply(frames::word(static_cast<std::uint32_t>(pending)), records);
        }
        case 'r':
            pending += wordAt(request.arguments, 0);
            record.requested += wordAt(request.arguments, 0);
            return frames::reply({}, deliver(chance().below(pending + 1)));
        case 'f':
            return frames::reply({}, deliver(pending));
        case 'S':
            return frames::reply({}, isOpen ? frames::statusRecord(0) : "");
        case 'o':
        case 'O':
            isOpen = request.command == 'o';
            return frames::reply();
        default:
            return frames::reply();
        }
    }

private:
    std::string read(const std::string& arguments) const {
        std::string list;
        for (std::size_t at = wordSize; at < arguments.size(); at += accessSize) {
            const std::uint32_t address = wordAt(arguments, at + wordSize);
            const auto written = registers.find(address);
            const std::uint32_t value = written == registers.end() ? registerContent(address) : written->second;
            list += frames::access(wordAt(arguments, at), address, value);
        }
        return list;
    }

    void write(const std::string& arguments) {
        for (std::size_t at = wordSize; at < arguments.size(); at += accessSize) {
            registers[wordAt(arguments, at + wordSize)] = wordAt(arguments, at + 2 * wordSize);
        }
    }

    std::string deliver(std::size_t count) {
        std::string records;
        while (isOpen && count > 0) {
            const std::size_t size = 1 + chance().below(std::min(count, mostInRecord));
            std::string bytes;
            for (std::size_t i = 0; i < size; ++i) {
                bytes += static_cast<char>(recordedByte(record.sent++));
            }
            records += frames::dataRecord(bytes);
            count -= size;
            pending -= size;
        }
        return records;
    }

    std::uint32_t version;
    ServerRecord& record;
    std::map<std::uint32_t, std::uint32_t> registers;
    std::size_t pending = 0; // requested and not sent
    bool isOpen = false;
};

void serve(ServerTalk& talk, const ServerPlan& plan, ServerRecord& record) {
    Unit unit(plan.version, record);
    for (std::size_t served = 0; served < plan.requestsServed; ++served) {
        const std::optional<Request> request = talk.next();
        if (!request.has_value() || request->command == 'D') {
            return;
        }
        if (plan.slowest != 0) {
            uThread::sleep(static_cast<std::uint32_t>(chance().below(plan.slowest + 1)));
        }
        const bool isError = served >= plan.requestsWithoutError;
        if (!talk.send(isError ? "$errunit not ready#00" : unit.answer(*request))) {
            return;
        }
    }
    talk.next();
}

} // namespace

std::uint8_t recordedByte(std::size_t position) {
    return static_cast<std::uint8_t>(position * 7 + position / 256);
}

std::uint32_t registerContent(std::uint32_t address) {
    return address * 2654435761U >> 16U;
}

void runServer(const ServerPlan& plan, ServerRecord& record, const std::string& arguments) {
    if (plan.opensAfter != 0) {
        uThread::sleep(plan.opensAfter);
    }
    ServerTalk talk;
    if (talk.open(portOf(arguments))) {
        serve(talk, plan, record);
    }
}

void holdPort(const std::string& arguments, std::uint32_t milliseconds) {
    uSocket listener;
    if (listener.listen(portOf(arguments)) != uSocket::done) {
        return;
    }
    if (milliseconds != 0) {
        uThread::sleep(milliseconds);
        return;
    }
    std::vector<std::unique_ptr<uSocket>> taken;
    for (;;) {
        taken.push_back(listener.accept());
    }
}

} // namespace simulation
