#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/properties/ChannelProperties.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <iterator>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

namespace {

/// Bytes that a wrapping buffer loses.
constexpr std::uint32_t wrapBlock = 16384;

template <class Item>
const char* join(std::string& out, std::span<const Item> items, const char* format) {
    out.clear();
    for (const Item& item : items) {
        if (&item != items.data()) {
            out += ',';
        }
        uString::toText(item, out, appended, format);
    }
    return out.c_str();
}

} // namespace

/// How the channel sets and reads each of its properties.
struct FrontEndChannel_1::Properties {
    using Channel = FrontEndChannel_1;

    struct Entry {
        using Set = void (*)(Channel&, const char*);
        using Get = const char* (*)(Channel&);
        consteval Entry(const ChannelProperty* which, Set setter, Get getter)
            : property(which), set(setter), get(getter) {}
        consteval Entry(const ChannelProperty* which, std::nullptr_t, Get getter)
            : property(which), get(getter), isReadOnly(true) {}

        const ChannelProperty* property;
        Set set = nullptr;
        Get get; // null: read from the file
        // Not `set == nullptr`: no constant in a build with sanitizers, as no comparison of an address with null is.
        bool isReadOnly = false;
    };

    template <std::string Settings::* field>
    static void setText(Channel& c, const char* value) {
        c.settings.*field = value;
    }
    template <auto field>
    static void setNumber(Channel& c, const char* value) {
        using Number = std::remove_reference_t<decltype(c.settings.*field)>;
        c.settings.*field = uString::toNumber<Number>(value);
    }
    template <bool Settings::* field>
    static void setFlag(Channel& c, const char* value) {
        c.settings.*field = std::strcmp(value, "true") == 0;
    }
    template <std::vector<std::string> Settings::* field>
    static void setList(Channel& c, const char* value) {
        (c.settings.*field).clear();
        uString::split(c.settings.*field, value, ",");
    }

    template <std::string Settings::* field>
    static const char* getText(Channel& c) {
        return (c.settings.*field).c_str();
    }
    template <auto field>
    static const char* getNumber(Channel& c) {
        return uString::toText(c.settings.*field, c.session.propertyText);
    }
    template <bool Settings::* field>
    static const char* getFlag(Channel& c) {
        return c.settings.*field ? "true" : "false";
    }
    /// Ends with the list when fewer items than pins were set.
    template <std::vector<std::string> Settings::* field>
    static const char* getList(Channel& c) {
        const std::vector<std::string>& items = c.settings.*field;
        std::string& text = c.session.propertyText;
        text.clear();
        for (std::size_t i = 0; i < items.size() && i < c.settings.numPins; ++i) {
            if (i > 0) {
                text += ',';
            }
            text += items[i];
        }
        return text.c_str();
    }

    // A new stem holds at once, for the rest of a running attempt, too.
    static void setFile(Channel& c, const char* value) {
        c.settings.file = value;
        c.calibration.attemptFile.clear();
    }
    static void setBufMode(Channel& c, const char* value) {
        c.settings.orvBufMode = value;
        // A wrapping buffer loses its beginning, so a reader needs synchronisation all along the stream.
        if (c.settings.orvBufMode == "wrap") {
            c.settings.stmPeriodicSyncEnable = true;
        }
    }
    static const char* getBufSize(Channel& c) {
        const std::uint32_t lost = c.settings.orvBufMode == "wrap" ? wrapBlock : 0;
        return uString::toText(c.settings.orvBufSize - lost, c.session.propertyText);
    }
    static const char* getBufSizes(Channel& c) {
        return join<std::uint32_t>(c.session.propertyText, c.limits.orvBufSizes, "%d");
    }
    static const char* getBufHasWrapped(Channel& c) { return c.session.orvBufHasWrapped ? "true" : "false"; }
    static const char* getFrequencies(Channel& c) {
        return join<double>(c.session.propertyText, c.clocking.frequencies, "%f");
    }
    static void setDeskewStrategy(Channel& c, const char* value) {
        c.settings.deskewStrategy = std::strcmp(value, "data") == 0 ? 1 : 0;
    }
    static const char* getDeskewStrategy(Channel& c) { return c.settings.deskewStrategy == 0 ? "clock" : "data"; }
    static void setNumPins(Channel& c, const char* value) {
        c.settings.numPins = uString::toNumber<std::uint32_t>(value) + 1;
        c.settings.pinMap.clear();
    }
    static const char* getPinMap(Channel& c) {
        c.session.propertyText = c.settings.pinMap;
        return c.session.propertyText.c_str();
    }

