// Dates: the closed forms against the walks that define them, and the deliberate odd corners.
#include <gtest/gtest.h>
#include <mmskit/storage.h>

#include <array>
#include <ctime>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/bytes.h"

namespace {

using Fields = tSCFS_DateTime;

// The fields as they stand.
std::string show(const Fields& d) {
    return testing_support::print("%u-%u-%u %u:%u:%u w%u", d.iYear, d.iMonth, d.iDay, d.iHour,
                                  d.iMinute, d.iSecond, d.iWeek);
}

TEST(Julian, julian_years_wrap_below_1970) {
    for (const uint32_t year : {0U, 1U, 401U, 1969U, 1970U, 1973U, 2101U, 65535U, 65537U + 1972U}) {
        uint32_t days = 1;
        for (auto y = static_cast<uint16_t>(year); y != 1970;) {
            --y;
            days += y % 400 == 0 || (y % 4 == 0 && y % 100 != 0) ? 366 : 365;
        }
        const Fields date = {year, 1, 1, 0, 0, 0, 0};
        EXPECT_EQ(JULIANTOSECONDS(&date), days * 86400) << year;
    }
}

TEST(Julian, julian_scale_is_one_day_ahead) {
    const std::pair<Fields, uint32_t> cases[] = {
        {{1970, 1, 1, 0, 0, 0, 9}, 1},
        {{1972, 3, 1, 0, 0, 0, 0}, 365 + 365 + 1 + 31 + 28 + 1},
        {{1970, 13, 1, 0, 0, 0, 0}, 366},
        {{1970, 0, 1, 23, 59, 60, 0}, 2}};
    for (const auto& [date, days] : cases)
        EXPECT_EQ(JULIANTOSECONDS(&date), days * 86400) << show(date);
}

// Every day to the end of 2099 against the C library's calendar.
TEST(Julian, julian_date_skips_a_day) {
    constexpr uint32_t last = sizeof(std::time_t) > 4 ? 47481 : 24854;  // of 32 bits, in 2038
    for (uint32_t day = 0; day <= last; ++day) {
        std::time_t unix_time = static_cast<std::time_t>(day) * 86400 + 45296;
        std::tm tm = *std::gmtime(&unix_time);
        const bool skipped = tm.tm_year % 4 == 3 && tm.tm_yday == 0;
        unix_time -= tm.tm_year % 4 == 3 || tm.tm_year % 4 == 0 ? 86400 : 0;
        tm = *std::gmtime(&unix_time);
        char text[100] = "1-2-3 4:5:6 w7";
        const int week = skipped ? 0 : (tm.tm_yday + 1) / 7;
        if (!skipped) std::strftime(text, sizeof text, "%Y-%-m-%-d %-H:%-M:%-S w", &tm);
        Fields date = {1, 2, 3, 4, 5, 6, 7};
        ASSERT_EQ(GETJULIANDATE(day * 86400 + 45296, &date), static_cast<uint32_t>(week)) << day;
        ASSERT_EQ(show(date), skipped ? text : text + std::to_string(week)) << day;
        if (skipped) continue;
        const uint32_t ahead = date.iYear % 4 == 1 || date.iYear % 4 == 2 ? 1 : 0;
        fnSCFS_TimeAdd(&date, day * 4321);
        ASSERT_EQ(JULIANTOSECONDS(&date), (day + ahead) * 86400 + 45296 + day * 4321) << day;
    }
}

TEST(HttpDate, parse_date_ignores_time) {
    const int32_t midnight = (24 * 365 + 6 + 310) * 86400;
    const std::string long_word(100000, 'x');
    const std::pair<std::string, int32_t> cases[] = {
        {"Sun, 06 Nov 1994 08:49:37 GMT", midnight},
        {"\t" + long_word + "\r\n+6 Nov 1994" + long_word, midnight},
        {"x 4294967302Nov 1994x", midnight},
        {"x -4294967290 Nov 1994 t", midnight},
        {"Sun, 06 nov 1994 08:49:37", -1},
        {"Sun, 06 Nov 1994 ", -1}};
    for (const auto& [text, seconds] : cases)
        EXPECT_EQ(parse_date_str(text.c_str()), seconds) << text.substr(0, 40);
    for (const char* text : {"", "x", "x :", "x /", "x 1", "x 1 Nov", "x 1 Nov :", "x 1 Nov /",
                             "x 1 Nov 2", "x 1 November 1994 t"})
        EXPECT_EQ(parse_date_str(text), -1) << text;
}

TEST(HttpDate, http_date_shifts_the_hour_alone) {
    const std::pair<uint32_t, std::string> cases[] = {
        {5 * 3600 + 61, "Mon, 1 Jan 1970 -3:1:1 GMT"},
        {363 * 86400 + 9 * 3600, "Thu, 30 Dec 1970 1:0:0 GMT"},  // http_weekday_is_the_week
        {365 * 86400, "Mon, 0 Jan 0 -8:0:0 GMT"}};
    for (const auto& [seconds, text] : cases) {
        char out[40];
        EXPECT_EQ(date_to_httpDate(seconds, out), static_cast<int32_t>(text.size()));
        EXPECT_EQ(out, text);
    }
}

TEST(Calendar, TimeAddCarries) {
    const std::tuple<Fields, uint32_t, const char*> cases[] = {
        {{1900, 2, 28, 23, 59, 59, 0}, 1, "1900-3-1 0:0:0 w0"},
        {{2001, 1, 40, 22, 0, 0, 0}, 3600, "2001-1-40 23:0:0 w0"},
        {{1600, 3, 2922 * 146097U, 24, 0, 0, 0}, 0, "1170400-3-1 0:0:0 w0"}};
    for (auto [date, seconds, result] : cases) {
        fnSCFS_TimeAdd(&date, seconds);
        EXPECT_EQ(show(date), result);
    }
}

TEST(Calendar, time_is_valid_without_upper_dates) {
    for (size_t wrong = 0; wrong <= 6; ++wrong) {
        std::array<uint16_t, 7> f = {1, 13, 40, 23, 59, 59, 0};
        f[wrong] = wrong < 3 ? 0 : 60;
        EXPECT_EQ(fnSCFS_Time_IsValid(f[0], f[1], f[2], f[3], f[4], f[5]), wrong == 6) << wrong;
    }
    const std::pair<int32_t, uint32_t> bases[] = {{0, 86405}, {1, 315964800U + 86405U}, {2, 0}};
    for (const auto& [base, seconds] : bases)
        EXPECT_EQ(fnSCFS_RealTime_To_Seconds(1970, 1, 1, 0, 0, 5, 9, base), seconds) << base;
    for (const auto& [month, days] : {std::pair(0U, 31), {2U, 29}, {4U, 30}, {13U, 31}}) {
        const Fields date = {2024, month, 1, 0, 0, 0, 0};
        EXPECT_EQ(fnSCFS_DaysInMonth(&date), days);
    }
    Fields date{};
    EXPECT_EQ(show(*fnSCFS_CopyTime(&date, 1, 2, 3, 4, 5, 6, 7)), "1-2-3 4:5:6 w7");
    EXPECT_EQ(show(*fnSCFS_InitTimeStructure(&date)), "0-0-0 0:0:0 w0");
}

TEST(Clock, clock_fields_stay_raw) {
    Fields date;
    std::time_t now = 0;
    int32_t seconds[2] = {}, others[2] = {};
    do {  // until all were read within one second
        now = std::time(nullptr);
        fnSCFS_SysTime(&date);
        seconds[0] = GETTIMESECONDS(), seconds[1] = fnSCFS_getLocalTime();
        others[0] = fnSCFS_getRandom(), others[1] = GETTIMEMS();
    } while (now != std::time(nullptr));
    std::tm tm = *std::localtime(&now);
    EXPECT_EQ(date.iYear * 12 + date.iMonth, static_cast<uint32_t>(tm.tm_year * 12 + tm.tm_mon));
    for (const int32_t second : seconds)
        EXPECT_EQ(static_cast<uint32_t>(second), JULIANTOSECONDS(&date));
    EXPECT_EQ(others[0], seconds[0] % 10000);
    EXPECT_EQ(others[1], static_cast<int32_t>(static_cast<uint32_t>(seconds[0]) * 1000));
}

}  // namespace
