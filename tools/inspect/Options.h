// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"

#include <QStringList>
#include <QVector>

namespace Inspect {

/// What the command line asks for, checked.
struct Options
{
    enum class Action : int { Inspect, ListStandards };
    enum class Format : int { Text, Json, Csv };

    static constexpr qint64 megapixel = 1024LL * 1024; ///< pixels
    static constexpr int usualMegapixels =
        static_cast<int>(FiberInspection::InspectionOptions::defaultMaxImagePixels / megapixel);

    Action action = Action::Inspect;
    QStringList operands; ///< image files and folders
    QVector<FiberInspection::Standard::Id> standards; ///< each once
    FiberInspection::Device device = FiberInspection::Device::ks20();
    float scale = 1;
    QString outputFolder; ///< empty: nothing is kept
    bool saveSteps = false;
    int jobs = 1;
    int maxMegapixels = usualMegapixels; ///< larger images are not decoded
    int timeout = 30; ///< seconds for each run of an image by one standard
    int repeat = 1; ///< runs per image and standard
    bool reportsRuns = false; ///< --repeat was given
    Format format = Format::Text;
    bool quiet = false;
    bool verbose = false;

    qint64 maxImagePixels() const { return maxMegapixels * megapixel; }

    /// How many times more pixels than usual an image may have.
    int timesTheUsualPixels() const { return qMax(1, (maxMegapixels + usualMegapixels - 1) / usualMegapixels); }

    /// Seconds for all runs of an image by one standard.
    quint64 timePerTask() const { return static_cast<quint64>(timeout) * static_cast<quint64>(repeat); }

    /// Seconds for all runs of an image by all standards.
    quint64 timePerImage() const { return timePerTask() * static_cast<quint64>(standards.size()); }

    /// Seconds of a processor, after which a worker is replaced at the latest.
    quint64 timePerWorker() const { return 4 * timePerImage(); }

    /// Reports for a person, as opposed to JSON or CSV.
    bool isForPerson() const { return format == Format::Text; }
};

} // namespace Inspect
