// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "RowModel.h"

#include <QObject>
#include <QString>
#include <QVariantMap>

class TesterSettings;

/// The store of results as the pages see it: jobs, the points of the current job, the list of all inspections. Lives in
/// the user interface's thread. What is shown is what the store says, each time anew.
class JobStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool canWrite READ canWrite NOTIFY stateChanged)
    Q_PROPERTY(QString notice READ notice NOTIFY stateChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    Q_PROPERTY(QVariantMap job READ job NOTIFY jobChanged)
    Q_PROPERTY(QUuid identity READ currentIdentity NOTIFY jobChanged)
    Q_PROPERTY(QVariantMap counts READ counts NOTIFY jobChanged)
    Q_PROPERTY(QVariantList rings READ rings NOTIFY jobChanged)
    Q_PROPERTY(QVariantMap point READ point NOTIFY pointChanged)
    Q_PROPERTY(RowModel *points READ points CONSTANT)
    Q_PROPERTY(RowModel *jobs READ jobs CONSTANT)
    Q_PROPERTY(RowModel *results READ results CONSTANT)
    Q_PROPERTY(QVariantMap resultFilter READ resultFilter NOTIFY resultFilterChanged)
    Q_PROPERTY(int pageRows READ pageRowCount CONSTANT)
    Q_PROPERTY(QVariantMap storage READ storage NOTIFY storageChanged)

public:
    static constexpr int pageRows = 50; ///< of the lists of jobs and results
    static constexpr int maxJobChoices = 30;
    static constexpr int maxPoints = 2000; ///< of a job that is worked on; the panel would keep the window busy

    /// Opens the store, and the job that was worked on last.
    JobStore(const QString &folder, TesterSettings *settings, QObject *parent = nullptr);
    ~JobStore() override;

    /// Below BaseDirHelper::workDir().
    static QString defaultFolder();

    QString folder() const { return mFolder; }
    const Records::RecordStore &records() const { return mStore; }
    bool canWrite() const { return mStore.canWrite() && !mIsGone; }
    QString notice() const; ///< what is wrong with the store; empty when all is well
    QString error() const { return mError; } ///< of the last call that failed; empty after one that did not
    QVariantMap job() const; ///< the current one: id, name, customer, ...; empty when there is none
    QVariantMap counts() const; ///< points, done, open, passed, failed, accepted, withoutVerdict, doubtful
    QVariantList rings() const; ///< of the standard's zones: maps of zone and diameter, pixels of the camera's frames
    QVariantMap point() const; ///< the selected one, a row of points; empty when there is none
    QVariantMap storage() const; ///< folder, free (bytes), used (share), isScarce

    RowModel *points() { return &mPoints; }
    RowModel *jobs() { return &mJobs; }
    RowModel *results() { return &mResults; }

    Records::Id selectedPoint() const { return mSelected; }
    Records::Point selected() const; ///< as the store has it; its id is noId when there is none

    /// What the point has as its number now; noId where the job is not the current one, or has no such point.
    Records::Id numberOf(const QUuid &job, const QString &name, Records::Side side) const;
    Records::Id currentJob() const { return mJob.id; }
    QUuid currentIdentity() const { return mJob.identity; } ///< of the job
    FiberInspection::Standard::Id standard() const { return mJob.standard; }

    /// How many points two names give: count, and sample, the first and last names; or error, and column (from 1; 0:
    /// the names as a whole).
    Q_INVOKABLE QVariantMap preview(const QString &first, const QString &last, int sides) const;

    /// Makes a job and its points, and opens it. Of the fields it takes name, customer, site, operatorName, standard,
    /// first, last, and sides (0: A, 1: B, 2: both). Nothing is made when one of them is not usable.
    Q_INVOKABLE bool createJob(const QVariantMap &fields);

    Q_INVOKABLE bool openJob(qint64 id);
    Q_INVOKABLE bool setJobClosed(bool isClosed); ///< the current one

    Q_INVOKABLE bool selectPoint(qint64 point);

    /// The next one behind the selected point; from the first one again at the end. False without an error: there is
    /// none any more.
    Q_INVOKABLE bool selectNextOpen();

    /// @param decision a Records::Decision
    Q_INVOKABLE bool decide(qint64 inspection, int decision, const QString &note);

    Q_INVOKABLE void listJobs(int offset);

    /// By which the results were listed last: text, job (0: all), verdict (a Records::Verdict; -1: any), standard (a
    /// Standard::Id; -1: any), and days (today is 1; 0: any time).
    QVariantMap resultFilter() const { return mResultFilter; }

    /// @param filter of the same values; one that is not there does not count
    Q_INVOKABLE void listResults(const QVariantMap &filter, int offset);

    /// The last jobs, and that of the filter and the current one wherever they are: maps of name, value and identity.
    Q_INVOKABLE QVariantList jobChoices() const;

    /// What the inspections of a job come to: a JobFigures.
    /// @param job its identity
    Q_INVOKABLE QVariantMap figures(const QUuid &job) const;

    /// Two inspections of the point, the earlier and its last one: the given one, or, when that is the last, the one
    /// before. Empty when there is only one.
    Q_INVOKABLE QVariantList beforeAndAfter(qint64 point, qint64 inspection) const;

    /// Whether the record must not be shown with its plain verdict, for it contradicts itself.
    bool isDoubtful(const Records::StoredInspection &record) const;

    Q_INVOKABLE void refresh(); ///< the current job and its points

    /// After what was in the way is gone. The job is the same by its identity, or there is none, and the notice says
    /// so.
    Q_INVOKABLE void reopen();

    /// Somebody else has opened the store in the meantime: only who is the first to open a damaged one is told of it.
    void hear(const Records::Opening &opening);

    /// What is told in words is told in another language now.
    void retranslate();

    static QVariantMap rowOf(const Records::InspectionSummary &summary);

Q_SIGNALS:
    void stateChanged();
    void errorChanged();
    void jobChanged();
    void pointChanged();
    void storageChanged();
    void resultFilterChanged();
    void reopened(); ///< numbers of records may be others'

private:
    static int pageRowCount() { return pageRows; }
    void open();
    bool use(const Records::Job &job);
    void readPoints();
    void forgetJob();
    bool hasPoints(Records::Id job, Records::Side side) const;
    bool tell(const Records::Problem &problem);
    bool tell(const QString &error);
    QString unusable(const QVariantMap &fields) const;
    bool makeJob(const QVariantMap &fields);
    QVariantMap rowOf(const Records::Job &job) const;

    const QString mFolder;
    TesterSettings *const mSettings;
    Records::RecordStore mStore;
    Records::Opening mOpening;
    Records::Opening mAside; ///< what another opening has kept aside
    QString mLostJob; ///< its name, when other results are there than before
    bool mWasOpen = false;
    bool mIsGone = false; ///< what is open is not in the folder any more
    Records::Problem mProblem;
    QString mError;
    Records::Job mJob;
    Records::Job mPointless; ///< was made, but its points could not be stored: the next attempt goes on with it
    QVariantMap mPointlessRun;
    QVector<Records::Point> mPointRows;
    Records::Id mSelected = Records::noId;
    RowModel mPoints;
    RowModel mJobs;
    RowModel mResults;
    QVariantMap mResultFilter;
};
