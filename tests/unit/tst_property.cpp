// SPDX-License-Identifier: Apache-2.0
#include "Property.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QPointF>
#include <QSignalSpy>
#include <QVector>
#include <QtTest>

#include <limits>

using IntPair = QPair<int, int>;

// A second macro around the first one, as a class with many properties of a kind would write it.
#define COUNTER_PROPERTY(name) VANTOR_PROPERTY(qlonglong, name, -1)

class Measurement : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, title, QStringLiteral("unnamed"))
    VANTOR_PROPERTY(int, amount, 0)
    VANTOR_PROPERTY(bool, isMain, true)
    VANTOR_PROPERTY(double, level, {})
    VANTOR_PROPERTY(IntPair, range, (IntPair(1, 2)))
    VANTOR_PROPERTY(QVector<QPointF>, points, {})
    COUNTER_PROPERTY(frames)

public:
    using QObject::QObject;
};

class DerivedMeasurement : public Measurement
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, place, {})
};

class TestProperty : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void propertiesComeInTheOrderOfTheLines()
    {
        const QMetaObject &meta = Measurement::staticMetaObject;
        QStringList properties;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
            properties << QString::fromUtf8(meta.property(i).typeName()) + QLatin1Char(' ')
                    + QString::fromUtf8(meta.property(i).name());

        QCOMPARE(properties,
            (QStringList{QStringLiteral("QString title"), QStringLiteral("int amount"), QStringLiteral("bool isMain"),
                QStringLiteral("double level"), QStringLiteral("IntPair range"),
                QStringLiteral("QVector<QPointF> points"), QStringLiteral("qlonglong frames")}));
    }

    void signalsComeInTheOrderOfTheLines()
    {
        const QMetaObject &meta = Measurement::staticMetaObject;
        QStringList methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QMetaMethod method = meta.method(i);
            methods << QString::fromUtf8(method.methodSignature());
            QCOMPARE(method.methodType(), QMetaMethod::Signal);
            QCOMPARE(method.access(), QMetaMethod::Public);
            QCOMPARE(method.returnType(), int(QMetaType::Void));
            QCOMPARE(method.parameterNames(), QList<QByteArray>{QByteArray("value")});
        }

        QCOMPARE(methods,
            (QStringList{QStringLiteral("title_changed(QString)"), QStringLiteral("amount_changed(int)"),
                QStringLiteral("isMain_changed(bool)"), QStringLiteral("level_changed(double)"),
                QStringLiteral("range_changed(IntPair)"), QStringLiteral("points_changed(QVector<QPointF>)"),
                QStringLiteral("frames_changed(qlonglong)")}));
    }

    void everyPropertyIsReadWritableAndNotifies()
    {
        const QMetaObject &meta = Measurement::staticMetaObject;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            const QMetaProperty property = meta.property(i);
            QVERIFY(property.isReadable());
            QVERIFY(property.isWritable());
            QVERIFY(property.isScriptable());
            QVERIFY(property.isStored());
            QVERIFY(!property.isResettable());
            QVERIFY(!property.isConstant());
            QVERIFY(property.hasNotifySignal());
            QCOMPARE(property.notifySignal().name(), QByteArray(property.name()) + "_changed");
        }
    }

    void aNewObjectHasItsInitialValuesAndNothingDirty()
    {
        const Measurement measurement;

        QCOMPARE(measurement.title(), QStringLiteral("unnamed"));
        QCOMPARE(measurement.amount(), 0);
        QCOMPARE(measurement.isMain(), true);
        QCOMPARE(measurement.level(), 0.0);
        QCOMPARE(measurement.range(), IntPair(1, 2));
        QVERIFY(measurement.points().isEmpty());
        QCOMPARE(measurement.frames(), -1);
        QVERIFY(!measurement.title_dirty() && !measurement.amount_dirty() && !measurement.isMain_dirty()
            && !measurement.level_dirty() && !measurement.range_dirty() && !measurement.points_dirty()
            && !measurement.frames_dirty());
    }

    void theNameIsThatOfTheProperty()
    {
        QCOMPARE(Measurement::title_name(), QStringLiteral("title"));
        QCOMPARE(Measurement::isMain_name(), QStringLiteral("isMain"));
        QCOMPARE(Measurement::frames_name(), QStringLiteral("frames"));
        QVERIFY(Measurement::staticMetaObject.indexOfProperty(Measurement::range_name().toUtf8().constData()) >= 0);
    }

    void aNewValueIsStoredAndTold()
    {
        Measurement measurement;
        QSignalSpy changes(&measurement, &Measurement::title_changed);

        measurement.set_title(QStringLiteral("port 3"));

        QCOMPARE(measurement.title(), QStringLiteral("port 3"));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first(), QVariantList{QStringLiteral("port 3")});
        QVERIFY(measurement.title_dirty());
        QVERIFY(!measurement.amount_dirty());
    }

    void anEqualValueIsNotToldButMakesDirty()
    {
        Measurement measurement;
        QSignalSpy changes(&measurement, &Measurement::amount_changed);

        measurement.set_amount(0);

        QCOMPARE(changes.count(), 0);
        QVERIFY(measurement.amount_dirty());
    }

    void theDirtyFlagStays()
    {
        Measurement measurement;

        measurement.set_amount(5);
        measurement.set_amount(0);
        measurement.set_amount(0);

        QVERIFY(measurement.amount_dirty());
    }

    void everyChangeIsToldOnce()
    {
        Measurement measurement;
        QSignalSpy changes(&measurement, &Measurement::amount_changed);

        for (const int amount : {1, 1, 2, 2, 2, 1})
            measurement.set_amount(amount);

        QCOMPARE(changes.count(), 3);
        QCOMPARE(changes[0].first().toInt(), 1);
        QCOMPARE(changes[1].first().toInt(), 2);
        QCOMPARE(changes[2].first().toInt(), 1);
    }

    void theValueIsStoredBeforeItIsTold()
    {
        Measurement measurement;
        int seen = -1;
        bool dirty = false;
        connect(&measurement, &Measurement::amount_changed, this, [&](int value) {
            seen = measurement.amount();
            dirty = measurement.amount_dirty();
            QCOMPARE(value, 7);
        });

        measurement.set_amount(7);

        QCOMPARE(seen, 7);
        QVERIFY(dirty);
    }

    void aListenerMaySetTheValueAgain()
    {
        Measurement measurement;
        QVector<int> told;
        connect(&measurement, &Measurement::amount_changed, this, [&](int value) {
            told.append(value);
            measurement.set_amount(10);
        });

        measurement.set_amount(1);

        QCOMPARE(measurement.amount(), 10);
        QCOMPARE(told, (QVector<int>{1, 10}));
    }

    void aNumberThatIsNoneAlwaysChanges()
    {
        Measurement measurement;
        QSignalSpy changes(&measurement, &Measurement::level_changed);
        const double notANumber = std::numeric_limits<double>::quiet_NaN();

        measurement.set_level(notANumber);
        measurement.set_level(notANumber);

        QCOMPARE(changes.count(), 2);
    }

    void metaPropertiesReadWriteAndNotify()
    {
        Measurement measurement;
        const QMetaObject *const meta = measurement.metaObject();
        const QMetaProperty amount = meta->property(meta->indexOfProperty("amount"));
        QSignalSpy changes(&measurement, amount.notifySignal());

        QVERIFY(amount.write(&measurement, 12));

        QCOMPARE(measurement.amount(), 12);
        QCOMPARE(amount.read(&measurement).toInt(), 12);
        QCOMPARE(changes.count(), 1);
        QVERIFY(measurement.amount_dirty());
        QVERIFY(measurement.setProperty("title", QStringLiteral("by name")));
        QCOMPARE(measurement.property("title").toString(), QStringLiteral("by name"));
        QVERIFY(measurement.title_dirty());
        QVERIFY(!amount.write(&measurement, QStringLiteral("no number")));
        QCOMPARE(measurement.amount(), 12);
    }

    void signalsConnectByName()
    {
        Measurement source;
        DerivedMeasurement target;
        QVERIFY(connect(&source, SIGNAL(title_changed(QString)), &target, SIGNAL(place_changed(QString))));
        QSignalSpy changes(&target, &DerivedMeasurement::place_changed);

        source.set_title(QStringLiteral("rack"));

        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().first().toString(), QStringLiteral("rack"));
        QVERIFY(!target.place_dirty());
    }

    void aDerivedClassAddsItsProperties()
    {
        const QMetaObject &meta = DerivedMeasurement::staticMetaObject;

        QCOMPARE(meta.propertyOffset(), Measurement::staticMetaObject.propertyCount());
        QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 1);
        QCOMPARE(QByteArray(meta.property(meta.propertyOffset()).name()), QByteArray("place"));
    }
};

QTEST_GUILESS_MAIN(TestProperty)
#include "tst_property.moc"
