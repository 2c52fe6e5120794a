#include "tests/support/register_model/RegisterModel.h"

#include "tests/support/register_model/RegisterMap.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace register_model {

namespace {

constexpr std::uint32_t command = 0x08008206;
constexpr std::uint32_t commandTrigger = 0x801F;
constexpr std::uint32_t fifoStatus = 0x0800820C;
constexpr std::uint32_t fifoEnd = 0x0800824C;

/// A write to these clears what the unit has found wrong.
bool isErrorStatus(std::uint32_t address) {
    constexpr std::uint32_t a = 0x08008010;
    constexpr std::uint32_t b = 0x08008020;
    return (address >= a && address < a + 2 * numChannels) || (address >= b && address < b + 2 * numChannels);
}

std::string addressText(const VX_QRS::ORV::RegisterAccess& access) {
    char text[24];
    std::snprintf(text, sizeof text, "%s%08x", access.kind == 2 ? "2:" : "", access.address);
    return text;
}

std::string accessText(const VX_QRS::ORV::RegisterAccess& access) {
    char text[16];
    std::snprintf(text, sizeof text, "=%04x", access.value);
    return addressText(access) + text;
}

} // namespace

RegisterModel::RegisterModel() {
    set(0x08000032, 50000000 >> 16);
    set(0x08000030, 50000000 & 0xFFFF);
    set(0x08000034, 21 << 8 | 3);
    for (std::uint32_t channel = 0; channel < numChannels; ++channel) {
        set(0x08008060 + 2 * channel, 0x80);
    }
}

std::vector<std::string> RegisterModel::log() const {
    Guard guard(mutex);
    return lines;
}

void RegisterModel::clearLog() {
    Guard guard(mutex);
    lines.clear();
    counts.clear();
    writes.clear();
}

void RegisterModel::note(const std::string& line) {
    Guard guard(mutex);
    lines.push_back(line);
}

unsigned RegisterModel::count(Call call) const {
    Guard guard(mutex);
    const auto found = counts.find(call);
    return found == counts.end() ? 0 : found->second;
}

std::vector<std::uint32_t> RegisterModel::written(std::uint32_t address) const {
    Guard guard(mutex);
    const auto found = writes.find(address);
    return found == writes.end() ? std::vector<std::uint32_t>{} : found->second;
}

std::vector<std::string> RegisterModel::refusals() const {
    Guard guard(mutex);
    return refused;
}

bool RegisterModel::isOpen() const {
    Guard guard(mutex);
    return callback != nullptr;
}

void RegisterModel::set(std::uint32_t address, std::uint32_t value, std::uint32_t kind) {
    Guard guard(mutex);
    values[{kind, address}] = value;
}

std::uint32_t RegisterModel::get(std::uint32_t address, std::uint32_t kind) const {
    Guard guard(mutex);
    const auto found = values.find({kind, address});
    return found == values.end() ? 0 : found->second;
}

void RegisterModel::scriptReads(std::uint32_t address, std::vector<std::uint32_t> script, std::uint32_t kind) {
    Guard guard(mutex);
    auto& queue = readScripts[{kind, address}];
    queue.insert(queue.end(), script.begin(), script.end());
}

void RegisterModel::onRead(std::uint32_t address, std::function<std::uint32_t()> value) {
    Guard guard(mutex);
    readHooks[address] = std::move(value);
}

void RegisterModel::onWrite(std::uint32_t address, std::function<void(std::uint32_t)> hook) {
    Guard guard(mutex);
    writeHooks[address] = std::move(hook);
}

void RegisterModel::setBurst(std::uint32_t proc, std::vector<std::uint16_t> words, bool filled) {
    Guard guard(mutex);
    fifos.at(proc).burst = std::move(words);
    fifos.at(proc).burstFills = filled;
}

void RegisterModel::onTrigger(std::function<void(RegisterModel&)> hook) {
    Guard guard(mutex);
    triggerHook = std::move(hook);
}

void RegisterModel::setFifo(std::uint32_t proc, std::vector<std::uint16_t> words) {
    Guard guard(mutex);
    fifos.at(proc).words.assign(words.begin(), words.end());
}

void RegisterModel::setRecorded(std::vector<std::uint8_t> bytes) {
    Guard guard(mutex);
    recorded.assign(bytes.begin(), bytes.end());
}

void RegisterModel::scriptStatus(std::vector<std::uint32_t> script) {
    Guard guard(mutex);
    statusScript.insert(statusScript.end(), script.begin(), script.end());
}

void RegisterModel::setPieceSize(std::uint32_t bytes) {
    Guard guard(mutex);
    pieceSize = bytes;
}

void RegisterModel::deliverBefore(Call call, std::function<void(Callback&)> record, unsigned skip) {
    onNext(
        call,
        [this, record = std::move(record)] {
            if (callback == nullptr) {
                throw std::runtime_error("invalid rsp callback response");
            }
            record(*callback);
        },
        skip);
}

void RegisterModel::failNext(Call call, const std::string& text, unsigned skip) {
    onNext(call, [text] { throw std::runtime_error(text); }, skip);
}

void RegisterModel::onNext(Call call, std::function<void()> action, unsigned skip) {
    Guard guard(mutex);
    events[call].push_back({skip, std::move(action)});
}

void RegisterModel::enter(Call call, const std::string& line) {
    lines.push_back(line);
    ++counts[call];
    std::deque<Event>& queue = events[call];
    std::vector<std::function<void()>> due;
    for (auto event = queue.begin(); event != queue.end();) {
        if (event->skip == 0) {
            due.push_back(std::move(event->action));
            event = queue.erase(event);
        } else {
            --event->skip;
            ++event;
        }
    }
    for (const auto& action : due) {
        action();
    }
}

