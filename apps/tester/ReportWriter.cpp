// SPDX-License-Identifier: Apache-2.0
#include "ReportWriter.h"

#include "InspectionWords.h"
#include "StoreWords.h"
#include "TesterSettings.h"

#include <QDir>
#include <QPointer>

using Records::Fault;
using Records::Id;
using Records::Problem;

ReportWriter::ReportWriter(const QString &storeFolder, const TesterSettings *settings, QObject *parent)
    : QObject(parent)
    , mStoreFolder(storeFolder)
    , mSettings(settings)
    , mWorker(new QObject)
{
    mThread.setObjectName(QStringLiteral("reports"));
    mWorker->moveToThread(&mThread);
    connect(&mThread, &QThread::finished, mWorker, &QObject::deleteLater);
    mThread.start();
}

ReportWriter::~ReportWriter()
{
    mWanted = 0;
    mThread.quit();
    mThread.wait();
}

// --- Orders ----------------------------------------------------------------------------------------------------------

void ReportWriter::look(const QUuid &job)
{
    if (isWriting())
        return;
    mHasFacts = false;
    mHasOutcome = false;
    ReportOrder order;
    order.job = job;
    begin(order);
}

void ReportWriter::lookAgain()
{
    if (!mOrder.job.isNull())
        look(mOrder.job);
}

void ReportWriter::write(int format, const QString &language, const QString &disk)
{
    if (isWriting() || mOrder.job.isNull() || format < ReportOrder::Pdf || format > ReportOrder::Record)
        return;
    mHasOutcome = false;
    ReportOrder order;
    order.job = mOrder.job;
    order.format = static_cast<ReportOrder::Format>(format);
    order.language = language == QLatin1String("de") ? Reports::Language::German : Reports::Language::English;
    order.isDisk = !disk.isEmpty();
    order.folder = order.isDisk ? disk : mSettings->exportFolder();
    begin(order);
}

void ReportWriter::stop()
{
    if (!isWriting())
        return;
    mWanted = 0;
    Q_EMIT changed();
}

void ReportWriter::begin(const ReportOrder &order)
{
    const quint64 ticket = ++mLastTicket;
    mOrder = order;
    mTicket = ticket;
    mWanted = ticket; // what is read for another one ends
    mProgress = 0;
    mAnswer = {};
    const auto task = [this, ticket, order] {
        mToldPercent = -1;
        ReportTask worked(mStoreFolder, order, [this, ticket](double share) { return goesOn(ticket, share); });
        const ReportAnswer answer = worked.run();
        QMetaObject::invokeMethod(
            this, [this, ticket, answer] { take(ticket, answer); }, Qt::QueuedConnection);
    };
    QMetaObject::invokeMethod(mWorker, task, Qt::QueuedConnection);
    const QPointer<ReportWriter> self(this);
    Q_EMIT progressChanged();
    if (self)
        Q_EMIT changed();
}

/// In the worker's thread.
bool ReportWriter::goesOn(quint64 ticket, double share)
{
    const int percent = static_cast<int>(100 * share);
    if (percent != mToldPercent) {
        mToldPercent = percent;
        const auto tell = [this, ticket, share] {
            if (ticket != mTicket)
                return;
            mProgress = share;
            Q_EMIT progressChanged();
        };
        QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
    }
    return mWanted == ticket;
}

void ReportWriter::take(quint64 ticket, const ReportAnswer &answer)
{
    if (ticket != mTicket)
        return;
    const bool isOfWriting = isWriting();
    mTicket = 0;
    mAnswer = answer;
    if (answer.notRead.ok()) {
        mFacts = answer.facts;
        mHasFacts = true;
    }
    mHasOutcome = isOfWriting;
    const QVariantMap told = outcome(); // a receiver may begin the next one
    const QPointer<ReportWriter> self(this);
    Q_EMIT changed();
    if (!self || !isOfWriting)
        return;
    const bool isWell =
        told.value(QStringLiteral("isWritten")).toBool() && told.value(QStringLiteral("isSound")).toBool();
    Q_EMIT finished(isWell, told.value(QStringLiteral("text")).toString());
}

// --- Words -----------------------------------------------------------------------------------------------------------

QVariantMap ReportWriter::facts() const
{
    if (!mHasFacts)
        return {};
    const Reports::ReportCounts &counts = mFacts.counts;
    return {
        {QStringLiteral("jobName"), StoreWords::shown(mFacts.job.name)},
        {QStringLiteral("headline"), headline()},
        {QStringLiteral("isSound"), isSound()},
        {QStringLiteral("allPassed"), isSound() && counts.allPassed()},
        {QStringLiteral("points"), counts.points},
        {QStringLiteral("passed"), counts.passed},
        {QStringLiteral("failed"), counts.failed},
        {QStringLiteral("accepted"), counts.accepted},
        {QStringLiteral("withoutVerdict"), counts.withoutVerdict},
        {QStringLiteral("doubtful"), counts.doubtful},
        {QStringLiteral("open"), counts.open},
    };
}

