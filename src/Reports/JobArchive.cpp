// SPDX-License-Identifier: Apache-2.0
#include "Reports/JobArchive.h"

#include "Reports/ArchiveWriter_p.h"
#include "Reports/JobTables_p.h"
#include "Reports/PdfWriting_p.h"
#include "Reports/ReportFile_p.h"

#include <QBuffer>

namespace Reports {

using namespace Records;
using Packing = ArchiveWriter::Packing;

namespace {
struct Suffix
{
    const char *start; ///< of the bytes
    int length;
    const char *suffix;
};
constexpr Suffix suffixes[] = {
    {"\xFF\xD8\xFF", 3, "jpg"},
    {"\x89PNG", 4, "png"},
    {"BM", 2, "bmp"},
    {"II*\0", 4, "tif"},
    {"MM\0*", 4, "tif"},
    {"RIFF", 4, "webp"},
    {"P5", 2, "pgm"},
    {"P6", 2, "ppm"},
};

QByteArray suffixOf(const QByteArray &bytes)
{
    for (const Suffix &suffix : suffixes) {
        if (bytes.startsWith(QByteArray::fromRawData(suffix.start, suffix.length)))
            return suffix.suffix;
    }
    return "bin";
}

QByteArray wordOf(Fault fault)
{
    switch (fault) {
    case Fault::PictureMissing:
        return "missing";
    case Fault::PictureDamaged:
        return "damaged";
    default:
        return "cannot be read";
    }
}

/// What goes into the archive, one file after the other.
class Packer
{
public:
    Packer(const JobReport &report, const ArchiveOptions &options, ReportFile *file)
        : mReport(report)
        , mOptions(options)
        , mFile(file)
        , mArchive(file, report.made)
    {
    }

    Problem run();
    QVector<PictureFault> lost() const { return joined(mReport.pictureFaults, mLost); }

private:
    bool addPictures();
    bool addPicture(const StoredInspection &inspection, const QByteArray &hash, const char *ending);
    bool addMissing();

    const JobReport &mReport;
    const ArchiveOptions &mOptions;
    ReportFile *mFile;
    ArchiveWriter mArchive;
    QVector<PictureFault> mLost;
    QByteArray mMissing; ///< what is not in it
    bool mIsUnwanted = false;
};

Problem Packer::run()
{
    const QByteArray json = mReport.toJson(softwareOf(mOptions.report));
    QBuffer pdf;
    pdf.open(QIODevice::WriteOnly);
    const Problem problem = writePdf(
        mReport, mOptions.report, json, &pdf, [] { return false; }, &mLost);
    if (!problem.ok())
        return problem;
    const bool isPacked = mArchive.add("report.pdf", pdf.data(), Packing::Deflated)
        && mArchive.add("inspections.csv", tableOf(mReport, lost(), mOptions.csv), Packing::Deflated)
        && mArchive.add("records.json", json, Packing::Deflated) && addPictures() && addMissing() && mArchive.addSums()
        && mArchive.finish();
    if (mIsUnwanted)
        return {Fault::Stopped, QStringLiteral("Stopped; nothing was written")};
    if (mFile->isFailed())
        return mFile->problem();
    return isPacked ? Problem() : Problem{Fault::Unusable, QStringLiteral("Cannot pack: ") + mArchive.problem()};
}

bool Packer::addPictures()
{
    const int all = mReport.inspections.size();
    for (int i = 0; i < all; ++i) {
        const StoredInspection &inspection = mReport.inspections[i];
        mIsUnwanted = mOptions.report.goesOn && !mOptions.report.goesOn(i, all);
        if (mIsUnwanted || !addPicture(inspection, inspection.picture, "")
            || !addPicture(inspection, inspection.annotatedPicture, "-annotated"))
            return false;
    }
    return true;
}

/// The packed pictures have names of their own; those of points are anything.
bool Packer::addPicture(const StoredInspection &inspection, const QByteArray &hash, const char *ending)
{
    if (hash.isEmpty())
        return true;
    const QByteArray name = "pictures/inspection-" + QByteArray::number(inspection.id) + ending;
    const Answer<QByteArray> bytes = pictureOf(mReport, hash);
    if (bytes.ok())
        return mArchive.add(QByteArray(name + '.' + suffixOf(bytes.value)).constData(), bytes.value, Packing::Stored);
    mLost.append({inspection.id, hash, bytes.problem.fault});
    mMissing += name + "  " + hash + "  " + wordOf(bytes.problem.fault) + '\n';
    return true;
}

bool Packer::addMissing()
{
    QByteArray records;
    for (const Id id : mReport.unreadable)
        records += "inspection-" + QByteArray::number(id) + "  the record cannot be read\n";
    mMissing.prepend(records);
    return mMissing.isEmpty() || mArchive.add("MISSING.txt", mMissing, Packing::Deflated);
}
} // namespace

Written writeJobArchive(const JobReport &report, const QString &path, const ArchiveOptions &options)
{
    const Problem notGathered = whyNotGathered(report);
    if (!notGathered.ok())
        return {notGathered, {}};
    return guarded([&]() -> Written {
        ReportFile file(path);
        if (!file.begin())
            return {file.problem(), {}};
        QVector<PictureFault> lost;
        {
            Packer packer(report, options, &file);
            const Problem problem = packer.run();
            if (!problem.ok())
                return {problem, {}};
            lost = packer.lost();
        }
        return {file.commit(), lost};
    });
}

} // namespace Reports
