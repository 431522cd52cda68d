// SPDX-License-Identifier: Apache-2.0
#include "ProgramRun.h"

#include <QFile>
#include <QtTest>

namespace {
/// What the program prints under these settings of the user.
QByteArray document(const QString &timeZone, const QString &locale)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TZ"), timeZone);
    environment.insert(QStringLiteral("LC_ALL"), locale);
    const ProgramRun run = ProgramRun::of(QStringLiteral(VANTOR_STUDY_PROGRAM), {QStringLiteral("formatting")},
        [&environment](ChildProcess &program) { program.setProcessEnvironment(environment); });
    return run.exitCode == 0 ? run.output : run.errors;
}
} // namespace

class TestVantorFormatting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theDocumentIsUpToDate()
    {
        QFile file(QStringLiteral(VANTOR_FORMATTING_DOCUMENT));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> written = file.readAll().split('\n');
        const QList<QByteArray> now = document(QStringLiteral("UTC"), QStringLiteral("C")).split('\n');

        for (int line = 0; line < qMin(written.size(), now.size()); ++line)
            QCOMPARE(now.at(line), written.at(line)); // if not: ./vantor formatting
        QCOMPARE(now.size(), written.size());
        QVERIFY(now.size() > 500);
    }

    void theDocumentIsTheSameForEveryUser()
    {
        QVERIFY(document(QStringLiteral("Asia/Kolkata"), QStringLiteral("de_DE.UTF-8"))
            == document(QStringLiteral("UTC"), QStringLiteral("C")));
    }
};

QTEST_GUILESS_MAIN(TestVantorFormatting)
#include "tst_vantor_formatting.moc"
