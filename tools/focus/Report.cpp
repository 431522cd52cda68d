// SPDX-License-Identifier: Apache-2.0
#include "focus/Report.h"

#include "Internal/Csv.h"
#include "Internal/JsonWriter.h"
#include "Internal/ShortestNumber.h"
#include "common/FileNameCodec.h"

#include <algorithm>
#include <array>

namespace Focus {

using FiberInspection::LiveReading;

namespace {
constexpr int numberWidth = 8; // columns
constexpr int foundWidth = 7;
constexpr int widestName = 60;

QString fixed(double number, int decimals, bool isThere = true)
{
    return (isThere ? QString::number(number, 'f', decimals) : QStringLiteral("–")).rightJustified(numberWidth);
}

QString shortest(double number, bool isThere = true)
{
    return isThere ? QString::fromLatin1(shortestNumber(number)) : QString();
}

QString percent(int part, int whole)
{
    return QStringLiteral("%1 %").arg(whole > 0 ? 100.0 * part / whole : 0.0, 0, 'f', 0);
}
} // namespace

Report::Report(const Options &options, int nameWidth, const Tools::TextStyle &style)
    : mFormat(options.format)
    , mHasBlur(options.action == Options::Action::MeasureSweep)
    , mNameWidth(qBound(QStringLiteral("frame").size(), nameWidth, widestName))
    , mStyle(style)
{
}

QByteArray Report::header() const
{
    switch (mFormat) {
    case Options::Format::Json:
        return {};
    case Options::Format::Csv: {
        QStringList names{QStringLiteral("frame"), QStringLiteral("focus"), QStringLiteral("found"),
            QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("elapsedMs"), QStringLiteral("remark")};
        if (mHasBlur)
            names.insert(1, QStringLiteral("blur"));
        return ::csvLine(names);
    }
    case Options::Format::Text:
        break;
    }
    QString text = QStringLiteral("frame").leftJustified(mNameWidth);
    if (mHasBlur)
        text += QStringLiteral("blur/µm").rightJustified(numberWidth + 1);
    text += QStringLiteral("focus").rightJustified(numberWidth) + QStringLiteral("  ")
        + QStringLiteral("found").leftJustified(foundWidth);
    for (const char *const name : {"x/px", "y/px", "ms"})
        text += QString::fromUtf8(name).rightJustified(numberWidth);
    return mStyle.bold(text).toUtf8() + '\n';
}

QByteArray Report::line(const Reading &reading) const
{
    switch (mFormat) {
    case Options::Format::Json:
        return jsonLine(reading);
    case Options::Format::Csv:
        return csvLine(reading);
    case Options::Format::Text:
        break;
    }
    return textLine(reading);
}

QByteArray Report::textLine(const Reading &reading) const
{
    const LiveReading &measured = reading.measurement.reading;
    const bool found = measured.hasFibre();
    QString text = Tools::Terminal::printableName(reading.name).leftJustified(mNameWidth);
    if (mHasBlur)
        text += QLatin1Char(' ') + fixed(reading.blur.value_or(0), 2);
    const QString focus = fixed(measured.focusValue, 1, found);
    if (measured.isSharpEnoughToCapture())
        text += mStyle.good(focus);
    else
        text += measured.state == LiveReading::State::Measured ? focus : mStyle.bad(focus);
    text += QStringLiteral("  ") + (found ? QStringLiteral("yes") : QStringLiteral("no")).leftJustified(foundWidth);
    text += fixed(measured.claddingPosition.x(), 1, found) + fixed(measured.claddingPosition.y(), 1, found)
        + fixed(reading.measurement.milliseconds, 2);
    if (const QString remark = remarkOn(measured); !remark.isEmpty())
        text += QStringLiteral("  ") + mStyle.dim(Tools::Terminal::printable(remark));
    return text.toUtf8() + '\n';
}

QByteArray Report::csvLine(const Reading &reading) const
{
    const LiveReading &measured = reading.measurement.reading;
    const bool found = measured.hasFibre();
    QStringList fields{Tools::Terminal::printableName(reading.name), shortest(measured.focusValue, found),
        found ? QStringLiteral("true") : QStringLiteral("false"), shortest(measured.claddingPosition.x(), found),
        shortest(measured.claddingPosition.y(), found), shortest(reading.measurement.milliseconds), remarkOn(measured)};
    if (mHasBlur)
        fields.insert(1, shortest(reading.blur.value_or(0)));
    return ::csvLine(fields);
}

QByteArray Report::jsonLine(const Reading &reading)
{
    const LiveReading &measured = reading.measurement.reading;
    JsonWriter json;
    json.beginObject().member("frame", reading.name);
    if (!Tools::FileNameCodec::isText(reading.name))
        json.member("frameBytes", Tools::FileNameCodec::percentEncoded(reading.name));
    if (reading.blur)
        json.member("blur", *reading.blur);
    json.member("found", measured.hasFibre());
    if (measured.hasFibre()) {
        json.member("focus", measured.focusValue)
            .member("x", measured.claddingPosition.x())
            .member("y", measured.claddingPosition.y());
    }
    json.member("elapsedMs", reading.measurement.milliseconds);
    if (const QString remark = remarkOn(measured); !remark.isEmpty())
        json.member("remark", remark);
    return json.endObject().bytes() + '\n';
}

QByteArray Report::summary(const QVector<Reading> &readings) const
{
    if (mFormat != Options::Format::Text || readings.isEmpty())
        return {};
    const auto countAbove = [&readings](double focus) {
        return static_cast<int>(std::count_if(readings.cbegin(), readings.cend(), [focus](const Reading &reading) {
            const LiveReading &measured = reading.measurement.reading;
            return measured.hasFibre() && measured.focusValue > focus;
        }));
    };
    const int frames = readings.size();
    const int found = countAbove(-1);
    QString text =
        QStringLiteral("\n%1 frames, the fibre found in %2 (%3)").arg(frames).arg(found).arg(percent(found, frames));
    if (const Reading *const best = sharpest(readings)) {
        text += QStringLiteral("; sharpest: %1 with %2\n")
                    .arg(mStyle.bold(Tools::Terminal::printableName(best->name)))
                    .arg(best->measurement.reading.focusValue, 0, 'f', 1);
        text += QStringLiteral("%1 can be captured (focus above %2), %3 are out of focus (not above %4)")
                    .arg(countAbove(LiveReading::captureFocus))
                    .arg(LiveReading::captureFocus, 0, 'f', 1)
                    .arg(found - countAbove(LiveReading::badFocus))
                    .arg(LiveReading::badFocus, 0, 'f', 1);
    }
    return text.toUtf8() + '\n';
}

const Reading *sharpest(const QVector<Reading> &readings)
{
    const Reading *best = nullptr;
    for (const Reading &reading : readings) {
        const LiveReading &measured = reading.measurement.reading;
        const bool isBetter = !best || measured.focusValue > best->measurement.reading.focusValue;
        if (measured.hasFibre() && isBetter)
            best = &reading;
    }
    return best;
}

} // namespace Focus
