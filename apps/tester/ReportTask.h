// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/JobPdf.h"
#include "Reports/JobReport.h"

#include <QDate>
#include <QMap>

#include <functional>

/// What is to be found out of a job, or written.
struct ReportOrder
{
    enum Format : int {
        None, ///< it is only looked at
        Pdf,
        Archive, ///< ZIP of everything, with the pictures
        Table, ///< CSV
        Record, ///< JSON
    };

    QUuid job; ///< identity: the number may be another job's in a store that has taken the place of the one of before
    Format format = None;
    Reports::Language language = Reports::Language::English;
    QString folder; ///< is made if it is not there, unless it is a disk's
    bool isDisk = false; ///< the folder is where one is mounted that was plugged in
};

/// What a report says of a job, in numbers.
struct ReportFacts
{
    Records::Job job;
    Reports::ReportCounts counts;
    QVector<Records::PictureFault> lostPictures;
    QVector<Records::Id> contradictions;
    QVector<Records::Id> unreadable;
    QMap<Records::Id, QString> pointNames; ///< of the inspections above

    bool isSound() const { return lostPictures.isEmpty() && contradictions.isEmpty() && unreadable.isEmpty(); }
};

/// What has become of an order.
struct ReportAnswer
{
    Records::Problem notRead; ///< why there are no facts
    ReportFacts facts;
    Records::Problem notWritten;
    QString path; ///< of the file; empty when there is none
    qint64 size = 0; ///< bytes
};

/// Reads a store and writes a report of one of its jobs, in the thread that it is called in, with a store of its own.
class ReportTask
{
public:
    /// Is told the share that is done, which only grows, and ends the work by answering false.
    using GoesOn = std::function<bool(double share)>;

    ReportTask(const QString &storeFolder, const ReportOrder &order, const GoesOn &goesOn);

    ReportAnswer run();

    /// A name that every file system takes, of a job and a day.
    /// @param suffix without a dot
    static QString fileName(const QString &job, const QDate &day, const QString &suffix);

private:
    Reports::GoesOn goesOn(double from, double to);
    void noteFacts(const Reports::JobReport &report);
    void write(const Reports::JobReport &report);
    Records::Problem prepareFolder() const;
    QString freePath() const;
    Reports::Written writeTo(const QString &path, const Reports::JobReport &report);
    bool isDiskGone() const;

    const QString mStoreFolder;
    const ReportOrder mOrder;
    const GoesOn mGoesOn;
    double mDone = 0;
    ReportAnswer mAnswer;
};
