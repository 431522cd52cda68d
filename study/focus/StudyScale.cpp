// SPDX-License-Identifier: Apache-2.0
#include "focus/Thresholds.h"
#include "study/focus/StudyExperiments.h"
#include "study/focus/StudyFaces.h"
#include "study/report/Statistics.h"

namespace Focus {

using Study::Findings;
using Study::Proportion;
using Study::Sample;

namespace {
/// What the sharpest frames of a kind of face say.
struct SharpFaces
{
    Proportion found;
    Sample focus;
    Proportion capturable;

    void add(const EndfaceScene &face, double noise)
    {
        const StudyReading reading = measureFace(face, Simulation::Lens::sharpestBlur, noise);
        found.add(reading.found);
        if (reading.found)
            focus.add(reading.focus);
        capturable.add(reading.found && reading.focus > captureFocus);
    }

    QStringList cells() const
    {
        const QString range = focus.count() == 0
            ? QStringLiteral("–")
            : QStringLiteral("%1 (%2–%3)")
                  .arg(Study::numberText(focus.quantile(0.5), 1), Study::numberText(focus.quantile(0), 1),
                      Study::numberText(focus.highest(), 1));
        return {found.countText(), range, capturable.countText()};
    }
};

QStringList head(const char *first)
{
    return {QString::fromUtf8(first), QStringLiteral("Found, clean"), QStringLiteral("Focus, clean"),
        QStringLiteral("Above 2.5, clean"), QStringLiteral("Found, soiled"), QStringLiteral("Focus, soiled"),
        QStringLiteral("Above 2.5, soiled")};
}

/// Less light: all grey levels are smaller by the same share.
EndfaceScene dimmed(EndfaceScene face, double brightness)
{
    face.ferruleGrey *= brightness;
    face.claddingGrey *= brightness;
    face.coreGrey *= brightness;
    return face;
}
} // namespace

void studyBrightness(const Effort &effort, Findings *findings)
{
    Study::Table table(head("Brightness"));
    for (const int percent : {100, 80, 60, 40, 20}) {
        QStringList row{QStringLiteral("%1 %").arg(percent)};
        for (const Cleanness cleanness : {Cleanness::Clean, Cleanness::Soiled}) {
            SharpFaces sharp;
            for (int number = 0; number < effort.scales; ++number)
                sharp.add(dimmed(studyFace(number, cleanness), percent / 100.0), usualNoise);
            row += sharp.cells();
        }
        table.addRow(row);
    }
    findings->addTable(QStringLiteral("brightness"), table);
}

void studySizes(const Effort &effort, Findings *findings)
{
    Study::Table table(head("Picture"));
    for (const QSize &size :
        {QSize(640, 480), QSize(800, 600), QSize(1280, 720), QSize(1600, 1200), QSize(2592, 1944)}) {
        QStringList row{QStringLiteral("%1 × %2").arg(size.width()).arg(size.height())};
        for (const Cleanness cleanness : {Cleanness::Clean, Cleanness::Soiled}) {
            SharpFaces sharp;
            for (int number = 0; number < effort.scales; ++number)
                sharp.add(studyFace(number, cleanness, size), usualNoise);
            row += sharp.cells();
        }
        table.addRow(row);
    }
    findings->addTable(QStringLiteral("sizes"), table);
}

} // namespace Focus