    /// Fails to compile for a name that no property has.
    static consteval const ChannelProperty* named(std::string_view name) {
        const auto property = std::ranges::find(channelProperties, name, &ChannelProperty::name);
        return property != channelProperties.end() ? property : throw std::logic_error(std::string(name));
    }

    static const Entry table[channelProperties.size()];

    /// Whether the table has every property once and a setter for each that is not read only.
    static constexpr bool fits(std::span<const Entry> entries) {
        return std::ranges::all_of(channelProperties, [&](const ChannelProperty& property) {
            return std::ranges::count_if(entries, [&](const Entry& entry) {
                       return entry.property == &property && entry.isReadOnly == property.isReadOnly;
                   }) == 1;
        });
    }

    static const Entry* find(std::string_view name) {
        const Entry* entry = std::ranges::find(table, name, [](const Entry& each) { return each.property->name; });
        return entry != std::end(table) ? entry : nullptr;
    }
};

constexpr FrontEndChannel_1::Properties::Entry FrontEndChannel_1::Properties::table[] = {
    {named("file"), setFile, [](Channel& c) { return c.stem().c_str(); }},
    {named("drmXmtr"), setText<&Settings::drmXmtr>, getText<&Settings::drmXmtr>},
    {named("targetSync"), setText<&Settings::targetSync>, getText<&Settings::targetSync>},
    {named("startPort"), setNumber<&Settings::startPort>, nullptr},
    {named("stmSyncPeriod"), setNumber<&Settings::stmSyncPeriod>, nullptr},
    {named("stmTimeoutPeriod"), setNumber<&Settings::stmTimeoutPeriod>, nullptr},
    {named("stmClockTimeoutEnable"), setFlag<&Settings::stmClockTimeoutEnable>, nullptr},
    {named("stmZeroTimeoutEnable"), setFlag<&Settings::stmZeroTimeoutEnable>, nullptr},
    {named("stmPeriodicSyncEnable"), setFlag<&Settings::stmPeriodicSyncEnable>, nullptr},
    {named("stmDiagnosticTimingEnable"), setFlag<&Settings::stmDiagnosticTimingEnable>, nullptr},
    {named("stm32BitDataLimit"), setFlag<&Settings::stm32BitDataLimit>, nullptr},
    {named("orvBufMode"), setBufMode, getText<&Settings::orvBufMode>},
    {named("orvBufHasWrapped"), nullptr, getBufHasWrapped},
    {named("orvBufSize"), [](Channel& c, const char* value) { c.setBufferSize(value); }, getBufSize},
    {named("orvBufSizes"), nullptr, getBufSizes},
    {named("delays"), setList<&Settings::delays>, getList<&Settings::delays>},
    {named("stretches"), setList<&Settings::stretches>, getList<&Settings::stretches>},
    {named("plateaus"), setList<&Settings::plateaus>, getList<&Settings::plateaus>},
    {named("debounces"), setList<&Settings::debounces>, getList<&Settings::debounces>},
    {named("filters"), setList<&Settings::filters>, getList<&Settings::filters>},
    {named("calMode"), setText<&Settings::calMode>, getText<&Settings::calMode>},
    {named("verifyCal"), setFlag<&Settings::verifyCalEnabled>, getFlag<&Settings::verifyCalEnabled>},
    {named("verifyPattern"), setText<&Settings::verifyPattern>, getText<&Settings::verifyPattern>},
    {named("testPattern"), setText<&Settings::testPattern>, getText<&Settings::testPattern>},
    {named("deskewStrategy"), setDeskewStrategy, getDeskewStrategy},
    {named("samplingPos"), setText<&Settings::samplingPos>, getText<&Settings::samplingPos>},
    {named("ovsMargin"), setNumber<&Settings::ovsMargin>, getNumber<&Settings::ovsMargin>},
    {named("archive"), setNumber<&Settings::archive>, getNumber<&Settings::archive>},
    {named("cpi"), setNumber<&Settings::cpi>, getNumber<&Settings::cpi>},
    {named("frequencyLimit"), setNumber<&Settings::frequencyLimit>, nullptr},
    {named("frequencies"), nullptr, getFrequencies},
    {named("numPins"), setNumPins, nullptr},
    {named("pinMap"), [](Channel& c, const char* value) { c.setPinMap(value); }, getPinMap},
    {named("propsFile"), [](Channel& c, const char* value) { c.setPropsFile(value); }, nullptr},
};

