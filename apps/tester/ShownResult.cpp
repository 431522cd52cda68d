// SPDX-License-Identifier: Apache-2.0
#include "ShownResult.h"

#include "InspectionWords.h"
#include "JobStore.h"
#include "PictureProvider.h"
#include "Records/Doubt.h"
#include "StoreWords.h"

#include <QPointer>

#include <algorithm>
#include <utility>

using FiberInspection::Defect;
using FiberInspection::GradedDefect;
using FiberInspection::Standard;
using FiberInspection::Zone;
using Records::Answer;
using Records::StoredDefect;
using Records::StoredInspection;
using Records::StoredRule;
using Records::StoredZone;

ShownResult::ShownResult(JobStore *jobs, QObject *parent)
    : QObject(parent)
    , mJobs(jobs)
    , mHeld(std::make_unique<HeldPicture>())
{
    connect(&mReader, &PictureReader::isRead, this, &ShownResult::showPicture);
    connect(jobs, &JobStore::reopened, this, &ShownResult::checkIdentity);
}

ShownResult::~ShownResult() = default;

void ShownResult::offer(const KeptInspection &kept)
{
    mOffered = kept;
    const StoredInspection record = recordOf(&mOffered);
    mOffer = {
        {QStringLiteral("point"), kept.point},
        {QStringLiteral("pointName"), StoreWords::shown(kept.pointName)},
        {QStringLiteral("isKept"), mOffered.id != Records::noId},
        {QStringLiteral("verdict"), static_cast<int>(record.verdict)},
        {QStringLiteral("problem"), StoreWords::of(mOffered.problem)},
    };
    const QPointer<ShownResult> self(this);
    Q_EMIT offeredChanged();
    if (self)
        Q_EMIT cameIn();
}

void ShownResult::showOffered()
{
    if (mOffer.isEmpty())
        return;
    const KeptInspection kept = std::exchange(mOffered, {});
    mOffer.clear();
    const QPointer<ShownResult> self(this);
    Q_EMIT offeredChanged();
    if (self)
        show(kept);
}

void ShownResult::forgetOffered()
{
    mOffered = {}; // its pictures are large
    mOffer.clear();
    Q_EMIT offeredChanged();
}

void ShownResult::show(const KeptInspection &kept)
{
    mKept = kept;
    mIsReady = true;
    read();
    choosePicture();
    mKept.inspection = {}; // its pictures are large
    retranslate();
}

bool ShownResult::showStored(qint64 inspection)
{
    KeptInspection kept;
    kept.id = inspection;
    show(kept);
    return mKept.problem.ok();
}

void ShownResult::refresh()
{
    if (!isKept())
        return;
    read();
    Q_EMIT changed();
}

/// What is decided on it must not become the decision on another one that has its number now, nor what is repeated be
/// the point that has the number of its own.
void ShownResult::checkIdentity()
{
    if (!mJobs->records().isOpen())
        return;
    const Answer<StoredInspection> answer =
        isKept() ? mJobs->records().inspection(mKept.id) : Answer<StoredInspection>();
    if (isKept() && answer.ok() && answer.value.identity == mStored.identity && answer.value.point == mStored.point)
        return;
    if (isKept()) {
        mKept.id = Records::noId;
        mKept.problem = {Records::Fault::NotFound, {}};
    }
    mStored.point = Records::noId;
    Q_EMIT changed();
}

void ShownResult::read()
{
    mStored = recordOf(&mKept);
    mIsDoubtful = isKept() && mKept.problem.ok() && mJobs->isDoubtful(mStored);
    sortDefects();
}

/// As the store has it; of one that is not kept, what the store would say.
StoredInspection ShownResult::recordOf(KeptInspection *kept) const
{
    if (kept->id != Records::noId) {
        const Answer<StoredInspection> answer = mJobs->records().inspection(kept->id);
        kept->problem = answer.problem;
        if (!answer.ok() || kept->identity.isNull())
            kept->identity = answer.value.identity;
        if (kept->identity == answer.value.identity)
            return answer.value;
        kept->id = Records::noId; // the number is another record's
        kept->problem = {Records::Fault::NotFound, {}};
    }
    const FiberInspection::Inspection &inspection = kept->inspection;
    StoredInspection record;
    record.point = kept->point;
    record.made = QDateTime::currentDateTimeUtc();
    record.pointName = kept->pointName;
    record.side = kept->side;
    record.standard = inspection.standardId();
    record.verdict = Records::verdictOf(inspection);
    record.reason = inspection.reason();
    record.micronsPerPixel = inspection.micronsPerPixel();
    record.crop = inspection.crop();
    record.zones = StoredZone::of(inspection.result());
    record.defects = StoredDefect::of(inspection);
    return record;
}

void ShownResult::sortDefects()
{
    std::stable_sort(mStored.defects.begin(), mStored.defects.end(), [](const StoredDefect &a, const StoredDefect &b) {
        return std::make_pair(a.graded.causesFailure, a.graded.sizeMicrons)
            > std::make_pair(b.graded.causesFailure, b.graded.sizeMicrons);
    });
}

