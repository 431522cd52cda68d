// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Property.h"
#include "VantorBase_export.h"

/// The role of this unit in a pair of testers, and the addresses of both. One object per process.
///
/// The address of this unit follows the main unit's address while it plays the main unit, and the remote unit's address
/// otherwise; it is derived anew whenever one of the other four properties changes. The two roles are independent
/// flags. Properties may be read and written in any thread. Signals of two writers may arrive out of order: a slot that
/// needs the present value reads the property.
///
/// @code
/// VantorBase unit;
/// QObject::connect(&unit, &VantorBase::unitIp_changed, [](const QString &ip) { qInfo() << "we are" << ip; });
/// unit.set_mainIp(QStringLiteral("192.0.2.1"));
/// unit.set_remoteIp(QStringLiteral("192.0.2.2"));
/// unit.set_isMain(false); // now we are 192.0.2.2
/// @endcode
class VANTORBASE_EXPORT VantorBase : public QObject
{
    Q_OBJECT
    VANTOR_LOCKED_PROPERTY(bool, isMain, true)
    VANTOR_LOCKED_PROPERTY(bool, isRemote, false)
    VANTOR_LOCKED_PROPERTY(QString, mainIp, QStringLiteral("localhost"))
    VANTOR_LOCKED_PROPERTY(QString, remoteIp, QStringLiteral("localhost"))
    VANTOR_LOCKED_PROPERTY(QString, unitIp, QStringLiteral("localhost"))

public:
    /// A second object is a fatal error, also after the first was destroyed.
    explicit VantorBase(QObject *parent = nullptr);
    ~VantorBase() override;

    /// Null before the construction. Not to be used after the destruction.
    static VantorBase *instance();

    static bool isArmCpu(); ///< of the build at hand
    static bool isDebugBuild(); ///< of the build at hand

private:
    void refreshUnitIp();

    static VantorBase *mInstance;
};
