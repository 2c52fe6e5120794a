#include "bench/server/Service.h"

namespace bench {

namespace {

constexpr std::size_t accessBytes = 12;

// A request with malformed arguments.
struct BadRequest : UnitError {
    BadRequest() : UnitError("malformed request") {}
};

std::uint32_t need(std::optional<std::uint32_t> value) {
    if (!value) {
        throw BadRequest();
    }
    return *value;
}

class ReplySink final : public RecordSink {
public:
    ReplySink(ReplyWriter& writer, ReplyWriter& made) : reply(writer), ahead(made) {}
    void onData(std::span<const std::uint8_t> bytes) override { reply.data(bytes); }
    void onStatus(std::uint32_t value) override { reply.status(value); }
    void onDataAhead() override { reply.append(ahead); }

private:
    ReplyWriter& reply;
    ReplyWriter& ahead;
};

// The count that opens a register list; the records themselves must be there.
std::uint32_t listCount(ArgumentReader& in) {
    const std::uint32_t count = need(in.u32());
    if (in.left().size() != count * accessBytes) {
        throw BadRequest();
    }
    return count;
}

} // namespace

Bytes Service::answer(const Request& request, ReplyWriter reply) {
    if (request.command == 'D') {
        over = true;
        return {};
    }
    const std::lock_guard lock(mutex);
    try {
        carryOut(request, reply);
    } catch (const UnitError& error) {
        // Records that were written stay: the unit no longer has them.
        reply.failure(error.what());
    }
    return reply.finish();
}

bool Service::prepare() {
    const std::lock_guard lock(mutex);
    if (unit.bytesAhead() == 0) {
        ahead.clear(); // delivered, or discarded by a request
    }
    const std::span<const std::uint8_t> data = unit.readAhead();
    if (data.empty()) {
        return false;
    }
    if (ahead.empty()) {
        ahead = ReplyWriter(std::exchange(spare, {}));
    }
    ahead.data(data);
    return true;
}

void Service::carryOut(const Request& request, ReplyWriter& reply) {
    ArgumentReader in(request.arguments);
    ReplySink sink(reply, ahead);
    switch (request.command) {
    case 'v':
        reply.ok();
        reply.u32(version);
        break;
    case 'c':
        if (need(in.u32()) != in.left().size()) {
            throw BadRequest();
        }
        reply.ok();
        break;
    case 'C':
    case '~':
        reply.ok();
        break;
    case 'm':
        readRegisters(in, reply);
        break;
    case 'M':
        writeRegisters(in, reply);
        break;
    case 'o': {
        const std::uint32_t size = need(in.u32());
        unit.openChannel(size, need(in.u32()));
        reply.ok();
        break;
    }
    case 'O':
        unit.closeChannel();
        reply.ok();
        break;
    case 's':
        unit.start();
        reply.ok();
        break;
    case '?':
        need(in.u32());
        unit.deliver(sink, Unit::Before::StatusReply);
        reply.ok();
        reply.u32(unit.status());
        break;
    case 'p': {
        need(in.u32());
        need(in.u32());
        const Bytes bytes = unit.peek(need(in.u32()));
        reply.ok();
        reply.u32(static_cast<std::uint32_t>(bytes.size()));
        reply.bytes(bytes);
        break;
    }
    case 'S':
        unit.stop();
        reply.ok();
        break;
    case 'r':
        unit.request(need(in.u32()));
        unit.deliver(sink, Unit::Before::OtherReply);
        reply.ok();
        break;
    case 'x':
        unit.cancel();
        reply.ok();
        break;
    case 'f':
        unit.flush();
        reply.ok();
        break;
    default:
        reply.failure();
        break;
    }
}

void Service::readRegisters(ArgumentReader& in, ReplyWriter& reply) {
    const std::uint32_t count = listCount(in);
    reply.ok();
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::uint32_t kind = need(in.u32());
        const std::uint32_t address = need(in.u32());
        need(in.u32());
        reply.u32(kind);
        reply.u32(address);
        reply.u32(unit.read(kind, address));
    }
}

void Service::writeRegisters(ArgumentReader& in, ReplyWriter& reply) {
    const std::uint32_t count = listCount(in);
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::uint32_t kind = need(in.u32());
        const std::uint32_t address = need(in.u32());
        unit.write(kind, address, need(in.u32()));
    }
    reply.ok();
}

} // namespace bench
