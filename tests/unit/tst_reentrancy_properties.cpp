// SPDX-License-Identifier: Apache-2.0
// The receivers of a change delete the object whose property is being set, or what its values are taken from.
#include "FiberInspection/TestResult.h"
#include "ForkedChild.h"
#include "Helpers/IPDetails.h"
#include "Helpers/JsonHelper.h"
#include "Helpers/QObjectHelper.h"
#include "NestedLoop.h"
#include "VantorBase.h"

#include <QMetaProperty>
#include <QPointer>
#include <QtTest>

#include <functional>
#include <memory>
#include <utility>

using FiberInspection::TestSummaryEntity;

class PlainRecord : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, first, {})
    VANTOR_PROPERTY(QString, second, {})
};

class AtomicRecord : public QObject
{
    Q_OBJECT
    VANTOR_ATOMIC_PROPERTY(int, first, 0)
    VANTOR_ATOMIC_PROPERTY(int, second, 0)
};

class LockedRecord : public QObject
{
    Q_OBJECT
    VANTOR_LOCKED_PROPERTY(QString, first, {})
    VANTOR_LOCKED_PROPERTY(QString, second, {})
};

class ArrayRecord : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QVariant, jsonarray, {})
};

namespace {
enum class Deed {
    Delete,
    DeleteInLoop,
    DeleteAfterLoop,
    SetInLoop,
};

bool deletes(Deed deed)
{
    return deed != Deed::SetInLoop;
}

/// The ways by which a value gets into a property.
enum class Setter {
    Function,
    MetaProperty,
    ByName,
    ByEvent,
};

void carryOut(Deed deed, QObject *object)
{
    switch (deed) {
    case Deed::Delete:
        delete object;
        break;
    case Deed::DeleteInLoop:
        QVERIFY(NestedLoop::runAndDelete(object));
        break;
    case Deed::DeleteAfterLoop:
        QVERIFY(NestedLoop::runWith([] {}));
        delete object;
        break;
    case Deed::SetInLoop:
        QVERIFY(NestedLoop::runWith([object] { object->setProperty("first", 2); }));
        break;
    }
}

const char *const addressNames[] = {"address", "netmask", "gateway", "primaryDNS", "secondaryDNS", "domain"};

void fill(QObject *details)
{
    for (const char *name : addressNames)
        details->setProperty(name, QStringLiteral("the %1").arg(QLatin1String(name)));
}

/// Calls the receiver on the change of the property with the name.
class Listener : public QObject
{
    Q_OBJECT

public:
    Listener(QObject *object, const char *name, std::function<void()> receiver)
        : mReceiver(std::move(receiver))
    {
        const QMetaProperty property = object->metaObject()->property(object->metaObject()->indexOfProperty(name));
        connect(object, property.notifySignal(), this, metaObject()->method(metaObject()->indexOfSlot("hear()")));
    }

    int changes = 0;

public Q_SLOTS:
    void hear()
    {
        if (++changes == 1)
            mReceiver();
    }

private:
    const std::function<void()> mReceiver;
};
} // namespace

Q_DECLARE_METATYPE(Deed)
Q_DECLARE_METATYPE(Setter)

class TestReentrancyProperties : public QObject
{
    Q_OBJECT

private:
    static QVector<std::pair<const char *, Deed>> deeds()
    {
        return {{"deleted", Deed::Delete}, {"deleted in a loop", Deed::DeleteInLoop},
            {"deleted after a loop", Deed::DeleteAfterLoop}, {"set again in a loop", Deed::SetInLoop}};
    }

    static void addSetterRows()
    {
        QTest::addColumn<Deed>("deed");
        QTest::addColumn<Setter>("setter");
        const QVector<std::pair<const char *, Setter>> setters{{"by the setter", Setter::Function},
            {"by the meta-property", Setter::MetaProperty}, {"by name", Setter::ByName},
            {"by an event", Setter::ByEvent}};
        const auto all = deeds();
        for (const auto &deed : all) {
            for (const auto &setter : setters)
                QTest::addRow("%s, %s", deed.first, setter.first) << deed.second << setter.second;
        }
    }

