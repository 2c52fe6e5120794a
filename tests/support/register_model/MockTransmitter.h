#pragma once

#include "client/Transmitter.h"
#include "common/source/Exception.h"
#include "tests/support/register_model/RegisterModel.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <map>
#include <string>

namespace register_model {

/// A transmitter that does nothing but put a line into the model's log for what changes its state, as in
/// "transmitter program none 2", so that a test sees the order of both. Knows `drmXmtr`, `xmtrType`, `pins`.
class MockTransmitter : public VX_QRS::ORV::CLIENT::Transmitter {
public:
    MOCK_METHOD(void, setProperty, (const char*, const char*), (override));
    MOCK_METHOD(void, getProperty, (const char*, const char**), (override));
    MOCK_METHOD(void, applySettings, (), (override));
    MOCK_METHOD(void, program, (const char*, std::uint32_t), (override));
    MOCK_METHOD(void, end, (bool), (override));
    MOCK_METHOD(void, flush, (), (override));
    MOCK_METHOD(void, shutdown, (), (override));
    MOCK_METHOD(void, reset, (), (override));
    MOCK_METHOD(std::uint32_t, numFrequencySettings, (), (override));
    MOCK_METHOD(bool, hasTriggered, (), (override));
    MOCK_METHOD(VX_QRS::ORV::CLIENT::Pattern*, getPattern, (), (override));

    explicit MockTransmitter(RegisterModel& model) {
        using testing::_;
        ON_CALL(*this, setProperty).WillByDefault([this, &model](const char* name, const char* value) {
            if (properties.count(name) == 0) {
                throw VX_QRS::ORV::CLIENT::Exception("MockTransmitter", 0, VX_QRS::ORV::CLIENT::eNAME, name);
            }
            properties[name] = value;
            model.note("transmitter " + std::string(name) + "=" + value);
        });
        ON_CALL(*this, getProperty).WillByDefault([this](const char* name, const char** value) {
            if (properties.count(name) == 0) {
                throw VX_QRS::ORV::CLIENT::Exception("MockTransmitter", 0, VX_QRS::ORV::CLIENT::eNAME, name);
            }
            *value = properties[name].c_str();
        });
        ON_CALL(*this, applySettings).WillByDefault([&model] { model.note("transmitter applySettings"); });
        ON_CALL(*this, program).WillByDefault([&model](const char* name, std::uint32_t setting) {
            model.note("transmitter program " + std::string(name ? name : "(null)") + " " + std::to_string(setting));
        });
        ON_CALL(*this, end).WillByDefault([&model](bool flag) {
            model.note(flag ? "transmitter end 1" : "transmitter end 0");
        });
        ON_CALL(*this, flush).WillByDefault([&model] { model.note("transmitter flush"); });
        ON_CALL(*this, shutdown).WillByDefault([&model] { model.note("transmitter shutdown"); });
        ON_CALL(*this, reset).WillByDefault([&model] { model.note("transmitter reset"); });
        ON_CALL(*this, numFrequencySettings).WillByDefault(testing::Return(1u));
    }

    std::map<std::string, std::string> properties{{"drmXmtr", "pti"}, {"xmtrType", ""}, {"pins", ""}};
};

} // namespace register_model
