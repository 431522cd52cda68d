// SPDX-License-Identifier: Apache-2.0
#include "focus/Report.h"

#include "common/Csv.h"
#include "common/FileNameCodec.h"
#include "common/JsonWriter.h"
#include "common/ShortestNumber.h"
#include "focus/Thresholds.h"

#include <algorithm>
#include <array>

namespace Focus {

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
    return isThere ? QString::fromLatin1(Tools::shortestNumber(number)) : QString();
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
        return Tools::csvLine(names);
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
    const Measurement &measured = reading.measurement;
    QString text = Tools::Terminal::printableName(reading.name).leftJustified(mNameWidth);
    if (mHasBlur)
        text += QLatin1Char(' ') + fixed(reading.blur.value_or(0), 2);
    const QString focus = fixed(measured.focus, 1, measured.found);
    if (measured.found && measured.focus > captureFocus)
        text += mStyle.good(focus);
    else
        text += measured.found && measured.focus > badFocus ? focus : mStyle.bad(focus);
    text += QStringLiteral("  ")
        + (measured.found ? QStringLiteral("yes") : QStringLiteral("no")).leftJustified(foundWidth);
    text += fixed(measured.position.x(), 1, measured.found) + fixed(measured.position.y(), 1, measured.found)
        + fixed(measured.milliseconds, 2);
    if (!measured.remark.isEmpty())
        text += QStringLiteral("  ") + mStyle.dim(Tools::Terminal::printable(measured.remark));
    return text.toUtf8() + '\n';
}

QByteArray Report::csvLine(const Reading &reading) const
{
    const Measurement &measured = reading.measurement;
    QStringList fields{Tools::Terminal::printableName(reading.name), shortest(measured.focus, measured.found),
        measured.found ? QStringLiteral("true") : QStringLiteral("false"),
        shortest(measured.position.x(), measured.found), shortest(measured.position.y(), measured.found),
        shortest(measured.milliseconds), measured.remark};
    if (mHasBlur)
        fields.insert(1, shortest(reading.blur.value_or(0)));
    return Tools::csvLine(fields);
}

QByteArray Report::jsonLine(const Reading &reading)
{
    const Measurement &measured = reading.measurement;
    Tools::JsonWriter json;
    json.beginObject().member("frame", reading.name);
    if (!Tools::FileNameCodec::isText(reading.name))
        json.member("frameBytes", Tools::FileNameCodec::percentEncoded(reading.name));
    if (reading.blur)
        json.member("blur", *reading.blur);
    json.member("found", measured.found);
    if (measured.found)
        json.member("focus", measured.focus).member("x", measured.position.x()).member("y", measured.position.y());
    json.member("elapsedMs", measured.milliseconds);
    if (!measured.remark.isEmpty())
        json.member("remark", measured.remark);
    return json.endObject().bytes() + '\n';
}

QByteArray Report::summary(const QVector<Reading> &readings) const
{
    if (mFormat != Options::Format::Text || readings.isEmpty())
        return {};
    const auto countAbove = [&readings](double focus) {
        return static_cast<int>(std::count_if(readings.cbegin(), readings.cend(), [focus](const Reading &reading) {
            return reading.measurement.found && reading.measurement.focus > focus;
        }));
    };
    const int frames = readings.size();
    const int found = countAbove(-1);
    QString text =
        QStringLiteral("\n%1 frames, the fibre found in %2 (%3)").arg(frames).arg(found).arg(percent(found, frames));
    if (const Reading *const best = sharpest(readings)) {
        text += QStringLiteral("; sharpest: %1 with %2\n")
                    .arg(mStyle.bold(Tools::Terminal::printableName(best->name)))
                    .arg(best->measurement.focus, 0, 'f', 1);
        text += QStringLiteral("%1 can be captured (focus above %2), %3 are out of focus (not above %4)")
                    .arg(countAbove(captureFocus))
                    .arg(captureFocus, 0, 'f', 1)
                    .arg(found - countAbove(badFocus))
                    .arg(badFocus, 0, 'f', 1);
    }
    return text.toUtf8() + '\n';
}

const Reading *sharpest(const QVector<Reading> &readings)
{
    const Reading *best = nullptr;
    for (const Reading &reading : readings) {
        const bool isBetter = !best || reading.measurement.focus > best->measurement.focus;
        if (reading.measurement.found && isBetter)
            best = &reading;
    }
    return best;
}

} // namespace Focus
