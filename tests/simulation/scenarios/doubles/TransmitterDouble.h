#pragma once

#include "client/Transmitter.h"
#include "common/source/Exception.h"

#include <cstdint>
#include <cstring>

namespace simulation {

/// A transmitter that does nothing.
class TransmitterDouble final : public VX_QRS::ORV::CLIENT::Transmitter {
public:
    void setProperty(const char* name, const char*) override { check(name); }
    void getProperty(const char* name, const char** value) override {
        check(name);
        *value = std::strcmp(name, "drmXmtr") == 0 ? "pti" : "";
    }
    void applySettings() override {}
    void program(const char*, std::uint32_t) override {}
    void end(bool) override {}
    void flush() override {}
    void shutdown() override {}
    void reset() override {}
    std::uint32_t numFrequencySettings() override { return 1; }
    bool hasTriggered() override { return false; }
    VX_QRS::ORV::CLIENT::Pattern* getPattern() override { return nullptr; }

private:
    static void check(const char* name) {
        for (const char* known : {"drmXmtr", "xmtrType", "pins"}) {
            if (std::strcmp(name, known) == 0) {
                return;
            }
        }
        throw VX_QRS::ORV::CLIENT::Exception("TransmitterDouble", 0, VX_QRS::ORV::CLIENT::eNAME, name);
    }
};

} // namespace simulation
