#include "client/frontend/ChannelLog.h"

#include "common/source/source_utilities/uLog.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace VX_QRS::ORV::CLIENT {

namespace {

/// A message without label, unit and line. Longer ones are cut, well below what a log line holds.
class Message {
public:
    void format(const char* text, std::va_list arguments) ORV_PRINTF_CHECKED(2, 0) {
        std::vsnprintf(buffer.data(), buffer.size(), text, arguments);
    }
    const char* text() const { return buffer.data(); }

private:
    std::array<char, 2048> buffer{};
};

} // namespace

bool stepsWanted() {
    const uLogManager* manager = getLogManager();
    return manager->getThreshold() >= 1 && manager->getLogger() != nullptr;
}

void logStep(int line, const char* format, ...) {
    if (!stepsWanted()) {
        return;
    }
    Message message;
    std::va_list arguments;
    va_start(arguments, format);
    message.format(format, arguments);
    va_end(arguments);
    logMessage("%s (%s:%d) %s", programLabel, frontEndUnit, line, message.text());
}

void logStepError(int line, const char* format, ...) {
    if (!stepsWanted()) {
        return;
    }
    Message message;
    std::va_list arguments;
    va_start(arguments, format);
    message.format(format, arguments);
    va_end(arguments);
    logError("%s (%s:%d) %s", programLabel, frontEndUnit, line, message.text());
}

} // namespace VX_QRS::ORV::CLIENT
