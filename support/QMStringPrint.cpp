#include "support/QMString.h"

#include <cstdio>
#include <cstring>

// Number and time texts of QMString.

void QMString::printShortCount(int n) {
    const int millions = n / 1000000;
    const int thousands = (n % 1000000) / 1000;
    char text[64];
    if (millions >= 1) {
        std::snprintf(text, sizeof(text), "%d.%dm", millions, thousands / 100);
    } else if (thousands < 1) {
        std::snprintf(text, sizeof(text), "%d", n % 1000);
    } else {
        std::snprintf(text, sizeof(text), "%d.%dk", thousands, (n % 1000) / 100);
    }
    set(text);
}

void QMString::printTime(int milliseconds, bool withMilliseconds) {
    static const int s_oneSecond = 1000;
    static const int s_oneMinute = 60000;
    static const int s_oneHour = 3600000;
    static const int s_oneDay = 86400000;

    int rest = milliseconds < 0 ? 0 : milliseconds;
    const int days = rest / s_oneDay;
    rest %= s_oneDay;
    const int hours = rest / s_oneHour;
    rest %= s_oneHour;
    const int minutes = rest / s_oneMinute;
    rest %= s_oneMinute;
    const int seconds = rest / s_oneSecond;
    const int millis = rest % s_oneSecond;

    char text[80];
    if (days > 0) {
        std::snprintf(text, sizeof(text), "%dd %02dh %02dm %02ds", days, hours, minutes, seconds);
    } else if (hours > 0) {
        std::snprintf(text, sizeof(text), "%dh %02dm %02ds", hours, minutes, seconds);
    } else if (minutes > 0) {
        std::snprintf(text, sizeof(text), "%dm %02ds", minutes, seconds);
    } else {
        std::snprintf(text, sizeof(text), "%ds", seconds);
    }
    if (withMilliseconds) {
        const size_t used = std::strlen(text);
        std::snprintf(text + used, sizeof(text) - used, " %03dms", millis);
    }
    set(text);
}
