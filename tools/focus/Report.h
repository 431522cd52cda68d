// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Terminal.h"
#include "focus/Frame.h"
#include "focus/LiveMeter.h"
#include "focus/Options.h"

namespace Focus {

/// A frame and what the filter makes of it.
struct Reading
{
    QString name;
    std::optional<double> blur; ///< micrometres, of a painted frame
    Measurement measurement;
};

/// What a run prints on stdout, line by line: a table, CSV, or a JSON object a line.
class Report
{
public:
    Report(const Options &options, int nameWidth, const Tools::TextStyle &style);

    QByteArray header() const;
    QByteArray line(const Reading &reading) const;
    QByteArray summary(const QVector<Reading> &readings) const; ///< for a person alone

private:
    QByteArray textLine(const Reading &reading) const;
    QByteArray csvLine(const Reading &reading) const;
    static QByteArray jsonLine(const Reading &reading);

    Options::Format mFormat;
    bool mHasBlur;
    int mNameWidth;
    Tools::TextStyle mStyle;
};

/// The sharpest of those with a fibre; null if there is none.
const Reading *sharpest(const QVector<Reading> &readings);

} // namespace Focus
