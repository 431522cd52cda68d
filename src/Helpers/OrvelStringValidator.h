// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QObject>
#include <QString>

/// Checks the text that a user types. QML calls it.
///
/// @code
/// const QString typed = QStringLiteral("10.1");
/// if (!OrvelStringValidator::validateIpv4(typed) && !OrvelStringValidator::validateIpv6(typed))
///     qInfo() << typed << "is no address";
/// @endcode
class VANTORBASE_EXPORT OrvelStringValidator : public QObject
{
    Q_OBJECT

public:
    explicit OrvelStringValidator(QObject *parent = nullptr);

    Q_INVOKABLE static bool validateIpv4(const QString &text); ///< four decimal numbers, no shorthand
    Q_INVOKABLE static bool validateIpv6(const QString &text); ///< without prefix length and without zone
};
