// SPDX-License-Identifier: Apache-2.0
// Every operation of TimeDelta beside the same one on a plain number, as a function each, for counting instructions.
#include "Helpers/TimeDelta.h"

#include <cstdio>

#ifdef __clang__
#define COUNTED __attribute__((noinline))
#else
#define COUNTED __attribute__((noipa)) // neither inlined nor made for one caller
#endif

#define PAIR(name, Result, spanResult, spanArguments, spanExpression, plainArguments, plainExpression)                 \
    COUNTED spanResult span_##name spanArguments                                                                       \
    {                                                                                                                  \
        return spanExpression;                                                                                         \
    }                                                                                                                  \
    COUNTED Result plain_##name plainArguments                                                                         \
    {                                                                                                                  \
        return plainExpression;                                                                                        \
    }

PAIR(add, qint64, TimeDelta, (TimeDelta a, TimeDelta b), a + b, (qint64 a, qint64 b), a + b)
PAIR(subtract, qint64, TimeDelta, (TimeDelta a, TimeDelta b), a - b, (qint64 a, qint64 b), a - b)
PAIR(negate, qint64, TimeDelta, (TimeDelta a), -a, (qint64 a), -a)
PAIR(multiply, qint64, TimeDelta, (TimeDelta a, qint64 b), a *b, (qint64 a, qint64 b), a *b)
PAIR(less, bool, bool, (TimeDelta a, TimeDelta b), a < b, (qint64 a, qint64 b), a < b)
PAIR(equal, bool, bool, (TimeDelta a, TimeDelta b), a == b, (qint64 a, qint64 b), a == b)
PAIR(from_hours, qint64, TimeDelta, (qint64 a), TimeDelta::FromHours(a), (qint64 a), a * 3600000000)
PAIR(in_seconds, qint64, qint64, (TimeDelta a), a.InSeconds(), (qint64 a), a / 1000000)
PAIR(halve, qint64, TimeDelta, (TimeDelta a), a / 2, (qint64 a), a / 2)
// A plain division traps for the lowest number and -1, so it has to look, too.
PAIR(divide, qint64, TimeDelta, (TimeDelta a, qint64 b), a / b, (qint64 a, qint64 b), b == -1 ? -a : a / b)
PAIR(ratio, qint64, qint64, (TimeDelta a, TimeDelta b), a / b, (qint64 a, qint64 b), b == -1 ? -a : a / b)

int main()
{
    constexpr int rounds = 1000;
    qint64 sum = 0;
    for (int i = 1; i <= rounds; ++i) {
        const qint64 a = i * 1000003LL;
        const qint64 b = i + 1;
        const TimeDelta spanA = TimeDelta::FromMicroseconds(a);
        const TimeDelta spanB = TimeDelta::FromMicroseconds(b);
        sum += span_add(spanA, spanB).InMicroseconds() - plain_add(a, b);
        sum += span_subtract(spanA, spanB).InMicroseconds() - plain_subtract(a, b);
        sum += span_negate(spanA).InMicroseconds() - plain_negate(a);
        sum += span_multiply(spanA, b).InMicroseconds() - plain_multiply(a, b);
        sum += int(span_less(spanA, spanB)) - int(plain_less(a, b));
        sum += int(span_equal(spanA, spanB)) - int(plain_equal(a, b));
        sum += span_from_hours(b).InMicroseconds() - plain_from_hours(b);
        sum += span_in_seconds(spanA) - plain_in_seconds(a);
        sum += span_halve(spanA).InMicroseconds() - plain_halve(a);
        sum += span_divide(spanA, b).InMicroseconds() - plain_divide(a, b);
        sum += span_ratio(spanA, spanB) - plain_ratio(a, b);
    }
    if (sum != 0)
        std::puts("the results differ");
    return sum == 0 ? 0 : 1;
}
