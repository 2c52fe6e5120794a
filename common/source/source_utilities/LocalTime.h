#pragma once

namespace VX_QRS {

struct LocalTime {
    int year = 0;
    int month = 0; ///< 1 to 12
    int day = 0;
    int dayOfWeek = 0; ///< 0 is Sunday
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

LocalTime readLocalTime();

} // namespace VX_QRS
