// SPDX-License-Identifier: Apache-2.0
// Texts that people and interfaces write: what is read of them must be what they say.
#include "Helpers/UnitHelper.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {
void keepSilent(QtMsgType /*level*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

void must(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// Two digits, a colon, two digits, a colon, two digits, anywhere.
bool hasClockTime(const QString &text)
{
    constexpr int length = 8;
    for (int start = 0; start + length <= text.size(); ++start) {
        bool fits = true;
        for (int i = 0; i < length; ++i)
            fits = fits && (i % 3 == 2 ? text[start + i] == QLatin1Char(':') : text[start + i].isDigit());
        if (fits)
            return true;
    }
    return false;
}

int plainDuration(const QString &text)
{
    constexpr double secondsPerUnit[] = {3600, 60, 1};
    const QStringList parts = text.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (!hasClockTime(text) || parts.size() != 3)
        return -1;
    double total = 0;
    for (int i = 0; i < 3; ++i) {
        bool ok = false;
        total += secondsPerUnit[i] * parts[i].toInt(&ok);
        if (!ok)
            return -1;
    }
    const bool fits = total >= std::numeric_limits<int>::min() && total <= std::numeric_limits<int>::max();
    return fits ? static_cast<int>(total) : -1;
}

void checkIcons(const QString &text)
{
    const QString opening = QStringLiteral("<font style=\"font-family:Font Awesome 5 Pro\">");
    const QString closing = QStringLiteral("</font>");
    QString wrapped = UnitHelper::wrapFontAwesomeIconWithHtml(text);
    must((wrapped.size() - text.size()) % (opening.size() + closing.size()) == 0, "icons are wrapped whole");
    if (!text.contains(closing) && !text.contains(opening))
        must(wrapped.remove(opening).remove(closing) == text, "wrapping adds nothing else");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(&keepSilent);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QString raw(reinterpret_cast<const QChar *>(
                          QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)).constData()),
        static_cast<int>(size / sizeof(QChar))); // any units, valid UTF-16 or not

    must(UnitHelper::durationStringToSeconds(text) == plainDuration(text), "a duration is what it says");
    checkIcons(text);
    checkIcons(raw);
    must(UnitHelper::addHTMLColorString(text, raw).size() == text.size() + raw.size() + 22, "texts stay as they are");
    const QDateTime time = UnitHelper::dateTimeFromApiString(text);
    if (time.isValid())
        must(UnitHelper::dateTimeFromApiString(UnitHelper::dateTimeToApiString(time)) == time, "dates read back");
    (void)UnitHelper::utcTimestampToString(static_cast<qint64>(size), text);
    return 0;
}
