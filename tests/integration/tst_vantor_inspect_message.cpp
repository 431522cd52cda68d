// SPDX-License-Identifier: Apache-2.0
#include "inspect/InspectionMessage.h"
#include "inspect/Options.h"
#include "inspect/ReportCsv.h"

#include <QLoggingCategory>
#include <QtTest>

#include <cstring>
#include <limits>
#include <random>

using namespace Inspect;
using FiberInspection::Defect;
using FiberInspection::Standard;
using FiberInspection::TestResult;

namespace {
Task someTask()
{
    Task task;
    task.image.path = QStringLiteral("face.jpg");
    return task;
}

Defect someDefect(float size)
{
    Defect defect;
    defect.size = size;
    defect.enclosingCircle = {10, 20, size / 2};
    defect.boundingRectPoints = {{1, 2}, {3, 4}, {5, 6}, {7, 8.5}};
    return defect;
}

Inspection failedInspection()
{
    Inspection inspection = {};
    inspection.task = someTask();
    inspection.result = TestResult(Standard(inspection.task.standardId));
    inspection.result.processDefects({someDefect(5), someDefect(1)}, {someDefect(30)});
    inspection.result.setError(false);
    inspection.corePixels = {17, 3};
    inspection.claddingPixels = {99};
    inspection.measurements.pixelSize = 1.075F;
    inspection.measurements.cladding = {400, 300, 58.1F};
    inspection.measurements.crop = QRect(1, 2, 30, 40);
    inspection.measurements.grayLevels.cladding = -3;
    inspection.measurements.elapsedMs = 12.5;
    inspection.hasKeptResult = true;
    inspection.repetition = {7, 2, 5, 0};
    return inspection;
}

Inspection withoutVerdict()
{
    Inspection inspection = {};
    inspection.task = someTask();
    inspection.result = TestResult(Standard(inspection.task.standardId));
    inspection.reason = {NoVerdict::Reason::ImageDamaged, QStringLiteral("gr\u00fcn")};
    inspection.repetition = {1, 0, 0, 1};
    return inspection;
}

QByteArray withLength(const QByteArray &body)
{
    const auto size = static_cast<quint32>(body.size());
    return QByteArray(reinterpret_cast<const char *>(&size), sizeof size) + body;
}

enum class Answer : int { Taken, NotYet, Damaged };

Answer answerTo(QByteArray bytes)
{
    bool isDamaged = false;
    const bool isTaken = InspectionMessage::take(&bytes, someTask(), &isDamaged).has_value();
    return isTaken ? Answer::Taken : isDamaged ? Answer::Damaged : Answer::NotYet;
}
} // namespace

