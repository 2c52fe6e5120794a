#include "tests/simulation/scenarios/proxy/UnitServer.h"

#include "tests/simulation/scenarios/proxy/ServerTalk.h"
#include "tests/support/scripted_server/Frames.h"

#include <stdexcept>
#include <utility>
#include <vector>

namespace simulation {

namespace {

using VX_QRS::ORV::DataClient;
using VX_QRS::ORV::RegisterAccess;

class UnitServer final : public DataClient::Callback {
public:
    explicit UnitServer(DataClient& served) : unit(served) {}

    std::string answer(const Request& request) {
        try {
            const std::string payload = carryOut(request);
            return frames::reply(payload, std::exchange(records, {}));
        } catch (const std::runtime_error& e) {
            return std::exchange(records, {}) + "$err" + e.what() + "#00";
        }
    }

private:
    std::string carryOut(const Request& request) {
        switch (request.command) {
        case 'v':
            return frames::word(1);
        case 'c':
            unit.connect("unit");
            return {};
        case 'C':
            unit.disconnect();
            return {};
        case 'm':
            return access(request.arguments, true);
        case 'M':
            return access(request.arguments, false);
        case 'o':
            channel = unit.openChannel(wordAt(request.arguments, 0), wordAt(request.arguments, wordSize), this);
            return {};
        case 'O':
            unit.closeChannel(channel);
            return {};
        default:
            return stream(request);
        }
    }

    std::string stream(const Request& request) {
        std::uint32_t value = request.arguments.empty() ? 0 : wordAt(request.arguments, 0);
        switch (request.command) {
        case 's':
            channel->start();
            return {};
        case '?':
            channel->status(&value);
            return frames::word(value);
        case 'S':
            channel->stop();
            return {};
        case 'r':
            channel->request(value);
            return {};
        case 'x':
            channel->cancel();
            return {};
        case 'f':
            channel->flush();
            return {};
        default:
            throw std::runtime_error("unknown request");
        }
    }

    std::string access(const std::string& arguments, bool isRead) {
        std::vector<RegisterAccess> list;
        for (std::size_t at = wordSize; at < arguments.size(); at += accessSize) {
            list.push_back(
                {wordAt(arguments, at), wordAt(arguments, at + wordSize), wordAt(arguments, at + 2 * wordSize)});
        }
        const auto count = static_cast<std::uint32_t>(list.size());
        if (!isRead) {
            unit.write(list.data(), count);
            return {};
        }
        unit.read(list.data(), count);
        std::string values;
        for (const RegisterAccess& one : list) {
            values += frames::access(one.kind, one.address, one.value);
        }
        return values;
    }

    void onData(const void* data, std::uint32_t size) override {
        records += frames::dataRecord({static_cast<const char*>(data), size});
    }
    void onError(std::uint32_t code, const char* first, const char* second) override {
        records += frames::errorRecord(code, first, second);
    }
    void onStatus(std::uint32_t value) override { records += frames::statusRecord(value); }

    DataClient& unit;
    DataClient::Channel* channel = nullptr;
    std::string records; // before the next reply
};

} // namespace

void runUnitServer(DataClient& unit, const std::string& arguments) {
    ServerTalk talk;
    if (!talk.open(portOf(arguments))) {
        return;
    }
    UnitServer server(unit);
    for (;;) {
        const std::optional<Request> request = talk.next();
        if (!request.has_value() || request->command == 'D' || !talk.send(server.answer(*request))) {
            return;
        }
    }
}

} // namespace simulation