void ShownResult::choosePicture()
{
    const bool hasVerdict = mStored.verdict != Records::Verdict::None;
    mPictureSize = hasVerdict ? mStored.crop.size() : QSize();
    const QByteArray hash = hasVerdict ? mStored.annotatedPicture : mStored.picture;
    const quint64 number = ++mPictureNumber;
    mPicture.clear();
    mHeld->setImage({});
    mIsPictureAwaited = isKept() && !hash.isEmpty();
    mPictureFault = Records::Fault::None;
    if (mIsPictureAwaited)
        Q_EMIT mReader.requested(number, mJobs->folder() + QStringLiteral("/pictures"), hash);
    else if (!isKept())
        showPicture(number, hasVerdict ? mKept.inspection.annotatedImage() : mKept.inspection.image(), {});
}

void ShownResult::showPicture(quint64 number, const QImage &image, Records::Fault fault)
{
    if (number != mPictureNumber)
        return;
    mIsPictureAwaited = false;
    mPictureFault = fault;
    mHeld->setImage(image);
    mPicture = mHeld->address();
    Q_EMIT pictureChanged();
}

QString ShownResult::pictureProblem() const
{
    if (!mIsReady || mIsPictureAwaited || !mPicture.isEmpty())
        return {};
    switch (mPictureFault) {
    case Records::Fault::None:
        return tr("There is no picture");
    case Records::Fault::PictureMissing:
        return tr("The picture is missing");
    default:
        return tr("The picture is damaged or cannot be shown");
    }
}

void ShownResult::retranslate()
{
    const QPointer<ShownResult> self(this);
    Q_EMIT changed();
    if (self)
        Q_EMIT pictureChanged();
}

QVariantMap ShownResult::facts() const
{
    return {
        {QStringLiteral("pointName"), StoreWords::shown(mStored.pointName)},
        {QStringLiteral("side"), mStored.side == Records::Side::B ? QStringLiteral("B") : QStringLiteral("A")},
        {QStringLiteral("jobName"), StoreWords::shown(mStored.jobName)},
        {QStringLiteral("standardName"), Standard::name(mStored.standard)},
        {QStringLiteral("made"), InspectionWords::locale().toString(mStored.made.toLocalTime(), QLocale::ShortFormat)},
        {QStringLiteral("note"), StoreWords::shown(mStored.note)},
        {QStringLiteral("cause"), InspectionWords::cause(mStored.reason)},
        {QStringLiteral("problem"), StoreWords::of(mKept.problem)},
    };
}

QStringList ShownResult::lines() const
{
    QVector<GradedDefect> graded;
    graded.reserve(mStored.defects.size());
    for (const StoredDefect &defect : mStored.defects)
        graded.append(defect.graded);
    return InspectionWords::failures(mStored.zones, graded);
}

QVariantList ShownResult::rules() const
{
    QVariantList rows;
    for (const StoredZone &zone : mStored.zones) {
        for (const StoredRule &rule : zone.rules) {
            rows.append(QVariantMap{
                {QStringLiteral("zone"), static_cast<int>(zone.zone)},
                {QStringLiteral("isScratch"), rule.rule.defectType == Defect::Type::Scratch},
                {QStringLiteral("sizes"), InspectionWords::sizes(rule.rule)},
                {QStringLiteral("allowed"), rule.rule.maxAllowedAmount},
                {QStringLiteral("found"), rule.found},
                {QStringLiteral("violated"), rule.violated},
            });
        }
    }
    return rows;
}

QVariantList ShownResult::zones() const
{
    QVariantList rings;
    if (mStored.micronsPerPixel <= 0 || mPictureSize.isEmpty())
        return rings;
    const Standard standard(mStored.standard);
    for (const Zone &zone : {standard.core(), standard.cladding(), standard.adhesive(), standard.contact()}) {
        rings.append(QVariantMap{
            {QStringLiteral("zone"), static_cast<int>(zone.zone)},
            {QStringLiteral("diameter"), zone.outerDiameter / static_cast<double>(mStored.micronsPerPixel)},
        });
    }
    return rings;
}

QVariantList ShownResult::defects() const
{
    QVariantList rows;
    const int count = qMin(mStored.defects.size(), maxDefects);
    for (int i = 0; i < count; ++i) {
        const StoredDefect &defect = mStored.defects[i];
        const QPointF place = defect.graded.centerMicrons;
        const QLocale locale = InspectionWords::locale();
        rows.append(QVariantMap{
            {QStringLiteral("number"), i + 1},
            {QStringLiteral("zone"), static_cast<int>(defect.graded.zone)},
            {QStringLiteral("isScratch"), defect.graded.kind == Defect::Type::Scratch},
            {QStringLiteral("size"), InspectionWords::size(defect.graded.sizeMicrons)},
            {QStringLiteral("place"),
                QStringLiteral("%1 / %2").arg(locale.toString(place.x(), 'f', 0), locale.toString(place.y(), 'f', 0))},
            {QStringLiteral("fails"), defect.graded.causesFailure},
            {QStringLiteral("x"), defect.enclosingCircle.center.x()},
            {QStringLiteral("y"), defect.enclosingCircle.center.y()},
            {QStringLiteral("radius"), defect.enclosingCircle.radius},
        });
    }
    return rows;
}
