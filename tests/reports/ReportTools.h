// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../records/OwnConnection.h"
#include "../records/StoredFaces.h"
#include "Reports/JobArchive.h"

#include <QTemporaryDir>

/// A store with one job in a folder of its own, and what others make of the documents that are written of it.
class ReportStore
{
public:
    /// @param pointCount of side A; beyond a thousand the rest are of side B
    explicit ReportStore(int pointCount, const Records::Job &newJob = namedJob());

    static Records::Job namedJob();

    /// Inspects the point with a photograph of its own that shows this sample.
    Records::Id inspect(int point, const QString &sample);
    Records::Id inspectNothing(int point); ///< of a picture that is none

    Records::StoredInspection inspection(Records::Id id) const { return store.inspection(id).value; }
    QString picturePath(const QByteArray &hash) const { return store.picturePath(hash).value; }
    void run(const QString &statement) const; ///< on the database, as somebody else

    Reports::JobReport report() const;
    QString path(const QString &name) const { return mDir.filePath(name); }
    QString folder() const { return mDir.filePath(QStringLiteral("store")); }

    Records::RecordStore store;
    Records::Id job = Records::noId;
    QVector<Records::Point> points;

private:
    QTemporaryDir mDir;
    int mPhotographs = 0;
};

/// The bytes of the sample with a comment in them, so that its sum is its own.
QByteArray photographOf(const QString &sample, int number);

struct Ran
{
    int exitCode = -1; ///< -1: it did not end, or crashed
    QByteArray output;
    QByteArray errors;
};
Ran runProgram(const QString &program, const QStringList &arguments, const QString &folder = {},
    const QStringList &environment = {});

QByteArray fileContent(const QString &path);

// What a PDF says.
QString textOfPdf(const QString &path, int page = 0); ///< blanks and line breaks are one blank; page 0: all
int pagesOfPdf(const QString &path);
QByteArray recordOfPdf(const QString &path); ///< what is attached
QString faultOfPdf(const QString &path); ///< as qpdf finds it; empty: none
QString textsBeyondPages(const QString &path); ///< words that lie outside of a page or its margins; empty: none
QStringList kindsOfPictures(const QString &path); ///< "jpeg", of each

QString schemaViolation(const QByteArray &json); ///< of docs/records.schema.json; empty: none

Q_DECLARE_METATYPE(Reports::Language)
