#include "tools/trace/DateOrderClues.h"

#include "tools/common/Text.h"
#include "tools/trace/TraceLines.h"

namespace {

constexpr time_t LONG_DAY = SECONDS_PER_DAY + 2 * 60 * 60;  // the clocks may be set back

bool isADay(const UsageTime& from, const UsageTime& to, DateOrder order) {
    const ClockReading first = from.inOrder(order);
    const ClockReading last = to.inOrder(order);
    if (!exists(first) || !exists(last)) return false;
    const time_t length = utcMoment(last) - utcMoment(first);
    return length >= 0 && length <= LONG_DAY;
}

}  // namespace

void DateOrderClues::seeEvent(const UsageTime& time, std::string_view text, size_t line) {
    if (time.exact || time.orderKnown) return;
    mDotted = mDotted || time.dotted;
    const DateOrder order = time.tells();
    Place& place = order == DateOrder::DAY_FIRST     ? mDay
                   : order == DateOrder::MONTH_FIRST ? mMonth
                                                     : mOpen;
    if (place.line == 0) place = {line, std::string(text)};
}

void DateOrderClues::seeElsewhere(const UsageTime& time) {
    mDayHint = mDayHint || time.tells() == DateOrder::DAY_FIRST;
    mMonthHint = mMonthHint || time.tells() == DateOrder::MONTH_FIRST;
}

void DateOrderClues::seeDay(const UsageTime& from, const UsageTime& to) {
    if (from.exact || to.exact) return;
    const bool day = isADay(from, to, DateOrder::DAY_FIRST);
    const bool month = isADay(from, to, DateOrder::MONTH_FIRST);
    mDayHint = mDayHint || (day && !month);
    mMonthHint = mMonthHint || (month && !day);
}

std::optional<DateOrder> DateOrderClues::order() const {
    if (mDay.line != 0 && mMonth.line != 0) {
        throw LineError(mMonth.line, inQuotes(mMonth.text) + " begins with the month, but " +
                                         inQuotes(mDay.text) + " in line " +
                                         std::to_string(mDay.line) +
                                         " with the day: say --day-first or --month-first");
    }
    if (mDay.line != 0) return DateOrder::DAY_FIRST;
    if (mMonth.line != 0) return DateOrder::MONTH_FIRST;
    if (mOpen.line == 0 || mDotted) return DateOrder::DAY_FIRST;
    if (mDayHint == mMonthHint) return std::nullopt;
    return mDayHint ? DateOrder::DAY_FIRST : DateOrder::MONTH_FIRST;
}

void DateOrderClues::refuse() const {
    throw LineError(mOpen.line, inQuotes(mOpen.text) +
                                    " is ambiguous, and no other date of the file tells whether "
                                    "the day or the month comes first: say --day-first or "
                                    "--month-first");
}