    template <typename Record>
    static void checkSetter()
    {
        QFETCH(Deed, deed);
        QFETCH(Setter, setter);
        const QPointer<Record> record = new Record;
        const Listener listener(record, "first", [&] { carryOut(deed, record); });
        const auto one = QVariant(1).value<decltype(record->first())>();

        switch (setter) {
        case Setter::Function:
            record->set_first(one);
            break;
        case Setter::MetaProperty:
            record->metaObject()->property(record->metaObject()->indexOfProperty("first")).write(record, 1);
            break;
        case Setter::ByName:
            record->setProperty("first", 1);
            break;
        case Setter::ByEvent:
            QMetaObject::invokeMethod(
                record, [&record, one] { record->set_first(one); }, Qt::QueuedConnection);
            QVERIFY(NestedLoop::runUntil([&] { return listener.changes > 0 && (!record || record->first_dirty()); }));
            break;
        }

        QCOMPARE(listener.changes, deletes(deed) ? 1 : 2);
        QCOMPARE(record.isNull(), deletes(deed));
        if (record)
            QCOMPARE(record->property("first").toInt(), 2);
        delete record;
    }

    /// The moments at which a record that is copied property by property may go.
    static void addRecordRows()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("sourceGoes");
        QTest::addColumn<Deed>("deed");
        for (const char *name : addressNames) {
            for (const bool sourceGoes : {false, true}) {
                const auto all = deeds();
                for (const auto &deed : all) {
                    if (deletes(deed.second))
                        QTest::addRow("%s: the %s is %s", name, sourceGoes ? "source" : "target", deed.first)
                            << QString::fromUtf8(name) << sourceGoes << deed.second;
                }
            }
        }
    }

    /// Copies by the function while a receiver of one property deletes the source or the target.
    static void checkCopy(const std::function<void(const IPDetails *, IPDetails *)> &copy)
    {
        QFETCH(QString, name);
        QFETCH(bool, sourceGoes);
        QFETCH(Deed, deed);
        const QPointer<IPDetails> source = new IPDetails;
        const QPointer<IPDetails> target = new IPDetails;
        fill(source);
        const Listener listener(target, qPrintable(name), [&] { carryOut(deed, sourceGoes ? source : target); });

        copy(source, target);

        QCOMPARE(listener.changes, 1);
        QCOMPARE(source.isNull(), sourceGoes);
        QCOMPARE(target.isNull(), !sourceGoes);
        if (target)
            QCOMPARE(target->property(qPrintable(name)).toString(), QStringLiteral("the ") + name);
        delete source;
        delete target;
    }

