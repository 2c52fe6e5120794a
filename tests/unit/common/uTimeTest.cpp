// Each case has a process of its own, since the first time of a process is special.
#include "common/source/source_utilities/uTime.h"
#include "tests/unit/common/DigitsHidden.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <string>
#include <thread>

namespace VX_QRS {
namespace {

std::array<char, 64> buffer{};

std::string format(const char* text) {
    char* result = uTime::format(buffer.data(), static_cast<int>(buffer.size()), text);
    return result != nullptr ? result : "(null)";
}

int expectedDayOfYear(int year, int month, int day) {
    constexpr std::array<int, 12> divisible{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    constexpr std::array<int, 12> other{0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};
    return day + (year % 4 == 0 ? divisible : other)[static_cast<std::size_t>(month - 1)];
}

TEST(uTime, FirstTimeHasNoDayOfTheYearAndTheSecondHas) {
    const uTime first;
    EXPECT_EQ(first.getDayOfYear(), 0);
    EXPECT_GE(first.getYear(), 2024);
    const uTime second;
    EXPECT_EQ(second.getDayOfYear(), expectedDayOfYear(second.getYear(), second.getMonth(), second.getDay()));
    EXPECT_EQ(first.getDayOfYear(), second.getDayOfYear()) << "all objects tell the latest time";
}

TEST(uTime, BeforeTheFirstTimeThereIsOnlyAWord) {
    EXPECT_EQ(format("%H"), "Invalid time");
    std::array<char, 5> small{};
    EXPECT_STREQ(uTime::format(small.data(), 5, "%H"), "Inva");
}

TEST(uTime, HasTheLocalTime) {
    const std::time_t before = std::time(nullptr);
    const uTime now;
    const std::time_t after = std::time(nullptr);
    const std::tm early = *std::localtime(&before);
    const std::tm late = *std::localtime(&after);
    EXPECT_GE(now.getYear(), early.tm_year + 1900);
    EXPECT_LE(now.getYear(), late.tm_year + 1900);
    EXPECT_TRUE(now.getMonth() == early.tm_mon + 1 || now.getMonth() == late.tm_mon + 1);
    EXPECT_TRUE(now.getDay() == early.tm_mday || now.getDay() == late.tm_mday);
    std::array<char, 64> first{};
    std::array<char, 64> last{};
    std::strftime(first.data(), first.size(), "%Y-%m-%d %H:%M:%S %a", &early);
    std::strftime(last.data(), last.size(), "%Y-%m-%d %H:%M:%S %a", &late);
    const std::string got = format("%Y-%m-%d %H:%M:%S %a");
    EXPECT_TRUE(got == first.data() || got == last.data() || (got > first.data() && got < last.data())) << got;
}

TEST(uTime, MillisecondsWithAndWithoutLeadingZeros) {
    // Until a time distinguishes the two formats.
    for (int i = 0; i < 100000; ++i) {
        const uTime now;
        const std::string text = format("%s %#s %s");
        ASSERT_THAT(test::digitsHidden(text), testing::StartsWith("999 9"));
        const int value = std::stoi(text.substr(0, 3));
        ASSERT_EQ(text.substr(4), std::to_string(value) + " " + text.substr(0, 3));
        if (text[0] == '0') {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    FAIL() << "no millisecond below 100 was seen";
}

TEST(uTime, FormatsAsTheLogWantsIt) {
    const uTime now;
    EXPECT_EQ(test::digitsHidden(format("%H:%M:%S:%s | ")), "99:99:99:999 | ");
    EXPECT_EQ(format(" "), " ");
    EXPECT_EQ(format("plain"), "plain");
}

TEST(uTime, RefusesWhatCannotHoldAText) {
    const uTime now;
    EXPECT_EQ(uTime::format(nullptr, 10, "%H"), nullptr);
    EXPECT_EQ(uTime::format(buffer.data(), 0, "%H"), nullptr);
    EXPECT_EQ(uTime::format(buffer.data(), -1, "%H"), nullptr);
    buffer[0] = 'x';
    EXPECT_STREQ(uTime::format(buffer.data(), 3, "too long"), "");
}

TEST(uTime, UnsetTimeHasNoText) {
    {
        const uTime now;
        EXPECT_NE(format("%H"), "(null)");
    }
    uTime::unset();
    EXPECT_EQ(format("%H"), "(null)");
    const uTime again;
    EXPECT_NE(format("%H"), "(null)");
    EXPECT_NE(again.getDayOfYear(), 0) << "only the first time of a process has none";
}

TEST(uTime, ManyThreadsMayTakeTheTime) {
    std::array<std::thread, 3> threads;
    for (std::thread& thread : threads) {
        thread = std::thread([] {
            std::array<char, 32> own{};
            for (int i = 0; i < 500; ++i) {
                const uTime now;
                ASSERT_NE(uTime::format(own.data(), 32, "%H:%M:%S:%s"), nullptr);
                ASSERT_GE(now.getMonth(), 1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace VX_QRS
