// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ReportTask.h"

#include <QObject>
#include <QThread>
#include <QVariantMap>

#include <atomic>

class TesterSettings;

/// The report of a job as its page sees it: what it will say, how far its writing is, and what became of it. Lives in
/// the user interface's thread, and works in one of its own; destroying it stops what is under way, and waits for that.
class ReportWriter : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QUuid job READ job NOTIFY changed)
    Q_PROPERTY(bool isReading READ isReading NOTIFY changed)
    Q_PROPERTY(bool isWriting READ isWriting NOTIFY changed)
    Q_PROPERTY(bool isStopping READ isStopping NOTIFY changed)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QVariantMap facts READ facts NOTIFY changed)
    Q_PROPERTY(QString doubts READ doubts NOTIFY changed)
    Q_PROPERTY(QString problem READ problem NOTIFY changed)
    Q_PROPERTY(QVariantMap outcome READ outcome NOTIFY changed)

public:
    ReportWriter(const QString &storeFolder, const TesterSettings *settings, QObject *parent = nullptr);
    ~ReportWriter() override;

    QUuid job() const { return mOrder.job; } ///< identity
    bool isReading() const { return mTicket != 0 && mOrder.format == ReportOrder::None; }
    bool isWriting() const { return mTicket != 0 && mOrder.format != ReportOrder::None; }
    bool isStopping() const { return isWriting() && mWanted == 0; }
    double progress() const { return mProgress; } ///< from 0 to 1

    /// headline, and points, passed, failed, accepted, withoutVerdict, doubtful, open; empty as long as they are not
    /// known. The headline of a job whose records or pictures are not sound never says that it has passed.
    QVariantMap facts() const;
    bool isSound() const { return mFacts.isSound(); }
    QString doubts() const; ///< what is wrong with records and pictures, a line for each kind; empty when all is well
    QString problem() const; ///< why there are no facts; empty when there are, or will be

    /// isWritten, isSound, isStopped, path, text; empty when nothing was written yet.
    QVariantMap outcome() const;

    /// Reads what the report of the job will say. While one is written, it goes on, and nothing else is read.
    /// @param job its identity
    Q_INVOKABLE void look(const QUuid &job);

    /// Other results may be there now: what is known of the job is read again.
    void lookAgain();

    /// Reads the job again, which others may have inspected meanwhile, and writes it.
    /// @param format a ReportOrder::Format
    /// @param language en or de
    /// @param disk where one is mounted; empty: the folder of the settings
    Q_INVOKABLE void write(int format, const QString &language, const QString &disk);

    Q_INVOKABLE void stop(); ///< the writing

    /// What is told in words is told in another language now.
    void retranslate() { Q_EMIT changed(); }

Q_SIGNALS:
    void changed();
    void progressChanged();
    void finished(bool isWell, QString text); ///< a writing; well if the file is there, and all in it is sound

private:
    void begin(const ReportOrder &order);
    bool goesOn(quint64 ticket, double share);
    void take(quint64 ticket, const ReportAnswer &answer);
    QString headline() const;
    QString wordsOf(const Records::Problem &problem) const;
    QString namesOf(const QVector<Records::Id> &inspections) const;

    const QString mStoreFolder;
    const TesterSettings *const mSettings;
    ReportOrder mOrder; ///< the last one
    quint64 mTicket = 0; ///< of the order that is under way; 0: none
    quint64 mLastTicket = 0;
    double mProgress = 0;
    bool mHasFacts = false;
    bool mHasOutcome = false;
    ReportFacts mFacts;
    ReportAnswer mAnswer; ///< the last one
    int mToldPercent = -1; ///< of the worker

    std::atomic<quint64> mWanted{0}; ///< the worker stops what is not
    QObject *const mWorker; ///< in the thread
    QThread mThread;
};
