// SPDX-License-Identifier: Apache-2.0
// A program of somebody else that writes a report.
#include <QGuiApplication>
#include <QTemporaryDir>

#include <Reports/JobArchive.h>

#include <cstdio>

using namespace Records;

int main(int argc, char *argv[])
{
    const QGuiApplication application(argc, argv);
    const QTemporaryDir dir;
    RecordStore store;
    store.open(dir.path());
    Job job;
    job.name = QStringLiteral("Panel 7");
    const Id id = store.addJob(job).value.id;
    store.addPoints(id, {QStringLiteral("A1"), QStringLiteral("A3")});
    const auto report = Reports::JobReport::gather(store, id);
    const auto pdf = Reports::writeJobPdf(report.value, dir.filePath(QStringLiteral("a.pdf")));
    const auto zip = Reports::writeJobArchive(report.value, dir.filePath(QStringLiteral("a.zip")));
    std::puts(qPrintable(report.problem.text + pdf.problem.text + zip.problem.text));
    return report.value.counts().open == 3 && pdf.isWhole() && zip.isWhole() ? 0 : 1;
}
