// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QStringList>
#include <QVariantHash>
#include <QVector>

class QObject;

/// Treats an object as a record of its declared properties, inherited ones included, "objectName" never.
/// Bad arguments give a warning in the log and an empty or false result.
///
/// @code
/// TcpServer server; // any object with properties
/// qInfo() << QObjectHelper::propertyNames(&server);
/// IPDetails source;
/// IPDetails target;
/// source.set_domain(QStringLiteral("example.org"));
/// if (QObjectHelper::reassign(&source, &target))
///     qInfo().noquote() << QObjectHelper::toString(&target);
/// @endcode
class VANTORBASE_EXPORT QObjectHelper
{
public:
    QObjectHelper() = delete;

    static QStringList propertyNames(const QObject *object); ///< in the order of declaration
    static int propertyCount(const QObject *object);
    static QVariantHash properties(const QObject *object);

    /// @param index 0 is the first property; beyond the last the value is invalid
    static QVariant propertyValue(const QObject *object, int index);

    /// Copies every property. The target is of the source's class or derived from it; a property that differs there is
    /// passed over, and so is one that cannot be written. False only without a source or a target, also when a receiver
    /// of a change deletes one of them before the last property.
    static bool reassign(const QObject *source, QObject *target);

    /// Writes the values in the order of declaration. Stops at the first that cannot be written: those before it stay.
    /// It also stops, and returns false, when a receiver of a change has deleted the target.
    static bool reassign(const QVector<QVariant> &values, QObject *target);

    /// True if all properties of the source read equal on the target.
    static bool equal(const QObject *source, const QObject *target);

    /// QML never deletes the object.
    static void ownByCpp(QObject *object);

    /// QML may delete the object as soon as no script refers to it, even while C++ still does.
    static void ownByQml(QObject *object);

    /// "name: value" line by line, in no particular order.
    static QString toString(const QObject *object);
    static QString toString(const QVector<QObject *> &objects);

    static QString intVectorToString(const QVector<int> &values); ///< (1,2,3)
    static QString stringVectorToString(const QVector<QString> &values); ///< ('a','b')
};
