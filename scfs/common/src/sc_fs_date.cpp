// Dates and times: calendar fields to a count of seconds and back, HTTP dates, the platform's clock
// and random numbers. The count has odd corners of its own (see the quirks); hosts exchange and
// store such counts, so they stay. Relies on the C library's clock only; no locale is asked.
#include <mmskit/storage.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace mmskit {
namespace {

constexpr uint32_t seconds_per_day = 86400;
constexpr std::array<uint16_t, 12> days_per_month = {31, 28, 31, 30, 31, 30,
                                                     31, 31, 30, 31, 30, 31};
constexpr char month_names[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr char weekday_names[7][4] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

constexpr bool is_leap(uint32_t year) {
    return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
}

// Days of all years from 0 up to and not including `year`, at most 65536.
constexpr uint32_t days_before_year(uint32_t year) {
    return year * 365 + (year + 3) / 4 - (year + 99) / 100 + (year + 399) / 400;
}

// Days of the years from `year` - 1 down to 1970.
// QUIRK julian_years_wrap_below_1970: years are counted down in 16 bits until 1970 is met, so an
// earlier year runs through 0 and 65535. The clock functions pass years since 1900 and live there,
// which is why the sum is taken from a formula.
constexpr uint32_t days_since_1970(uint16_t year) {
    const uint32_t wrapped = year < 1970 ? days_before_year(65536) : 0;
    return wrapped + days_before_year(year) - days_before_year(1970);
}

constexpr uint32_t days_in_month(uint32_t year, uint32_t month) {
    if (month < 1 || month > days_per_month.size()) return 31;
    return days_per_month[month - 1] + uint32_t{month == 2 && is_leap(year)};
}

// The platform's calendar fields as they come.
// QUIRK clock_fields_stay_raw: the year counts from 1900 and the month from 0; a host that shows
// them adds 1900 and 1 itself.
tSCFS_DateTime local_clock() {
    const std::time_t now = std::time(nullptr);
    std::tm fields = {};
    if (localtime_r(&now, &fields) == nullptr) return {};  // unreachable: a year beyond 32 bits
    return {static_cast<uint32_t>(fields.tm_year),
            static_cast<uint32_t>(fields.tm_mon),
            static_cast<uint32_t>(fields.tm_mday),
            static_cast<uint32_t>(fields.tm_hour),
            static_cast<uint32_t>(fields.tm_min),
            static_cast<uint32_t>(fields.tm_sec),
            0};
}

// ---- Reading a date text ------------------------------------------------------------------------
// Fields are read as formatted scanning does: white space before a field is skipped, a number ends
// at its first other character and the next field may begin there. Words have no longest length.

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

void skip_space(const char*& at) {
    while (is_space(*at))
        ++at;
}

// The length of the word that begins at `word`, which is set to it; 0 at the end of the text.
size_t scan_word(const char*& at, const char*& word) {
    skip_space(at);
    word = at;
    while (*at != '\0' && !is_space(*at))
        ++at;
    return static_cast<size_t>(at - word);
}

// A decimal number with an optional sign, modulo 2^32.
bool scan_number(const char*& at, uint32_t& value) {
    skip_space(at);
    const bool negative = *at == '-';
    if (*at == '-' || *at == '+') ++at;
    if (*at < '0' || *at > '9') return false;
    value = 0;
    for (; *at >= '0' && *at <= '9'; ++at)
        value = value * 10 + static_cast<uint32_t>(*at - '0');
    if (negative) value = 0U - value;
    return true;
}

// 1 to 12, or 0 for a word that names no month; the case of letters counts.
uint32_t month_number(const char* word, size_t length) {
    for (uint32_t i = 0; i < std::size(month_names); ++i) {
        if (length == 3 && std::memcmp(word, month_names[i], 3) == 0) return i + 1;
    }
    return 0;
}

bool scan_date(const char* at, tSCFS_DateTime& date) {
    const char* word = nullptr;
    if (scan_word(at, word) == 0 || !scan_number(at, date.iDay)) return false;
    const char* month = nullptr;
    const size_t month_length = scan_word(at, month);
    if (month_length == 0 || !scan_number(at, date.iYear)) return false;
    if (scan_word(at, word) == 0) return false;
    date.iMonth = month_number(month, month_length);
    return date.iMonth != 0;
}

// Month and day of the `k`-th day, counted from 1, of a year of 365 days.
void set_month_and_day(uint32_t k, tSCFS_DateTime& date) {
    uint32_t month = 0;
    while (month + 1 < days_per_month.size() && k > days_per_month[month])
        k -= days_per_month[month++];
    date.iMonth = month + 1;
    date.iDay = k;
}

// Brings the day back into its month, month by month.
void carry_days(tSCFS_DateTime& date) {
    constexpr uint32_t days_per_cycle = days_before_year(400);
    for (uint32_t days; date.iDay > (days = days_in_month(date.iYear, date.iMonth));) {
        // The calendar repeats after 400 years: whole cycles are taken at once.
        if (date.iDay > days_per_cycle && date.iMonth >= 1 && date.iMonth <= 12) {
            const uint32_t cycles = (date.iDay - 1) / days_per_cycle;
            date.iDay -= cycles * days_per_cycle;
            date.iYear += cycles * 400;
            continue;
        }
        date.iDay -= days;
        if (date.iMonth >= 12) {
            date.iMonth = 1;
            ++date.iYear;
        } else {
            ++date.iMonth;
        }
    }
}

}  // namespace
}  // namespace mmskit

