#include "host/platform/InterruptAnswer.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>

namespace host {

namespace {

constexpr const char* usualAnswer = "stopping";

std::atomic<const char*> current{nullptr};
static_assert(std::atomic<const char*>::is_always_lock_free, "a signal handler reads it");

} // namespace

InterruptAnswer::InterruptAnswer(const char* text) {
    const char* none = nullptr;
    first = current.compare_exchange_strong(none, text);
}

InterruptAnswer::~InterruptAnswer() {
    if (first) {
        current = nullptr;
    }
}

std::size_t interruptLine(char* line, std::size_t size, bool newLine) {
    const char* answer = current.load();
    std::size_t used = 0;
    for (const std::string_view part : {std::string_view(newLine ? "\n" : ""), std::string_view("orvtrace: "),
                                        std::string_view(answer != nullptr ? answer : usualAnswer),
                                        std::string_view("; interrupt again to end now\n")}) {
        const std::size_t length = std::min(part.size(), size - used);
        std::memcpy(line + used, part.data(), length);
        used += length;
    }
    return used;
}

} // namespace host