FrontEndChannel_1::FrontEndChannel_1(FrontEnd_1* owner, Transmitter* sender, const ChannelSettings* setup)
    : frontEnd(owner), transmitter(sender), traceSetup(setup), channelNumber(owner->numChannels()) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::FrontEndChannel_1");
    try {
        mutex = std::make_unique<uMutex>();
        thread = std::make_unique<uThread>(this);
    } catch (const std::bad_alloc&) {
        fail(frontEndUnit, eALLOC);
    }
    session.keepFiles = *uEnvironment::get("VX_TRACE_LOGGING") != '\0';
    computeOrvBufSizes();
    parser = createPropertyParser();
}

FrontEndChannel_1::~FrontEndChannel_1() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::~FrontEndChannel_1");
    terminateThread();
    try {
        close();
    } catch (const std::exception& e) {
        // The server is gone, and its stream with it.
        logStepError(here(), "failed to close channel : %s", e.what());
    } catch (...) {
        logStepError(here(), "failed to close channel : %s", "unknown exception");
    }
    thread.reset();
    mutex.reset();
    destroyPropertyParser(parser);
    if (!session.keepFiles) {
        deleteDiagnosticFiles();
    }
    destroyTransmitter(transmitter, traceSetup);
}

void FrontEndChannel_1::computeOrvBufSizes() {
    limits.orvBufSizes.clear();
    for (std::uint32_t size = limits.orvBufSizeMin; size <= limits.orvBufSizeMax; size *= 2) {
        limits.orvBufSizes.push_back(size);
    }
}

void FrontEndChannel_1::setProperty(const char* name, const char* value) {
    if (name == nullptr || value == nullptr) {
        fail(frontEndUnit, eNULL, "property name or value");
    }
    static_assert(Properties::fits(Properties::table));
    const Properties::Entry* entry = Properties::find(name);
    if (entry == nullptr || entry->isReadOnly) {
        fail(frontEndUnit, eNAME, name);
    }
    const ChannelProperty& property = *entry->property;
    if (property.value == ChannelProperty::Value::Words && !isOneOf(property.words, value)) {
        fail(frontEndUnit, eVALUE, std::string(name) + " must be " + property.words);
    }
    entry->set(*this, value);
}

void FrontEndChannel_1::getProperty(const char* name, const char** value) {
    if (name == nullptr || value == nullptr) {
        fail(frontEndUnit, eNULL, "property name or value");
    }
    const Properties::Entry* entry = Properties::find(name);
    if (entry != nullptr && entry->get != nullptr) {
        *value = entry->get(*this);
        return;
    }
    parser->setSection(("Channel " + std::to_string(channelNumber)).c_str());
    parser->getValue(name, value);
}

/// Accepts an index into the sizes, or one of the sizes in bytes.
void FrontEndChannel_1::setBufferSize(const char* value) {
    const std::vector<std::uint32_t>& sizes = limits.orvBufSizes;
    std::size_t index = uString::toNumber<std::uint32_t>(value);
    if (index >= sizes.size()) {
        const auto found = std::find(sizes.begin(), sizes.end(), index);
        if (found != sizes.end()) {
            index = static_cast<std::size_t>(found - sizes.begin());
        }
    }
    if (index >= sizes.size()) {
        fail(frontEndUnit, eVALUE,
             "orvBufSize must be greter than or equal to 0 and less than " + std::to_string(sizes.size()));
    }
    settings.orvBufSize = sizes[index];
}

void FrontEndChannel_1::setPropsFile(const char* value) {
    parser->readFile(value);
    if (stem().empty()) {
        const std::string_view path = value;
        settings.file = path.substr(0, path.rfind('.'));
    }
}

void FrontEndChannel_1::setPinMap(const char* value) {
    std::vector<std::string> items;
    if (const std::size_t count = uString::split(items, value, ","); count != 0) {
        settings.numPins = static_cast<std::uint32_t>(count);
    }
    settings.pinMap = value;
}

} // namespace VX_QRS::ORV::CLIENT