extern "C" {

uint32_t JULIANTOSECONDS(const tSCFS_DateTime* date) {
    if (date == nullptr) return 0;
    uint32_t days = mmskit::days_since_1970(static_cast<uint16_t>(date->iYear));
    if (date->iMonth >= 3 && mmskit::is_leap(date->iYear)) ++days;
    for (uint32_t i = 0; i < mmskit::days_per_month.size() && i + 1 < date->iMonth; ++i)
        days += mmskit::days_per_month[i];
    // QUIRK julian_scale_is_one_day_ahead: the day counts in full, so midnight of 1970-01-01 is
    // 86400. GETJULIANDATE does not undo it: it has a scale of its own.
    return (days + date->iDay) * mmskit::seconds_per_day + date->iHour * 3600 + date->iMinute * 60 +
           date->iSecond;
}

uint32_t GETJULIANDATE(uint32_t seconds, tSCFS_DateTime* date) {
    if (date == nullptr) return 0;
    const uint32_t day = seconds / mmskit::seconds_per_day;
    // QUIRK julian_date_skips_a_day: a leap day is taken off every 1461 days from the end of the
    // first year on, not in February. The years 3 and 0 modulo 4 are a day behind for it, and the
    // day where the count slips, the Unix count's 1 January 1971, 1975, ..., leaves the record as
    // it was; who needs defined fields there starts from a cleared record.
    if ((day + 1096) % 1461 == 0) return 0;
    date->iHour = seconds / 3600 - day * 24;
    date->iMinute = seconds / 60 % 60;
    date->iSecond = seconds % 60;

    const uint32_t without_leap_days = day - (day + 1095) / 1461;
    const uint32_t day_of_year = without_leap_days % 365;
    date->iYear = without_leap_days / 365 + 1970;
    date->iWeek = (day_of_year + 1) / 7;
    if (mmskit::is_leap(date->iYear) && day_of_year == 59) {
        date->iMonth = 2;
        date->iDay = 29;
    } else {
        const bool after_leap_day = mmskit::is_leap(date->iYear) && day_of_year >= 60;
        mmskit::set_month_and_day(day_of_year + uint32_t{!after_leap_day}, *date);
    }
    return date->iWeek;
}

int32_t GETTIMESECONDS(void) {
    const tSCFS_DateTime now = mmskit::local_clock();
    return static_cast<int32_t>(JULIANTOSECONDS(&now));
}

int32_t fnSCFS_getLocalTime(void) {
    return GETTIMESECONDS();
}

int32_t GETTIMEMS(void) {
    return static_cast<int32_t>(static_cast<uint32_t>(GETTIMESECONDS()) * 1000);
}

int32_t parse_date_str(const char* text) {
    tSCFS_DateTime date = {};
    if (text == nullptr || !mmskit::scan_date(text, date)) return -1;
    // QUIRK parse_date_ignores_time: the time word must be there, and the result is midnight.
    return static_cast<int32_t>(JULIANTOSECONDS(&date));
}

int32_t date_to_httpDate(uint32_t seconds, char* out) {
    if (out == nullptr) return 0;
    tSCFS_DateTime date = {};
    GETJULIANDATE(seconds, &date);
    const uint32_t month = date.iMonth != 0 ? date.iMonth - 1 : 0;
    // QUIRK http_date_shifts_the_hour_alone: local time of UTC+8 becomes GMT without a carry into
    // the day, so hours before 8 are negative.
    // QUIRK http_weekday_is_the_week: the name is taken by the week of the year.
    constexpr size_t room = 40;  // bytes that the caller has
    return std::snprintf(out, room, "%s, %u %s %u %d:%u:%u GMT",
                         mmskit::weekday_names[date.iWeek % 7], date.iDay,
                         mmskit::month_names[month], date.iYear,
                         static_cast<int32_t>(date.iHour) - 8, date.iMinute, date.iSecond);
}

int32_t fnSCFS_DaysInMonth(const tSCFS_DateTime* date) {
    if (date == nullptr) return 0;
    return static_cast<int32_t>(mmskit::days_in_month(date->iYear, date->iMonth));
}

int32_t fnSCFS_Time_IsValid(uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                            uint32_t minute, uint32_t second) {
    // QUIRK time_is_valid_without_upper_dates: month 13 and day 40 pass, and JULIANTOSECONDS counts
    // them.
    return year != 0 && month != 0 && day != 0 && hour < 24 && minute < 60 && second < 60;
}

void fnSCFS_TimeAdd(tSCFS_DateTime* date, uint32_t seconds) {
    if (date == nullptr) return;
    date->iSecond += seconds % 60;
    date->iMinute += seconds / 60 % 60;
    date->iHour += seconds / 3600;
    if (date->iSecond > 59) {
        date->iSecond -= 60;
        ++date->iMinute;
    }
    if (date->iMinute > 59) {
        date->iMinute -= 60;
        ++date->iHour;
    }
    if (date->iHour < 24) return;
    date->iDay += date->iHour / 24;
    date->iHour %= 24;
    mmskit::carry_days(*date);
}

tSCFS_DateTime* fnSCFS_LocalTime(tSCFS_DateTime* date) {
    if (date != nullptr) *date = mmskit::local_clock();
    return date;
}

tSCFS_DateTime* fnSCFS_SysTime(tSCFS_DateTime* date) {
    return fnSCFS_LocalTime(date);
}

uint32_t fnSCFS_RealTime_To_Seconds(uint16_t year, uint16_t month, uint16_t day, uint16_t hour,
                                    uint16_t minute, uint16_t second, int32_t /*ignored*/,
                                    int32_t base) {
    constexpr uint32_t from_1970_to_1980_01_06 = 315964800;
    const tSCFS_DateTime date = {year, month, day, hour, minute, second, 0};
    if (base != 0 && base != 1) return 0;
    return JULIANTOSECONDS(&date) + (base == 1 ? from_1970_to_1980_01_06 : 0);
}

tSCFS_DateTime* fnSCFS_InitTimeStructure(tSCFS_DateTime* date) {
    if (date != nullptr) *date = {};
    return date;
}

tSCFS_DateTime* fnSCFS_CopyTime(tSCFS_DateTime* date, uint32_t year, uint32_t month, uint32_t day,
                                uint32_t hour, uint32_t minute, uint32_t second, uint32_t week) {
    if (date != nullptr) *date = {year, month, day, hour, minute, second, week};
    return date;
}

void GETRAND(uint8_t* out, uint16_t count) {
    if (out == nullptr) return;
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    for (uint16_t i = 0; i < count; ++i)
        out[i] = static_cast<uint8_t>(std::rand());
}

void fnSCFS_getPseudoRandom(uint8_t* out, uint16_t count) {
    GETRAND(out, count);
}

int32_t fnSCFS_getRandom(void) {
    return GETTIMESECONDS() % 10000;
}

}  // extern "C"
