// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "Pages/InspectionPages.h"
#include "Pages/StandardModel.h"

#include <QFile>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QtTest>

/// The pages of an application that has more of them.
class MorePages
{
    Q_GADGET

public:
    enum Id : int { Wiremap, FiberInspectionResult = 40 };
    Q_ENUM(Id)
};

/// And of one that forgot the page that ours leads to.
class TooFewPages
{
    Q_GADGET

public:
    enum Id : int { Wiremap };
    Q_ENUM(Id)
};

class TestInspectionPages : public QObject
{
    Q_OBJECT

private:
    static QVariant published(const QQmlEngine &engine, const char *name)
    {
        return engine.rootContext()->contextProperty(QString::fromLatin1(name));
    }

    /// What an expression gives in a file that imports what the pages import; what is wrong with it otherwise.
    static QVariant evaluated(QQmlEngine *engine, const QByteArray &expression)
    {
        QQmlComponent component(engine);
        component.setData("import QtQml 2.11\nimport FiberInspection 1.0\nimport OrvelPage 1.0\nQtObject {\n"
                          "property FiberRealtimeAnalyser live: FiberRealtimeAnalyser {}\nproperty var value: "
                + expression + "\n}",
            {});
        const std::unique_ptr<QObject> object(component.create());
        return object ? object->property("value") : component.errorString();
    }

private Q_SLOTS:
    void eachObjectStandsUnderItsName()
    {
        QObject fiberManager;
        QObject hardwareManager;
        QObject appController;
        QObject messageBoxManager;
        QObject snackBar;
        QObject titleBar;
        QObject stackView;
        QObject notificationArea;
        QQmlEngine engine;

        InspectionPages::setUp(&engine,
            {&fiberManager, &hardwareManager, &appController, &messageBoxManager, &snackBar, &titleBar, &stackView,
                &notificationArea});

        const auto is = [&](const char *name, QObject &object) {
            return published(engine, name).value<QObject *>() == &object;
        };
        QVERIFY(is("fiberManager", fiberManager));
        QVERIFY(is("hardwareManager", hardwareManager));
        QVERIFY(is("appController", appController));
        QVERIFY(is("messageBoxManager", messageBoxManager));
        QVERIFY(is("snackBar", snackBar));
        QVERIFY(is("titleBar", titleBar));
        QVERIFY(is("stackView", stackView));
        QVERIFY(is("notificationArea", notificationArea));
    }

    void whatIsNotThereIsLeftToTheQmlAround()
    {
        QObject snackBar;
        InspectionPages::ContextObjects objects;
        objects.snackBar = &snackBar;
        QQmlEngine engine;

        InspectionPages::setUp(&engine, objects);

        QCOMPARE(published(engine, "snackBar").value<QObject *>(), &snackBar);
        QCOMPARE(evaluated(&engine, "typeof titleBar"), QVariant(QStringLiteral("undefined")));
    }

    void everyEngineSeesTheModules()
    {
        for (int i = 0; i < 2; ++i) {
            QQmlEngine engine;
            InspectionPages::setUp(&engine, {});

            QCOMPARE(evaluated(&engine, "live.focusValue"), QVariant(-1));
            QCOMPARE(evaluated(&engine, "OrvelPage.FiberInspectionResult"), QVariant(OrvelPage::FiberInspectionResult));
        }
    }

    void anApplicationMayNumberItsPages()
    {
        const LogCapture log;
        QQmlEngine engine;

        InspectionPages::setUp(&engine, {}, MorePages::staticMetaObject);

        QCOMPARE(evaluated(&engine, "[OrvelPage.Wiremap, OrvelPage.FiberInspectionResult].join()"),
            QVariant(QStringLiteral("0,40")));
        QCOMPARE(log.warnings(), QStringList());
    }

    void aMissingResultPageIsTold()
    {
        const LogCapture log;
        QQmlEngine engine;

        InspectionPages::setUp(&engine, {}, TooFewPages::staticMetaObject);

        QCOMPARE(log.warnings(),
            QStringList(QStringLiteral("TooFewPages has no FiberInspectionResult for the camera page to navigate to")));
    }

    void thePagesLieWhereTheHeaderSays()
    {
        QQmlEngine engine;
        InspectionPages::setUp(&engine, {});

        for (const QString &page : {InspectionPages::inspectionPage(), InspectionPages::resultPage()})
            QVERIFY2(QFile::exists(page.mid(int(qstrlen("qrc")))), qPrintable(page));
    }

    void theModelHasTheRolesThatThePageAsksFor()
    {
        QQmlEngine engine;
        InspectionPages::setUp(&engine, {});
        QFile page(InspectionPages::inspectionPage().mid(int(qstrlen("qrc"))));
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QString source = QString::fromUtf8(page.readAll());

        QStringList asked;
        const QRegularExpression role(QStringLiteral("\\b(?:text|value)Role: \"(\\w+)\""));
        for (auto match = role.globalMatch(source); match.hasNext();)
            asked << match.next().captured(1);

        const LogCapture log;
        const StandardModel model;
        QCOMPARE(asked.size(), 2);
        for (const QString &name : asked) {
            QVERIFY2(model.roles().contains(name), qPrintable(name));
            QVERIFY(model.data(0, name).isValid());
        }
        QVERIFY(model.count() > 0 && model.count() == model.rowCount());
        QVERIFY(!model.data(0, QStringLiteral("colour")).isValid());
        QVERIFY(!model.data(model.count(), QStringLiteral("name")).isValid());
        QCOMPARE(log.warnings(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestInspectionPages)
#include "tst_inspectionpages.moc"