class TestVantorInspectMessage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void anInspectionArrivesAsItWas()
    {
        const Inspection sent = failedInspection();
        QByteArray bytes = InspectionMessage::toBytes(sent);
        bool isDamaged = false;

        const std::optional<Inspection> got = InspectionMessage::take(&bytes, someTask(), &isDamaged);

        QVERIFY(got);
        QVERIFY(bytes.isEmpty());
        QCOMPARE(got->result.error(), false);
        QCOMPARE(got->result.passed(), false);
        QCOMPARE(got->result.core().violations, sent.result.core().violations);
        QCOMPARE(got->result.coreDefects().size(), 2);
        QCOMPARE(got->result.coreDefects().at(0).causesFailure, true);
        QCOMPARE(got->result.coreDefects().at(0).boundingRectPoints, someDefect(5).boundingRectPoints);
        QCOMPARE(got->result.claddingDefects().at(0).size, 30.0F);
        QCOMPARE(got->corePixels, sent.corePixels);
        QCOMPARE(got->claddingPixels, sent.claddingPixels);
        QCOMPARE(got->measurements.pixelSize, sent.measurements.pixelSize);
        QCOMPARE(got->measurements.cladding, sent.measurements.cladding);
        QCOMPARE(got->measurements.crop, sent.measurements.crop);
        QCOMPARE(got->measurements.grayLevels.cladding, -3);
        QCOMPARE(got->hasKeptResult, true);
        QCOMPARE(got->repetition.failed, 5);
        QCOMPARE(got->task.image.path, QStringLiteral("face.jpg"));
    }

    void aReasonArrivesAsItWas()
    {
        QByteArray bytes = InspectionMessage::toBytes(withoutVerdict());
        bool isDamaged = false;

        const std::optional<Inspection> got = InspectionMessage::take(&bytes, someTask(), &isDamaged);

        QVERIFY(got);
        QCOMPARE(got->result.error(), true);
        QCOMPARE(got->reason.reason, NoVerdict::Reason::ImageDamaged);
        QCOMPARE(got->reason.detail, withoutVerdict().reason.detail);
        QCOMPARE(got->reason.text(), QStringLiteral("Failed to load image: gr\u00fcn"));
    }

    void aReasonControlsNoTable()
    {
        const QString reason = QString::fromUtf8("\033]0;mine\007\033[2J\xE2\x80\xAEgpj\xC2\x9B \n gr\xC3\xBCn\\");
        Inspection inspection = withoutVerdict();
        inspection.reason.detail = reason;
        QByteArray bytes = InspectionMessage::toBytes(inspection);
        bool isDamaged = false;
        const std::optional<Inspection> got = InspectionMessage::take(&bytes, someTask(), &isDamaged);
        QVERIFY(got);

        const QByteArray line = csvReport(*got, Options());

        QCOMPARE(line.split(',').value(4),
            QByteArray(
                "\"Failed to load image: \\x1b]0;mine\\x07\\x1b[2J\\xe2\\x80\\xaegpj\\xc2\\x9b \\x0a gr\xC3\xBCn\\\""));
    }

    void aMessageIsTakenOnlyAsAWhole()
    {
        const QByteArray whole = InspectionMessage::toBytes(failedInspection());
        for (int size = 0; size < whole.size(); ++size)
            QCOMPARE(answerTo(whole.left(size)), Answer::NotYet);
        QCOMPARE(answerTo(whole), Answer::Taken);
        for (int size = 0; size < whole.size() - 4; ++size)
            QCOMPARE(answerTo(withLength(whole.mid(4, size))), Answer::Damaged);
    }

    void whatCannotBeAMessageIsRefusedAtOnce_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray whole = InspectionMessage::toBytes(failedInspection());
        const auto row = [](const char *name, const QByteArray &bytes) { QTest::newRow(name) << bytes; };
        row("four gigabytes announced", QByteArray(4, '\xFF'));
        row("a little more than is allowed", [] {
            const quint32 size = InspectionMessage::mostBytes + 1;
            return QByteArray(reinterpret_cast<const char *>(&size), sizeof size);
        }());
        row("a byte too many", whole + '\0');
        row("a byte too many inside", withLength(whole.mid(4) + '\0'));
        row("nothing inside", withLength({}));

        const auto changed = [&](const char *name, const std::function<void(Inspection *)> &change) {
            Inspection inspection = failedInspection();
            change(&inspection);
            row(name, InspectionMessage::toBytes(inspection));
        };
        changed("a verdict and a reason", [](Inspection *it) { it->reason = {NoVerdict::Reason::NoFibre, {}}; });
        changed("a verdict and a detail", [](Inspection *it) { it->reason.detail = QStringLiteral("no"); });
        changed("neither verdict nor reason", [](Inspection *it) { it->result.setError(true); });
        changed("negative size", [](Inspection *it) {
            it->result = TestResult(Standard(it->task.standardId));
            it->result.processDefects({someDefect(-1), someDefect(1)}, {someDefect(1)});
            it->result.setError(false);
        });
        changed("unknown kind", [](Inspection *it) {
            Defect defect = someDefect(1);
            defect.type = static_cast<Defect::Type>(77);
            it->result = TestResult(Standard(it->task.standardId));
            it->result.processDefects({defect, defect}, {defect});
            it->result.setError(false);
        });
        changed("negative number of pixels", [](Inspection *it) { it->corePixels[0] = -1; });
        changed("crop outside", [](Inspection *it) { it->measurements.crop = QRect(-1, 0, 5, 5); });
        changed("grey level beyond white", [](Inspection *it) { it->measurements.grayLevels.aroundCore = 256; });
        changed("negative count", [](Inspection *it) { it->measurements.counts.contours = -1; });
        changed("negative time", [](Inspection *it) { it->measurements.elapsedMs = -1; });
        changed("runs that do not add up", [](Inspection *it) { it->repetition.runs = 8; });
        changed("runs that add up beyond int", [](Inspection *it) {
            constexpr int most = std::numeric_limits<int>::max();
            it->repetition = {most - 1, most, most, 0};
        });
    }

    void aReasonThatNoInspectionHasIsRefused_data()
    {
        QTest::addColumn<int>("reason");
        QTest::newRow("none") << static_cast<int>(NoVerdict::Reason::None);
        QTest::newRow("none of its own") << static_cast<int>(NoVerdict::Reason::NotInspected);
        QTest::newRow("below the first") << -1;
        QTest::newRow("beyond the last") << static_cast<int>(NoVerdict::Reason::AnalysisBroken) + 1;
    }
    void aReasonThatNoInspectionHasIsRefused()
    {
        QFETCH(int, reason);
        Inspection inspection = withoutVerdict();
        inspection.reason.reason = static_cast<NoVerdict::Reason>(reason);

        QCOMPARE(answerTo(InspectionMessage::toBytes(inspection)), Answer::Damaged);
    }

    void everyReasonOfAnInspectionIsTaken()
    {
        const int last = static_cast<int>(NoVerdict::Reason::AnalysisBroken);
        for (int reason = static_cast<int>(NoVerdict::Reason::FileMissing); reason <= last; ++reason) {
            Inspection inspection = withoutVerdict();
            inspection.reason.reason = static_cast<NoVerdict::Reason>(reason);
            QCOMPARE(answerTo(InspectionMessage::toBytes(inspection)), Answer::Taken);
        }
    }

    void whatCannotBeAMessageIsRefusedAtOnce()
    {
        QFETCH(QByteArray, bytes);

        QCOMPARE(answerTo(bytes), Answer::Damaged);
    }

    /// Each of them costs the parent a hundred times what it costs the sender.
    void noMoreDefectsAreTakenThanFitOnAFibre()
    {
        const auto answerToDefects = [](int count) {
            Inspection inspection = failedInspection();
            inspection.result = TestResult(Standard(inspection.task.standardId));
            inspection.result.processDefects(
                QVector<Defect>(count, someDefect(1)), QVector<Defect>(count, someDefect(1)));
            inspection.result.setError(false);
            inspection.corePixels.fill(1, inspection.result.coreDefects().size());
            inspection.claddingPixels.fill(1, inspection.result.claddingDefects().size());
            return answerTo(InspectionMessage::toBytes(inspection));
        };
        QCOMPARE(answerToDefects(InspectionMessage::mostDefects), Answer::Taken);
        QCOMPARE(answerToDefects(InspectionMessage::mostDefects + 1), Answer::Damaged);
    }

    void everyChangedByteIsRefusedOrHarmless()
    {
        const QByteArray whole = InspectionMessage::toBytes(failedInspection());
        std::mt19937 random(1);
        int taken = 0;
        int refused = 0;
        for (int run = 0; run < 20000; ++run) {
            QByteArray bytes = whole;
            for (auto changes = 1 + random() % 4; changes > 0; --changes)
                bytes[4 + static_cast<int>(random() % static_cast<unsigned>(whole.size() - 4))] =
                    static_cast<char>(random());
            bool isDamaged = false;
            const std::optional<Inspection> got = InspectionMessage::take(&bytes, someTask(), &isDamaged);
            QCOMPARE(got.has_value(), !isDamaged);
            ++(got ? taken : refused);
            if (!got)
                continue;
            QCOMPARE(got->corePixels.size(), got->result.coreDefects().size());
            QCOMPARE(got->claddingPixels.size(), got->result.claddingDefects().size());
        }
        QVERIFY(taken > 100 && refused > 100); // both were tried
    }
};

QTEST_GUILESS_MAIN(TestVantorInspectMessage)
#include "tst_vantor_inspect_message.moc"