QString ReportWriter::headline() const
{
    const Reports::ReportCounts &counts = mFacts.counts;
    if (!isSound())
        return tr("Not everything of this job is sound");
    if (counts.points == 0)
        return tr("The job has no points");
    if (counts.allPassed())
        return tr("All points have passed");
    if (counts.open > 0)
        return tr("The job is not finished: %1 of %2 points are open").arg(counts.open).arg(counts.points);
    return tr("Not all points have passed");
}

/// The points of the first few.
QString ReportWriter::namesOf(const QVector<Id> &inspections) const
{
    constexpr int mostNamed = 4;
    constexpr int mostLetters = 16; // or a notice would not have room for all that is wrong
    QStringList names;
    for (const Id id : inspections) {
        const QString name = StoreWords::shown(mFacts.pointNames.value(id));
        const bool isLong = name.size() > mostLetters; // those of a run differ at their end
        const QString shown = name.isEmpty() ? tr("inspection %1").arg(id)
            : isLong                         ? QStringLiteral("\u2026") + name.right(mostLetters)
                                             : name;
        if (!names.contains(shown))
            names.append(shown);
    }
    QString words = names.mid(0, mostNamed).join(QStringLiteral(", "));
    if (names.size() > mostNamed)
        words += QStringLiteral(", \u2026");
    return words;
}

QString ReportWriter::doubts() const
{
    if (!mHasFacts)
        return {};
    QVector<Id> lost;
    for (const Records::PictureFault &fault : mFacts.lostPictures)
        lost.append(fault.inspection);
    QStringList lines;
    const auto add = [&](const QString &words, const QVector<Id> &inspections) {
        if (!inspections.isEmpty())
            lines.append(words.arg(QString::number(inspections.size()), namesOf(inspections)));
    };
    add(tr("Pictures that are missing or damaged: %1 (%2)"), lost);
    add(tr("Verdicts that are not what their rules say: %1 (%2)"), mFacts.contradictions);
    add(tr("Records that cannot be read: %1 (%2)"), mFacts.unreadable);
    return lines.join(QLatin1Char('\n'));
}

QString ReportWriter::problem() const
{
    const Problem &problem = mAnswer.notRead;
    if (problem.fault == Fault::TooLarge)
        return tr("The job is too large for a report.");
    if (problem.fault == Fault::NotFound)
        return tr("Other results are there now, without this job.");
    if (problem.fault == Fault::Busy)
        return tr("Somebody inspects for this job. Try again when that rests.");
    return problem.ok() || problem.fault == Fault::Stopped
        ? QString()
        : tr("The job cannot be read: %1").arg(StoreWords::of(problem));
}

/// Why nothing was written.
QString ReportWriter::wordsOf(const Problem &problem) const
{
    const QString folder = QDir::toNativeSeparators(mOrder.folder);
    switch (problem.fault) {
    case Fault::Stopped:
        return tr("Stopped. Nothing was written.");
    case Fault::DiskFull:
        return tr("Not written: there is not enough room in %1.").arg(folder);
    case Fault::ReadOnly:
        return tr("Not written: %1 cannot be written to.").arg(folder);
    case Fault::Gone:
        return tr("Not written: the USB stick was pulled out.");
    case Fault::NotFound:
        return tr("Not written: there is no folder %1.").arg(folder);
    case Fault::OutOfMemory:
        return tr("Not written: there is not enough memory.");
    case Fault::Invalid:
        return tr("Not written: %1 is no folder that can be used.").arg(folder);
    default:
        return tr("Not written: %1").arg(problem.text);
    }
}

QVariantMap ReportWriter::outcome() const
{
    if (!mHasOutcome)
        return {};
    const bool isStopped = mAnswer.notRead.fault == Fault::Stopped || mAnswer.notWritten.fault == Fault::Stopped;
    QString text;
    if (!mAnswer.path.isEmpty())
        text = (isSound() ? tr("Written, %2: %1") : tr("Written, but not everything in it is sound, %2: %1"))
                   .arg(QDir::toNativeSeparators(mAnswer.path),
                       InspectionWords::locale().formattedDataSize(mAnswer.size, 1, QLocale::DataSizeSIFormat));
    else if (!mAnswer.notRead.ok() && !isStopped)
        text = tr("Not written: %1").arg(problem());
    else
        text = wordsOf(isStopped ? Problem{Fault::Stopped, {}} : mAnswer.notWritten);
    return {
        {QStringLiteral("isWritten"), !mAnswer.path.isEmpty()},
        {QStringLiteral("isSound"), isSound()},
        {QStringLiteral("isStopped"), isStopped},
        {QStringLiteral("path"), mAnswer.path},
        {QStringLiteral("text"), text},
    };
}
