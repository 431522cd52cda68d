// SPDX-License-Identifier: Apache-2.0
#include "Helpers/IPDetails.h"
#include "MetaText.h"

#include <QMetaProperty>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace {
constexpr const char *names[] = {"address", "netmask", "gateway", "primaryDNS", "secondaryDNS", "domain"};

void fill(IPDetails *details)
{
    for (const char *name : names)
        details->setProperty(name, QStringLiteral("the %1").arg(QLatin1String(name)));
}

QVector<bool> dirtyFlags(const IPDetails &details)
{
    return {details.address_dirty(), details.netmask_dirty(), details.gateway_dirty(), details.primaryDNS_dirty(),
        details.secondaryDNS_dirty(), details.domain_dirty()};
}

/// Counts the change signals of all six properties.
class Changes
{
public:
    explicit Changes(IPDetails *details)
    {
        for (const char *name : names) {
            const QMetaProperty property =
                details->metaObject()->property(details->metaObject()->indexOfProperty(name));
            mSpies.push_back(std::make_unique<QSignalSpy>(details, property.notifySignal()));
        }
    }
    QVector<int> counts() const
    {
        QVector<int> result;
        for (const auto &spy : mSpies)
            result << spy->count();
        return result;
    }

private:
    std::vector<std::unique_ptr<QSignalSpy>> mSpies;
};
} // namespace

class TestIPDetails : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sixTextPropertiesInTheirOrder()
    {
        QStringList properties;
        QStringList signalNames;
        QStringList expectedNames;
        for (const char *name : names) {
            properties << QStringLiteral("QString %1 read write notify %1_changed").arg(QLatin1String(name));
            signalNames << QStringLiteral("signal %1_changed(QString value)").arg(QLatin1String(name));
            expectedNames << QString::fromUtf8(name);
        }

        QCOMPARE(MetaText::ofProperties(IPDetails::staticMetaObject), properties);
        QCOMPARE(MetaText::ofMethods(IPDetails::staticMetaObject), signalNames);
        QCOMPARE((QStringList{IPDetails::address_name(), IPDetails::netmask_name(), IPDetails::gateway_name(),
                     IPDetails::primaryDNS_name(), IPDetails::secondaryDNS_name(), IPDetails::domain_name()}),
            expectedNames);
    }

    void aFreshRecordIsEmptyAndClean()
    {
        QObject parent;
        const auto *const details = new IPDetails(&parent);

        for (const char *name : names)
            QCOMPARE(details->property(name).toString(), QString());
        QCOMPARE(dirtyFlags(*details), QVector<bool>(6, false));
        QCOMPARE(details->parent(), &parent);
    }

    void aSetterAlwaysDirtiesAndTellsOfChangesOnly()
    {
        IPDetails details;
        QSignalSpy changed(&details, &IPDetails::gateway_changed);

        details.set_gateway(QString());
        QVERIFY(details.gateway_dirty());
        QCOMPARE(changed.count(), 0);

        details.set_gateway(QStringLiteral("10.0.0.1"));
        details.set_gateway(QStringLiteral("10.0.0.1"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().first().toString(), QStringLiteral("10.0.0.1"));
        QCOMPARE(details.gateway(), QStringLiteral("10.0.0.1"));
        QVERIFY(!details.address_dirty());
    }

    void equalIsWhatHasTheSameSixValues_data()
    {
        QTest::addColumn<QString>("different");
        for (const char *name : names)
            QTest::newRow(name) << QString::fromUtf8(name);
    }

    void equalIsWhatHasTheSameSixValues()
    {
        QFETCH(QString, different);
        IPDetails one;
        IPDetails two;
        fill(&one);
        fill(&two);
        two.setObjectName(QStringLiteral("does not count"));
        QVERIFY(one == two);
        QVERIFY(!(one != two));

        two.setProperty(qPrintable(different), QStringLiteral("other"));

        QVERIFY(one != two);
        QVERIFY(!(one == two));
    }

    void aCopyHasTheValuesAndAParentOfItsOwn()
    {
        QObject parent;
        IPDetails original(&parent);
        fill(&original);

        const IPDetails copy(original);
        const auto *const child = new IPDetails(original, &parent);

        QVERIFY(copy == original);
        QVERIFY(!copy.parent());
        QVERIFY(*child == original);
        QCOMPARE(child->parent(), &parent);
        QCOMPARE(dirtyFlags(copy), QVector<bool>(6, true));
    }

    void anAssignmentTellsOfChangesOnly()
    {
        IPDetails original;
        fill(&original);
        IPDetails target;
        target.set_domain(original.domain());
        const Changes changes(&target);

        target = original;

        QVERIFY(target == original);
        QCOMPARE(changes.counts(), (QVector<int>{1, 1, 1, 1, 1, 0}));
        QCOMPARE(dirtyFlags(target), QVector<bool>(6, true));
    }

    void anAssignmentToItselfDoesNothing()
    {
        IPDetails details;
        const Changes changes(&details);
        const IPDetails &same = details;

        details = same;

        QCOMPARE(changes.counts(), QVector<int>(6, 0));
        QCOMPARE(dirtyFlags(details), QVector<bool>(6, false));
    }
};

QTEST_GUILESS_MAIN(TestIPDetails)
#include "tst_ipdetails.moc"