private Q_SLOTS:
    void aPlainPropertyMayLoseItsObject_data() { addSetterRows(); }
    void aPlainPropertyMayLoseItsObject() { checkSetter<PlainRecord>(); }

    void anAtomicPropertyMayLoseItsObject_data() { addSetterRows(); }
    void anAtomicPropertyMayLoseItsObject() { checkSetter<AtomicRecord>(); }

    void aLockedPropertyMayLoseItsObject_data() { addSetterRows(); }
    void aLockedPropertyMayLoseItsObject() { checkSetter<LockedRecord>(); }

    void anAssignmentMayLoseEitherSide_data() { addRecordRows(); }
    void anAssignmentMayLoseEitherSide()
    {
        checkCopy([](const IPDetails *source, IPDetails *target) { *target = *source; });
    }

    void anAssignmentTakesTheValuesOfOneMoment()
    {
        IPDetails source;
        IPDetails target;
        fill(&source);
        const Listener listener(&target, "address", [&] { source.set_domain(QStringLiteral("changed meanwhile")); });

        target = source;

        QCOMPARE(target.domain(), QStringLiteral("the domain"));
    }

    void aReassignmentMayLoseEitherSide_data() { addRecordRows(); }
    void aReassignmentMayLoseEitherSide()
    {
        QFETCH(QString, name);
        bool isComplete = false;
        checkCopy(
            [&](const IPDetails *source, IPDetails *target) { isComplete = QObjectHelper::reassign(source, target); });
        QCOMPARE(isComplete, name == QLatin1String("domain")); // nothing is missing after the last one
    }

    void aReassignmentOfValuesMayLoseItsTarget_data() { addRecordRows(); }
    void aReassignmentOfValuesMayLoseItsTarget()
    {
        QFETCH(QString, name);
        bool isComplete = false;
        checkCopy([&](const IPDetails *source, IPDetails *target) {
            QVector<QVariant> values;
            for (const char *property : addressNames)
                values << source->property(property);
            isComplete = QObjectHelper::reassign(values, target);
        });
        QFETCH(bool, sourceGoes);
        QCOMPARE(isComplete, sourceGoes || name == QLatin1String("domain"));
    }

    void whatIsReadFromJsonMayLoseItsTarget_data() { addRecordRows(); }
    void whatIsReadFromJsonMayLoseItsTarget()
    {
        QFETCH(QString, name);
        bool isComplete = false;
        checkCopy([&](const IPDetails *source, IPDetails *target) {
            isComplete = JsonHelper::fromJson(JsonHelper::toJsonObject(*source), target);
        });
        QFETCH(bool, sourceGoes);
        QCOMPARE(isComplete, sourceGoes || name == QLatin1String("secondaryDNS")); // the last one by name
    }

    void aJsonArrayMayLoseItsTarget()
    {
        const QPointer<ArrayRecord> target = new ArrayRecord;
        const Listener listener(target, "jsonarray", [&] { delete target; });

        QVERIFY(JsonHelper::fromJson("[1]", target));

        QVERIFY(!target);
    }

    void theValuesOfAReassignmentMayGo()
    {
        TestSummaryEntity target;
        auto values = std::make_unique<QVector<QVariant>>();
        *values << QStringLiteral("Core") << QStringLiteral("> 3") << 1 << 2;
        const Listener listener(&target, "zoneName", [&] { values.reset(); });

        QVERIFY(QObjectHelper::reassign(*values, &target));

        QCOMPARE(target.detected(), 2);
    }

    void theRolesMayGoWithTheirAddress_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Deed>("deed");
        for (const char *name : {"isMain", "mainIp", "unitIp"}) {
            const auto all = deeds();
            for (const auto &deed : all) {
                if (deletes(deed.second))
                    QTest::addRow("%s on %s", deed.first, name) << QString::fromUtf8(name) << deed.second;
            }
        }
    }
    void theRolesMayGoWithTheirAddress()
    {
        QFETCH(QString, name);
        QFETCH(Deed, deed);
        const ForkedChild child = ForkedChild::run([&] { // there is only one such object in the life of a process
            const QPointer<VantorBase> base = new VantorBase;
            base->set_remoteIp(QStringLiteral("10.0.0.2"));
            const Listener listener(base, qPrintable(name), [&] { carryOut(deed, base); });
            if (name == QLatin1String("mainIp"))
                base->set_mainIp(QStringLiteral("10.0.0.1"));
            else
                base->set_isMain(false);
            return listener.changes == 1 && !base ? 0 : 1;
        });

        QVERIFY2(child.exitCode == 0, child.standardError);
    }

    void theAddressFollowsARoleThatChangesInALoop()
    {
        VantorBase base;
        base.set_remoteIp(QStringLiteral("10.0.0.2"));
        const Listener listener(&base, "unitIp", [&] { QVERIFY(NestedLoop::runWith([&] { base.set_isMain(true); })); });

        base.set_isMain(false);

        QVERIFY(base.isMain());
        QCOMPARE(base.unitIp(), base.mainIp());
    }
};

QTEST_GUILESS_MAIN(TestReentrancyProperties)
#include "tst_reentrancy_properties.moc"