void RegisterModel::refuse(const char* what, const RegisterAccess& access) {
    const std::string text = std::string(what) + " " + addressText(access);
    refused.push_back(text);
    throw std::runtime_error("the unit refuses " + text);
}

std::uint32_t RegisterModel::readOne(const RegisterAccess& access) {
    if (accessOf(access.kind, access.address) == Access::None) {
        refuse("read", access);
    }
    const auto script = readScripts.find({access.kind, access.address});
    if (script != readScripts.end() && !script->second.empty()) {
        const std::uint32_t value = script->second.front();
        script->second.pop_front();
        return value;
    }
    const auto hook = readHooks.find(access.address);
    if (hook != readHooks.end()) {
        return hook->second();
    }
    if (access.kind == 1 && access.address >= fifoStatus && access.address < fifoEnd) {
        Fifo& fifo = fifos[(access.address - fifoStatus) / 8];
        if ((access.address - fifoStatus) % 8 == 0) {
            return (fifo.filled ? 0x0200u : 0u) | (static_cast<std::uint32_t>(fifo.words.size()) & 0x01FFu);
        }
        if (fifo.words.empty()) {
            return 0;
        }
        const std::uint32_t word = fifo.words.front();
        fifo.words.pop_front();
        fifo.filled = fifo.filled && !fifo.words.empty();
        return word;
    }
    return get(access.address, access.kind);
}

void RegisterModel::writeOne(const RegisterAccess& access) {
    if (accessOf(access.kind, access.address) != Access::ReadWrite) {
        refuse("write", access);
    }
    const bool clears = access.kind == 1 && isErrorStatus(access.address);
    values[{access.kind, access.address}] = clears ? 0 : access.value;
    writes[access.address].push_back(access.value);
    if (access.kind == 1 && access.address == command && access.value == commandTrigger) {
        if (triggerHook) {
            triggerHook(*this);
        }
        for (Fifo& fifo : fifos) {
            fifo.words.assign(fifo.burst.begin(), fifo.burst.end());
            fifo.filled = fifo.burstFills;
        }
    }
    const auto hook = writeHooks.find(access.address);
    if (hook != writeHooks.end()) {
        hook->second(access.value);
    }
}

void RegisterModel::connect(const char* url) {
    Guard guard(mutex);
    enter(Call::Connect, std::string("connect ") + url);
}

void RegisterModel::disconnect() {
    Guard guard(mutex);
    enter(Call::Disconnect, "disconnect");
}

void RegisterModel::read(RegisterAccess* list, std::uint32_t count) {
    Guard guard(mutex);
    std::string line = "read";
    for (std::uint32_t i = 0; i < count; ++i) {
        (line += ' ') += addressText(list[i]);
    }
    enter(Call::Read, line);
    for (std::uint32_t i = 0; i < count; ++i) {
        list[i].value = readOne(list[i]);
    }
}

void RegisterModel::write(const RegisterAccess* list, std::uint32_t count) {
    Guard guard(mutex);
    std::string line = "write";
    for (std::uint32_t i = 0; i < count; ++i) {
        (line += ' ') += accessText(list[i]);
    }
    enter(Call::Write, line);
    for (std::uint32_t i = 0; i < count; ++i) {
        writeOne(list[i]);
    }
}

VX_QRS::ORV::DataClient::Channel* RegisterModel::openChannel(std::uint32_t bufferSize, std::uint32_t mode,
                                                             Callback* newCallback) {
    Guard guard(mutex);
    if (callback != nullptr) {
        throw std::runtime_error("internal channel open error");
    }
    callback = newCallback;
    enter(Call::OpenChannel, "open " + std::to_string(bufferSize) + " " + std::to_string(mode));
    return this;
}

void RegisterModel::closeChannel(VX_QRS::ORV::DataClient::Channel*) {
    Guard guard(mutex);
    enter(Call::CloseChannel, "close");
    callback = nullptr;
}

void RegisterModel::start() {
    Guard guard(mutex);
    enter(Call::Start, "start");
}

void RegisterModel::status(std::uint32_t* ready) {
    Guard guard(mutex);
    enter(Call::Status, "status");
    if (statusScript.empty()) {
        *ready = static_cast<std::uint32_t>(recorded.size());
        return;
    }
    *ready = statusScript.front();
    statusScript.pop_front();
}

void RegisterModel::peek(std::uint32_t, std::uint32_t, void*, std::uint32_t* size) {
    Guard guard(mutex);
    enter(Call::Peek, "peek");
    *size = 0;
}

void RegisterModel::stop() {
    Guard guard(mutex);
    enter(Call::Stop, "stop");
}

void RegisterModel::request(std::uint32_t count) {
    Guard guard(mutex);
    enter(Call::Request, "request " + std::to_string(count));
    deliver(count);
}

void RegisterModel::deliver(std::uint32_t count) {
    std::size_t left = std::min(std::size_t{count}, recorded.size());
    while (left > 0 && callback != nullptr) {
        const std::size_t size = std::min(left, std::size_t{pieceSize});
        const auto end = recorded.begin() + static_cast<std::ptrdiff_t>(size);
        const std::vector<std::uint8_t> piece(recorded.begin(), end);
        recorded.erase(recorded.begin(), end);
        left -= size;
        callback->onData(piece.data(), static_cast<std::uint32_t>(size));
    }
}

void RegisterModel::cancel() {
    Guard guard(mutex);
    enter(Call::Cancel, "cancel");
}

void RegisterModel::flush() {
    Guard guard(mutex);
    enter(Call::Flush, "flush");
}

} // namespace register_model
